// Linux's devices. A file stands in for physical memory and for MSRs, and the program itself for the kernel where ports
// are concerned, since few machines let a test near the real ones.

#include <libKernelMode/DriverBackend.h>
#include <libKernelMode/os/linux/IoPorts.h>
#include <libKernelMode/os/linux/MemoryDevice.h>
#include <libKernelMode/os/linux/MsrDevice.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sched.h>
#include <sys/fsuid.h>
#include <sys/io.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <ucontext.h>
#include <unistd.h>

namespace {

using namespace libKernelMode;

// The open file's flags, in octal as the kernel shows them; -1 where it is not open.
int flagsOf(const std::string& path) {
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code gone;
        if (std::filesystem::read_symlink(entry.path(), gone) == path) {
            std::ifstream info("/proc/self/fdinfo/" + entry.path().filename().string());
            int flags = -1;
            info.ignore(1000, '\n') >> std::oct;
            info.ignore(1000, ':') >> flags;
            return flags;
        }
    }
    return -1;
}

// Files are opened as by somebody without privileges until the end of the scope.
struct Unprivileged {
    Unprivileged() { ::setfsuid(65534); }
    ~Unprivileged() { ::setfsuid(::geteuid()); }
};

class MemoryFile : public testing::Test {
  protected:
    MemoryFile() {
        std::string bytes(3 * 4096, '\0');
        for (std::size_t i = 0; i < bytes.size(); ++i) {
            bytes[i] = static_cast<char>(i * 7 + i / 256);
        }
        std::ofstream(m_path, std::ios::binary) << bytes;
    }
    ~MemoryFile() override { std::filesystem::remove(m_path); }

    std::string contents() const {
        std::ifstream in(m_path, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    }

    const std::string m_path = testing::TempDir() + "quarrow-memory-" + std::to_string(::getpid());
    std::string m_reason;
};

TEST_F(MemoryFile, IsReadAndWrittenInPlace) {
    const auto memory = openMemoryDevice(m_path, m_reason);
    ASSERT_NE(memory, nullptr) << m_reason;
    const struct {
        std::uint64_t address;
        std::uint32_t length;
        std::uint32_t unitBytes;
    } cases[] = {
        {0, 1, 0},  {1, 1, 0},    {2, 2, 0},    {3, 2, 0},     {4, 4, 0},    {5, 4, 0},       {8, 8, 0},
        {12, 8, 0}, {0, 4096, 4}, {4096, 8, 0}, {4090, 12, 0}, {4092, 8, 4}, {4095, 4099, 0}, {8, 12, 4},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(testing::Message() << row.address << " " << row.length << " " << row.unitBytes);
        std::string expected = contents();
        std::string block(row.length, '\0');
        ASSERT_TRUE(memory->read(row.address, block.data(), row.length, row.unitBytes));
        EXPECT_EQ(block, expected.substr(row.address, row.length));

        for (char& byte : block) {
            byte = static_cast<char>(~byte);
        }
        ASSERT_TRUE(memory->write(row.address, block.data(), row.length, row.unitBytes));
        EXPECT_EQ(contents(), expected.replace(row.address, row.length, block)) << "the block and nothing beside it";
    }
    unsigned char byte = 0;
    for (const std::uint64_t impossible : {0xFFFFFFFFFFFFFFFFu, 0x8000000000000000u}) {
        EXPECT_FALSE(memory->read(impossible, &byte, 1, 0) || memory->write(impossible, &byte, 1, 0));
    }
}

// A page that every access to faults. The handler notes where, allows that one instruction, and forbids the page again
// when it has stepped over it.
struct WatchedPage {
    void protect(int protection) const { ::mprotect(bytes, 4096, protection); }

    std::uint8_t* bytes =
        static_cast<std::uint8_t*>(::mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    std::size_t accesses = 0;
    std::size_t places[64] = {};
};
WatchedPage* watched = nullptr; // null: none

void noteAccess(int signal, siginfo_t* info, void* context) {
    constexpr greg_t singleStep = 0x100; // EFLAGS.TF
    auto& flags = static_cast<ucontext_t*>(context)->uc_mcontext.gregs[REG_EFL];
    const auto place = static_cast<std::size_t>(static_cast<std::uint8_t*>(info->si_addr) - watched->bytes);
    if (signal == SIGTRAP) {
        watched->protect(PROT_NONE);
        flags &= ~singleStep;
    } else if (place < 4096 && watched->accesses < 64) {
        watched->places[watched->accesses++] = place;
        watched->protect(PROT_READ | PROT_WRITE);
        flags |= singleStep;
    } else {
        std::signal(signal, SIG_DFL); // a fault like any other
    }
}

TEST(MemoryWidth, IsTheUnitOrTheWidestThatFits) {
    WatchedPage page;
    watched = &page;
    struct sigaction action = {}, beforeFault = {}, beforeTrap = {};
    action.sa_sigaction = noteAccess;
    action.sa_flags = SA_SIGINFO;
    ::sigaction(SIGSEGV, &action, &beforeFault);
    ::sigaction(SIGTRAP, &action, &beforeTrap);
    const struct {
        std::size_t place;
        std::uint32_t size, unitBytes, width;
    } cases[] = {
        {0, 8, 0, 8}, {8, 16, 0, 8}, {4, 8, 0, 4}, {8, 4, 0, 4}, {8, 12, 0, 4}, {2, 4, 0, 2},  {4, 2, 0, 2},
        {1, 8, 0, 1}, {8, 1, 0, 1},  {8, 7, 0, 1}, {8, 8, 4, 4}, {4, 12, 4, 4}, {8, 64, 4, 4}, {3, 2, 0, 1},
    };
    for (const auto& row : cases) {
        std::uint8_t block[64] = {};
        for (const bool writes : {false, true}) {
            page.accesses = 0;
            page.protect(PROT_NONE);
            if (writes) {
                writeUnits(page.bytes + row.place, block, row.size, row.unitBytes);
            } else {
                readUnits(page.bytes + row.place, block, row.size, row.unitBytes);
            }
            page.protect(PROT_READ | PROT_WRITE);
            ASSERT_EQ(page.accesses, row.size / row.width) << row.place << " " << row.size;
            for (std::size_t i = 0; i < page.accesses; ++i) {
                EXPECT_EQ(page.places[i], row.place + i * row.width) << writes;
            }
        }
    }
    ::sigaction(SIGSEGV, &beforeFault, nullptr);
    ::sigaction(SIGTRAP, &beforeTrap, nullptr);
    ::munmap(page.bytes, 4096);
    watched = nullptr;
}

TEST_F(MemoryFile, IsOpenedAsDevicesMustBe) {
    {
        const auto memory = openMemoryDevice(m_path, m_reason);
        EXPECT_EQ(flagsOf(m_path) & (O_ACCMODE | O_SYNC | O_CLOEXEC), O_RDWR | O_SYNC | O_CLOEXEC);
        EXPECT_TRUE(memory->isWritable());
    }
    {
        const auto msrs = openMsrDevice(m_path, m_reason);
        EXPECT_EQ(flagsOf(m_path) & (O_ACCMODE | O_SYNC | O_CLOEXEC), O_RDWR | O_CLOEXEC);
        EXPECT_TRUE(msrs->isWritable());
    }
    using std::filesystem::perms;
    std::filesystem::permissions(m_path, perms::owner_read | perms::group_read | perms::others_read);
    const Unprivileged unprivileged;
    const std::string before = contents();
    const auto memory = openMemoryDevice(m_path, m_reason);
    const auto msrs = openMsrDevice(m_path, m_reason);
    ASSERT_TRUE(memory != nullptr && msrs != nullptr) << m_reason;
    EXPECT_EQ(flagsOf(m_path) & O_ACCMODE, O_RDONLY);
    std::uint64_t value = 0;
    EXPECT_TRUE(memory->read(8, &value, 8, 0) && msrs->read(8, value));
    EXPECT_FALSE(memory->write(8, &value, 8, 0) || msrs->write(8, value));
    EXPECT_FALSE(memory->isWritable() || msrs->isWritable());
    EXPECT_EQ(contents(), before);
}

TEST_F(MemoryFile, StandsForTheRegistersOfAProcessor) {
    const auto msrs = openMsrDevice(m_path, m_reason);
    ASSERT_NE(msrs, nullptr) << m_reason;
    std::string expected = contents();
    std::uint64_t value = 0;
    ASSERT_TRUE(msrs->read(0x1A2, value));
    EXPECT_EQ(std::memcmp(&value, expected.data() + 0x1A2, sizeof value), 0);
    ASSERT_TRUE(msrs->write(0x1A3, 0x4142434445464748));
    EXPECT_EQ(contents(), expected.replace(0x1A3, 8, "HGFEDCBA"));
    EXPECT_FALSE(msrs->read(0xC0000080, value)) << "past the end";
    EXPECT_FALSE(msrs->read(3 * 4096 - 4, value)) << "half a register";
}

TEST(MsrDevice, SaysWhatToDo) {
    // A socket answers as a device does that nothing is behind: ENXIO.
    const std::string path = testing::TempDir() + "quarrow-socket-" + std::to_string(::getpid());
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    const int listener = ::socket(AF_UNIX, SOCK_STREAM, 0);
    ASSERT_EQ(::bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    std::string reason;
    EXPECT_EQ(openMsrDevice(path, reason), nullptr);
    EXPECT_EQ(reason.find("cannot open " + path + ": nothing is behind it; load the msr module"), 0u) << reason;
    ::close(listener);
    std::filesystem::remove(path);
    EXPECT_EQ(openMsrDevice(path, reason), nullptr);
    EXPECT_NE(reason.find("; the msr module is not loaded"), std::string::npos) << reason;
}

// Pinned to each processor in turn: the device opened, or refused, is that processor's.
TEST(MsrDevice, IsTheProcessors) {
    cpu_set_t before;
    ASSERT_EQ(::sched_getaffinity(0, sizeof before, &before), 0);
    for (int processor = 0; processor < CPU_SETSIZE; ++processor) {
        if (!CPU_ISSET(processor, &before)) {
            continue;
        }
        cpu_set_t one;
        CPU_ZERO(&one);
        CPU_SET(processor, &one);
        ASSERT_EQ(::sched_setaffinity(0, sizeof one, &one), 0);
        const std::string device = "/dev/cpu/" + std::to_string(processor) + "/msr";
        std::string reason;
        const auto msrs = nativeDriverBackend().openMsr(reason);
        EXPECT_TRUE(msrs != nullptr ? flagsOf(device) != -1 : reason.find("cannot open " + device + ": ") == 0)
            << reason;
    }
    ::sched_setaffinity(0, sizeof before, &before);
}

// The machine's own drivers too, successful or not, as it allows.
TEST_F(MemoryFile, AndDriversLeakNothing) {
    const auto openFiles = [] { return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}); };
    const auto before = openFiles();
    int opened = 0;
    for (int i = 0; i < 10000; ++i) {
        unsigned char byte = 0;
        const auto memory = openMemoryDevice(m_path, m_reason);
        ASSERT_TRUE(memory != nullptr && memory->read(5, &byte, 1, 0));
        opened += nativeDriverBackend().openMsr(m_reason) != nullptr;
        opened += nativeDriverBackend().openMemory(m_reason) != nullptr;
        opened += nativeDriverBackend().openPorts(m_reason) != nullptr;
        ASSERT_EQ(openMemoryDevice("/dev/no-such-memory", m_reason), nullptr);
    }
    EXPECT_EQ(openFiles(), before);
    EXPECT_EQ(m_reason.find("cannot open /dev/no-such-memory: no such device; "), 0u) << m_reason;
    RecordProperty("opened", opened);
    EXPECT_EQ(openMemoryDevice("/", m_reason), nullptr);
    EXPECT_EQ(m_reason, "cannot open /: Is a directory");
}

// The kernel's part and the ports' own: which ports the thread may use, and what in and out do. Without permission the
// instruction faults; the handler carries it out and steps over it.
struct FakePorts {
    bool refused = false;
    unsigned long first = 0, count = 0; // allowed now
    unsigned long allowed = 0;          // how many ports in all calls
    std::uint32_t value = 0;            // read by in, written by out
    std::string accesses;               // "in 4 60 "
};
FakePorts* fakePorts = nullptr; // null: none

void carryOut(int signal, siginfo_t*, void* context) {
    auto& registers = static_cast<ucontext_t*>(context)->uc_mcontext.gregs;
    const auto* code = reinterpret_cast<const std::uint8_t*>(registers[REG_RIP]);
    const bool is16 = *code == 0x66;
    code += is16;
    const std::uint32_t width = (*code & 1) == 0 ? 1 : is16 ? 2 : 4;
    const auto port = static_cast<std::uint16_t>(registers[REG_RDX]);
    const bool in = (*code & 0xFE) == 0xEC;
    const bool allowed =
        fakePorts != nullptr && port >= fakePorts->first && port + width <= fakePorts->first + fakePorts->count;
    if (!allowed || (!in && (*code & 0xFE) != 0xEE)) {
        std::signal(signal, SIG_DFL); // a fault like any other
        return;
    }
    const std::uint64_t mask = UINT64_MAX >> (64 - 8 * width);
    if (in) {
        registers[REG_RAX] =
            static_cast<greg_t>((static_cast<std::uint64_t>(registers[REG_RAX]) & ~mask) | (fakePorts->value & mask));
    } else {
        fakePorts->value = static_cast<std::uint32_t>(static_cast<std::uint64_t>(registers[REG_RAX]) & mask);
    }
    fakePorts->accesses += (in ? "in " : "out ") + std::to_string(width) + " " + std::to_string(port) + "\n";
    registers[REG_RIP] += 1 + is16;
}

TEST(FakedPorts, AreAccessedByOneInstructionOfTheirWidth) {
    FakePorts fake;
    fakePorts = &fake;
    struct sigaction action = {}, before = {};
    action.sa_sigaction = carryOut;
    action.sa_flags = SA_SIGINFO;
    ::sigaction(SIGSEGV, &action, &before);
    std::string reason;
    const auto ports = openIoPorts(reason);
    ASSERT_NE(ports, nullptr) << reason;
    for (const std::uint32_t width : {1u, 2u, 4u}) {
        const std::uint32_t whole = 0x87654321;
        const std::uint32_t part = whole & UINT32_MAX >> (32 - 8 * width);
        const std::string access = " " + std::to_string(width) + " 65532\n";
        std::uint32_t value = 0xFFFFFFFF;
        fake.value = whole;
        fake.accesses.clear();
        fake.allowed = 0;
        EXPECT_TRUE(ports->read(0xFFFC, width, value));
        EXPECT_EQ(value, part);
        EXPECT_TRUE(ports->write(0xFFFC, width, whole));
        EXPECT_EQ(fake.value, part);
        EXPECT_EQ(fake.accesses, "in" + access + "out" + access);
        EXPECT_EQ(fake.allowed, 2 * width) << "these ports and no others";
        EXPECT_EQ(fake.count, 0u) << "and not for longer";
    }
    fake.refused = true;
    std::uint32_t value = 7;
    EXPECT_FALSE(ports->read(0x80, 1, value) || ports->write(0x80, 1, 0) || value != 7);
    EXPECT_EQ(openIoPorts(reason), nullptr);
    EXPECT_EQ(reason, "cannot open the I/O ports: permission denied; port access needs root and a kernel that is not "
                      "locked down");
    ::sigaction(SIGSEGV, &before, nullptr);
    fakePorts = nullptr;
}

TEST(NativePorts, AreReadWhereAllowed) {
    std::string reason;
    const auto first = nativeDriverBackend().openPorts(reason);
    if (first == nullptr) {
        GTEST_SKIP() << reason;
    }
    std::uint32_t value = 0xFFFFFFFF;
    {
        const auto second = nativeDriverBackend().openPorts(reason);
        ASSERT_NE(second, nullptr);
        EXPECT_TRUE(second->read(0x61, 1, value) && value <= 0xFF);
    }
    // Closing the one must not take the other's permission away: that would end the process here.
    EXPECT_TRUE(first->read(0x61, 1, value));
    EXPECT_TRUE(first->read(0x60, 2, value) && value <= 0xFFFF);
}

TEST(NativeMemory, IsReadWhereAllowed) {
    std::string reason;
    const auto memory = nativeDriverBackend().openMemory(reason);
    if (memory == nullptr) {
        GTEST_SKIP() << reason;
    }
    // The ROM below 1 MiB, which the strictest kernels let root read.
    unsigned char bytes[16] = {};
    std::uint32_t words[4] = {};
    ASSERT_TRUE(memory->read(0xFFFF0, bytes, sizeof bytes, 0));
    ASSERT_TRUE(memory->read(0xFFFF0, words, sizeof words, 4));
    EXPECT_EQ(std::memcmp(bytes, words, sizeof bytes), 0);
}

} // namespace

// In place of the C library's, for the whole program.
extern "C" int ioperm(unsigned long first, unsigned long count, int allow) noexcept {
    if (fakePorts == nullptr) {
        return static_cast<int>(::syscall(SYS_ioperm, first, count, allow));
    }
    if (fakePorts->refused) {
        errno = EPERM;
        return -1;
    }
    fakePorts->first = first;
    fakePorts->count = allow != 0 ? count : 0;
    fakePorts->allowed += fakePorts->count;
    return 0;
}
