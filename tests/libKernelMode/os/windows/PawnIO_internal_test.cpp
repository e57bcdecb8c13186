// PawnIO, against a library that stands in for its own.

#include <libKernelMode/os/windows/PawnIO.h>

#include <gtest/gtest.h>

#include <array>
#include <fstream>

namespace {

using namespace libKernelMode;
namespace fs = std::filesystem;

// A machine's folders, empty at first: an installation of PawnIO and one for modules.
class PawnIOTest : public testing::Test {
  protected:
    PawnIOTest() {
        const fs::path root = fs::temp_directory_path() / ("quarrow-" + std::to_string(GetCurrentProcessId()));
        fs::remove_all(root);
        m_folders = {root / "PawnIO", root / "modules"};
        fs::create_directories(m_folders.installation);
        fs::create_directories(m_folders.modules);
    }
    ~PawnIOTest() override {
        std::error_code stillLoaded;
        fs::remove_all(m_folders.modules.parent_path(), stillLoaded);
    }

    // "whole" or "incomplete".
    void install(const char* variant) {
        std::array<wchar_t, MAX_PATH> program{};
        GetModuleFileNameW(nullptr, program.data(), static_cast<DWORD>(program.size()));
        fs::copy_file(fs::path(program.data()).parent_path() / "fake_pawnio" / variant / "PawnIOLib.dll",
                      m_folders.installation / "PawnIOLib.dll");
    }
    static void addModule(const fs::path& folder, const char* name, const char* behaviour) {
        std::ofstream(folder / name, std::ios::binary) << behaviour;
    }
    std::unique_ptr<MsrAccess> open() {
        m_reason.clear();
        m_pawnIO = PawnIO::bind(m_folders, m_reason);
        return m_pawnIO != nullptr ? m_pawnIO->openMsr(m_reason) : nullptr;
    }
    void expectRefusal(const std::string& reason) {
        EXPECT_EQ(open(), nullptr);
        EXPECT_EQ(m_reason.find("cannot "), 0u) << m_reason;
        EXPECT_NE(m_reason.find(reason), std::string::npos) << m_reason;
        EXPECT_NE(m_reason.find("; MSR access needs "), std::string::npos) << m_reason;
    }

    PawnIOFolders m_folders;
    std::shared_ptr<const PawnIO> m_pawnIO;
    std::string m_reason;
};

TEST_F(PawnIOTest, ReadsAndWritesThroughEveryModuleInEitherFolder) {
    install("whole");
    for (const fs::path& folder : {m_folders.modules, m_folders.installation}) {
        for (const char* name : {"AMDFamily0F.bin", "AMDFamily10.bin", "AMDFamily17.bin", "IntelMSR.bin"}) {
            addModule(folder, name, "works");
            const auto msrs = open();
            ASSERT_NE(msrs, nullptr) << m_reason;
            std::uint64_t value = 7;
            EXPECT_FALSE(msrs->read(0, value)) << "not in the module's list";
            EXPECT_EQ(value, 7u) << "a failed read must leave the value alone";
            EXPECT_TRUE(msrs->read(0xC0010064, value) && msrs->write(0x198, 1));
            EXPECT_EQ(value, 0xC0010064 * std::uint64_t{2});
            fs::remove(folder / name);
        }
    }
}

TEST_F(PawnIOTest, TakesTheModuleThatTheDriverAccepts) {
    install("whole");
    addModule(m_folders.installation, "IntelMSR.bin", "refused");
    expectRefusal("refused IntelMSR.bin (error 0x80070057)");
    addModule(m_folders.modules, "AMDFamily17.bin", "works");
    EXPECT_NE(open(), nullptr) << m_reason;
}

TEST_F(PawnIOTest, SaysWhyTheDriverDoesNotOpen) {
    install("whole");
    addModule(m_folders.modules, "IntelMSR.bin", "works");
    for (const char* const result : {"80070005", "80070002", "80070003", "80070015"}) {
        SetEnvironmentVariableA("FAKE_PAWNIO_CLOSED", result);
        expectRefusal(std::string("error 0x") + result);
        const bool forbidden = std::string(result) == "80070005"; // and nothing else is
        EXPECT_EQ(m_reason.find("administrator") != std::string::npos, forbidden) << m_reason;
        EXPECT_EQ(m_reason.find("sc start PawnIO") != std::string::npos, !forbidden) << m_reason;
    }
    SetEnvironmentVariableA("FAKE_PAWNIO_CLOSED", nullptr);
    EXPECT_NE(open(), nullptr) << m_reason;
}

TEST_F(PawnIOTest, SaysWhatIsMissing) {
    expectRefusal("PawnIOLib.dll");
    install("whole");
    addModule(m_folders.modules, "IntelMSR.bin", ""); // an empty file is none
    expectRefusal(m_folders.modules.u8string());
    m_folders.installation.clear(); // and must not search for it
    expectRefusal("PawnIOLib.dll");
}

TEST_F(PawnIOTest, SaysWhichEntryPointIsMissing) {
    install("incomplete");
    addModule(m_folders.modules, "IntelMSR.bin", "works");
    expectRefusal("no pawnio_execute");
}

TEST_F(PawnIOTest, BelievesNoAnswerOfTheWrongSize) {
    install("whole");
    const struct {
        const char* behaviour;
        bool reads, writes;
    } cases[] = {{"works", true, true}, {"fails", false, false}, {"more", false, false}, {"less", false, true}};
    for (const auto& row : cases) {
        addModule(m_folders.modules, "IntelMSR.bin", row.behaviour);
        const auto msrs = open();
        ASSERT_NE(msrs, nullptr) << m_reason;
        std::uint64_t value = 7;
        EXPECT_EQ(msrs->read(0x10, value), row.reads) << row.behaviour;
        EXPECT_EQ(value, row.reads ? 0x20u : 7u) << row.behaviour;
        EXPECT_EQ(msrs->write(0x10, 1), row.writes) << row.behaviour; // none asked for, none given
    }
}

// Handles of 10,000 opens with a module that is refused and 10,000 with one that is accepted; fewer of those that find
// no driver, since Wine takes half a millisecond over each.
TEST_F(PawnIOTest, LeaksNoHandle) {
    install("whole");
    addModule(m_folders.installation, "IntelMSR.bin", "refused");
    const auto expectNoneLeft = [](int times, const auto& use) {
        DWORD before = 0, after = 0;
        use();
        GetProcessHandleCount(GetCurrentProcess(), &before);
        for (int i = 0; i < times; ++i) {
            use();
        }
        GetProcessHandleCount(GetCurrentProcess(), &after);
        EXPECT_EQ(after, before);
    };
    ASSERT_EQ(open(), nullptr);
    expectNoneLeft(10000, [&] { ASSERT_EQ(m_pawnIO->openMsr(m_reason), nullptr); });
    addModule(m_folders.modules, "AMDFamily17.bin", "works");
    ASSERT_NE(open(), nullptr);
    expectNoneLeft(10000, [&] { ASSERT_NE(m_pawnIO->openMsr(m_reason), nullptr); });
    expectNoneLeft(1000, [&] {
        nativeDriverBackend().openMsr(m_reason);
        ASSERT_EQ(nativeDriverBackend().openMemory(m_reason), nullptr);
        ASSERT_EQ(nativeDriverBackend().openPorts(m_reason), nullptr);
    });
}

TEST(PawnIOFolders, ComeFromTheUninstallEntry) {
    const wchar_t* const entry = L"Software\\QuarrowTest\\Uninstall\\PawnIO";
    EXPECT_EQ(PawnIOFolders::installLocation(HKEY_CURRENT_USER, entry), "");
    const std::wstring folder = L"D:\\Träger\\PawnIO";
    const auto size = static_cast<DWORD>((folder.size() + 1) * sizeof(wchar_t));
    RegSetKeyValueW(HKEY_CURRENT_USER, entry, L"InstallLocation", REG_SZ, folder.c_str(), size);
    EXPECT_EQ(PawnIOFolders::installLocation(HKEY_CURRENT_USER, entry), fs::path(folder));
    const DWORD number = 1;
    RegSetKeyValueW(HKEY_CURRENT_USER, entry, L"InstallLocation", REG_DWORD, &number, sizeof number);
    EXPECT_EQ(PawnIOFolders::installLocation(HKEY_CURRENT_USER, entry), "") << "no text";
    RegDeleteTreeW(HKEY_CURRENT_USER, L"Software\\QuarrowTest");

    const PawnIOFolders folders = PawnIOFolders::ofThisMachine();
    EXPECT_TRUE(folders.installation.is_absolute());
    EXPECT_TRUE(folders.modules.is_absolute());
}

} // namespace
