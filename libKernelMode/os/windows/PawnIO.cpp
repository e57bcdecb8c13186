#include <libKernelMode/os/windows/PawnIO.h>

#include <array>
#include <fstream>
#include <iterator>

#include <shlobj.h>

namespace libKernelMode {

namespace {

// PawnIO's signed modules for MSRs. Each refuses to load on processors of another maker or family.
constexpr const char* moduleFiles[] = {
    "IntelMSR.bin",
    "AMDFamily17.bin", // families 17h to 1Ah
    "AMDFamily10.bin", // families 10h to 16h; reads only
    "AMDFamily0F.bin", // reads only
};
constexpr std::uintmax_t largestModule = 1u << 24;

std::string hexadecimal(HRESULT result) {
    return zel::String::SprintfFormat("error 0x%08X", static_cast<std::uint32_t>(result)).getLowerByteString();
}

std::filesystem::path knownFolder(int folder) {
    std::array<wchar_t, MAX_PATH> path{};
    return SHGetFolderPathW(nullptr, folder, nullptr, SHGFP_TYPE_CURRENT, path.data()) == S_OK ? path.data() : L"";
}

std::vector<UCHAR> readFile(const std::filesystem::path& file) {
    std::error_code failed;
    if (std::filesystem::file_size(file, failed) > largestModule || failed) {
        return {};
    }
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

} // namespace

// A driver handle with a module in it. A handle that no module went into yet is closed just the same.
class PawnIOMsrs : public MsrAccess {
  public:
    PawnIOMsrs(const PawnIO& driver, HANDLE handle) : m_driver(driver), m_handle(handle) {}
    ~PawnIOMsrs() override { m_driver.m_close(m_handle); }
    PawnIOMsrs(const PawnIOMsrs&) = delete;
    PawnIOMsrs& operator=(const PawnIOMsrs&) = delete;

    HRESULT load(const std::vector<UCHAR>& blob) { return m_driver.m_load(m_handle, blob.data(), blob.size()); }

    bool read(std::uint32_t msr, std::uint64_t& value) override {
        const ULONG64 in[] = {msr};
        ULONG64 out[1] = {};
        SIZE_T returned = 0;
        if (FAILED(m_driver.m_execute(m_handle, "ioctl_read_msr", in, 1, out, 1, &returned)) || returned != 1) {
            return false;
        }
        value = out[0];
        return true;
    }

    bool write(std::uint32_t msr, std::uint64_t value) override {
        const ULONG64 in[] = {msr, value};
        SIZE_T returned = 0;
        return SUCCEEDED(m_driver.m_execute(m_handle, "ioctl_write_msr", in, 2, nullptr, 0, &returned)) &&
               returned == 0;
    }

  private:
    const PawnIO& m_driver;
    HANDLE m_handle;
};

PawnIOFolders PawnIOFolders::ofThisMachine() {
    PawnIOFolders folders;
    folders.installation =
        installLocation(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\PawnIO");
    if (folders.installation.empty()) {
        folders.installation = knownFolder(CSIDL_PROGRAM_FILES) / "PawnIO";
    }
    folders.modules = knownFolder(CSIDL_COMMON_APPDATA) / "Quarrow" / "modules";
    return folders;
}

std::filesystem::path PawnIOFolders::installLocation(HKEY root, const wchar_t* uninstallEntry) {
    std::array<wchar_t, 1024> text{};
    auto size = static_cast<DWORD>(sizeof text);
    const LSTATUS failed =
        RegGetValueW(root, uninstallEntry, L"InstallLocation", RRF_RT_REG_SZ, nullptr, text.data(), &size);
    return failed == ERROR_SUCCESS ? text.data() : L"";
}

template <class Function>
bool PawnIO::bindEntryPoint(const char* name, Function& function, std::string& reason) {
    function = reinterpret_cast<Function>(m_library.getSymbol(name));
    if (function == nullptr) {
        reason =
            std::string("cannot use PawnIOLib.dll: it has no ") + name + "; MSR access needs another release of PawnIO";
    }
    return function != nullptr;
}

void PawnIO::findModules(const PawnIOFolders& folders) {
    for (const char* file : moduleFiles) {
        for (const std::filesystem::path& folder : {folders.installation, folders.modules}) {
            std::vector<UCHAR> blob = readFile(folder / file);
            if (!blob.empty()) {
                m_modules.push_back({file, std::move(blob)});
                break;
            }
        }
    }
}

std::shared_ptr<const PawnIO> PawnIO::bind(const PawnIOFolders& folders, std::string& reason) {
    const auto bound = std::make_shared<PawnIO>();
    const std::filesystem::path library = folders.installation / "PawnIOLib.dll";
    bound->m_library = zel::DynamicLibrary(zel::String(library.u16string()));
    // A path that is not absolute would be searched for, and what is found may be anybody's.
    if (!library.is_absolute() || !bound->m_library.load()) {
        reason = "cannot load " + library.u8string() + "; MSR access needs PawnIO (https://pawnio.eu) installed";
        return nullptr;
    }
    if (!bound->bindEntryPoint("pawnio_open", bound->m_open, reason) ||
        !bound->bindEntryPoint("pawnio_load", bound->m_load, reason) ||
        !bound->bindEntryPoint("pawnio_execute", bound->m_execute, reason) ||
        !bound->bindEntryPoint("pawnio_close", bound->m_close, reason)) {
        return nullptr;
    }
    bound->findModules(folders);
    if (bound->m_modules.empty()) {
        reason =
            "cannot find a PawnIO module; MSR access needs IntelMSR.bin, or the AMDFamily*.bin of this processor, in " +
            folders.installation.u8string() + " or " + folders.modules.u8string();
        return nullptr;
    }
    return bound;
}

std::unique_ptr<MsrAccess> PawnIO::openMsr(std::string& reason) const {
    std::string refusals;
    for (const Module& module : m_modules) {
        HANDLE handle = nullptr;
        const HRESULT failed = m_open(&handle); // the device admits administrators alone, and is there while it runs
        if (FAILED(failed)) {
            reason = "cannot open PawnIO (" + hexadecimal(failed) + "); MSR access needs " +
                     (failed == E_ACCESSDENIED ? "an administrator"
                                               : "its driver running: try 'sc start PawnIO', or install it anew");
            return nullptr;
        }
        auto msrs = std::make_unique<PawnIOMsrs>(*this, handle);
        const HRESULT refused = msrs->load(module.blob);
        if (SUCCEEDED(refused)) {
            return msrs;
        }
        refusals += (refusals.empty() ? "" : ", ") + module.name + " (" + hexadecimal(refused) + ")";
    }
    reason =
        "cannot load a PawnIO module: refused " + refusals + "; MSR access needs its signed module for this processor";
    return nullptr;
}

} // namespace libKernelMode
