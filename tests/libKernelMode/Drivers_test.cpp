#include <libKernelMode/IoDriver.h>
#include <libKernelMode/MemDriver.h>
#include <libKernelMode/MsrDriver.h>

#include <gtest/gtest.h>

#include <limits>
#include <vector>

namespace {

using namespace libKernelMode;

// Drivers of every kind, which count their accesses and take them or not. Unlike real ones they need no privileges.
class FakeBackend : public DriverBackend {
  public:
    std::unique_ptr<MsrAccess> openMsr(std::string& reason) override { return open(reason); }
    std::unique_ptr<MemoryAccess> openMemory(std::string& reason) override { return open(reason); }
    std::unique_ptr<PortAccess> openPorts(std::string& reason) override { return open(reason); }

    bool present = true, takes = true;
    int opened = 0, accesses = 0;
    std::uint32_t width = 0; // of the last access

  private:
    struct Access : MsrAccess, MemoryAccess, PortAccess {
        explicit Access(FakeBackend& owner) : backend(owner) { ++backend.opened; }
        ~Access() override { --backend.opened; }
        bool take(std::uint32_t widthBytes) { return ++backend.accesses, backend.width = widthBytes, backend.takes; }
        // A value even where the answer is false.
        bool read(std::uint32_t, std::uint64_t& value) override { return value = 0x12345678, take(8); }
        bool write(std::uint32_t, std::uint64_t) override { return take(8); }
        bool read(std::uint64_t, void*, std::uint32_t, std::uint32_t unit) override { return take(unit); }
        bool write(std::uint64_t, const void*, std::uint32_t, std::uint32_t unit) override { return take(unit); }
        bool read(std::uint16_t, std::uint32_t bytes, std::uint32_t& value) override {
            return value = 0x12345678, take(bytes);
        }
        bool write(std::uint16_t, std::uint32_t bytes, std::uint32_t) override { return take(bytes); }
        FakeBackend& backend;
    };
    std::unique_ptr<Access> open(std::string& reason) {
        reason = present ? "" : "cannot open the fake";
        return present ? std::make_unique<Access>(*this) : nullptr;
    }
};

struct AllDrivers {
    MsrDriver msrs;
    MemDriver memory;
    IoDriver ports;
    std::vector<Driver*> all{&msrs, &memory, &ports};
};

class Drivers : public testing::Test {
  protected:
    FakeBackend m_backend;
    const ScopedDriverBackend m_scope{m_backend};
};

TEST_F(Drivers, OpenThroughTheBackendAndTellWhyTheyCannot) {
    {
        const ScopedDriverBackend inner(nativeDriverBackend());
        EXPECT_EQ(&currentDriverBackend(), &nativeDriverBackend());
    }
    EXPECT_EQ(&currentDriverBackend(), &m_backend);
    {
        AllDrivers drivers;
        for (Driver* const driver : drivers.all) {
            m_backend.present = false;
            EXPECT_FALSE(driver->openDriver());
            EXPECT_EQ(driver->failureReason(), "cannot open the fake");
            m_backend.present = true;
            EXPECT_TRUE(driver->openDriver());
            EXPECT_EQ(driver->failureReason(), "");
        }
        EXPECT_EQ(m_backend.opened, 3);
    }
    EXPECT_EQ(m_backend.opened, 0);
}

TEST_F(Drivers, MsrsAreReachedWhileOpen) {
    MsrDriver driver;
    std::uint64_t value = 1;
    EXPECT_FALSE(driver.readMsr(0x10, value) || driver.writeMsr(0x10, 9));
    ASSERT_TRUE(driver.openDriver());
    EXPECT_TRUE(driver.readMsr(0x10, value) && driver.writeMsr(0x10, 9));
    EXPECT_EQ(value, 0x12345678u);
    m_backend.takes = false;
    value = 1;
    EXPECT_FALSE(driver.readMsr(0x10, value) || driver.writeMsr(0x10, 9));
    EXPECT_EQ(value, 1u) << "a failed read must leave the value alone";
    EXPECT_EQ(m_backend.accesses, 4);
}

TEST_F(Drivers, MemoryPassesOnOnlyWhatCanBeDone) {
    constexpr std::uint64_t last = std::numeric_limits<std::uint64_t>::max();
    struct Block {
        std::uint64_t address;
        unsigned int size, unit;
        bool isNull = false;
    };
    MemDriver driver;
    unsigned char buffer[16] = {};
    const auto expectPassed = [&](const Block& block, bool passed) {
        SCOPED_TRACE(testing::Message() << block.address << " " << block.size << " " << block.unit);
        m_backend.accesses = 0;
        void* const place = block.isNull ? nullptr : buffer;
        const auto unit = static_cast<MemDriver::AccessUnit>(block.unit);
        EXPECT_EQ(driver.readPhysicalMemory(block.address, place, block.size, unit), passed);
        EXPECT_TRUE(!passed || m_backend.width == block.unit);
        EXPECT_EQ(driver.writePhysicalMemory(block.address, place, block.size, unit), passed);
        EXPECT_TRUE(passed ? m_backend.accesses == 2 && m_backend.width == block.unit : m_backend.accesses == 0);
    };
    expectPassed({0, 3, 0}, false); // not open yet
    ASSERT_TRUE(driver.openDriver());
    for (const Block& block : {Block{0, 3, 0}, {3, 1, 0}, {4, 8, 4}, {last, 1, 0}, {last - 3, 4, 4}}) {
        expectPassed(block, true);
    }
    // Not divided by the unit; no such unit; wrapping round; no buffer.
    for (const Block& block :
         {Block{4, 6, 4}, {2, 4, 4}, {0, 8, 1}, {0, 8, 2}, {0, 8, 8}, {last, 2, 0}, {0, 4, 0, true}}) {
        expectPassed(block, false);
    }
    m_backend.takes = false; // and is not asked for nothing
    EXPECT_TRUE(driver.readPhysicalMemory(0, nullptr, 0, MemDriver::AnyUnit));
    EXPECT_FALSE(driver.writePhysicalMemory(0, buffer, 1, MemDriver::AnyUnit));
}

TEST_F(Drivers, PortsExistUpTo0xFFFF) {
    IoDriver driver;
    unsigned char byte = 1;
    unsigned short word = 1;
    unsigned int doubleWord = 1;
    EXPECT_FALSE(driver.readPort8(0x80, byte)) << "not open yet";
    ASSERT_TRUE(driver.openDriver());
    EXPECT_FALSE(driver.readPort8(0x10000, byte) || driver.writePort8(0x10000, 0));
    EXPECT_FALSE(driver.readPort16(0xFFFF, word) || driver.writePort16(0xFFFF, 0));
    EXPECT_FALSE(driver.readPort32(0xFFFD, doubleWord) || driver.writePort32(0xFFFD, 0));
    EXPECT_FALSE(driver.readPort32(0xFFFFFFFF, doubleWord));
    EXPECT_EQ(m_backend.accesses, 0);
    m_backend.takes = false;
    EXPECT_FALSE(driver.readPort32(0x80, doubleWord) || driver.writePort8(0x80, 0));
    EXPECT_EQ(doubleWord, 1u) << "a failed read must leave the value alone";

    m_backend.takes = true;
    EXPECT_TRUE(driver.readPort8(0xFFFF, byte) && m_backend.width == 1);
    EXPECT_TRUE(driver.readPort16(0xFFFE, word) && m_backend.width == 2);
    EXPECT_TRUE(driver.readPort32(0xFFFC, doubleWord) && m_backend.width == 4);
    EXPECT_TRUE(driver.writePort16(0xFFFE, 0) && m_backend.width == 2);
    EXPECT_EQ(byte, 0x78);
    EXPECT_EQ(word, 0x5678);
    EXPECT_EQ(doubleWord, 0x12345678u);
}

// Whether there are drivers depends on where the test runs; that a failure is explained does not.
TEST(NativeDrivers, ExplainTheirFailures) {
    AllDrivers drivers;
    for (Driver* const driver : drivers.all) {
        const bool open = driver->openDriver();
        const std::string& reason = driver->failureReason();
        EXPECT_TRUE(open ? reason.empty() : reason.find("cannot ") == 0 && reason.find("; ") != std::string::npos)
            << reason;
    }
}

} // namespace
