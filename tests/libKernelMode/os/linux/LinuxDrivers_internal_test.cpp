// Linux's devices: a file stands in for physical memory, since few machines let a test near the real one.

#include <libKernelMode/DriverBackend.h>
#include <libKernelMode/os/linux/MemoryDevice.h>

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <unistd.h>

namespace {

using namespace libKernelMode;

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
