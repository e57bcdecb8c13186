#include <libKernelMode/IoDriver.h>
#include <libKernelMode/MemDriver.h>

#include <gtest/gtest.h>

#include <limits>

namespace {

using namespace libKernelMode;

// A backend that takes every access and remembers the last one.
class TakingBackend : public DriverBackend {
  public:
    std::unique_ptr<MsrAccess> openMsr(std::string&) override { return nullptr; }
    std::unique_ptr<MemoryAccess> openMemory(std::string&) override { return std::make_unique<Memory>(*this); }
    std::unique_ptr<PortAccess> openPorts(std::string&) override { return std::make_unique<Ports>(*this); }

    int accesses = 0;
    std::uint32_t width = 0;

  private:
    struct Memory : MemoryAccess {
        explicit Memory(TakingBackend& backend) : owner(backend) {}
        bool read(std::uint64_t, void*, std::uint32_t, std::uint32_t unitBytes) override { return take(unitBytes); }
        bool write(std::uint64_t, const void*, std::uint32_t, std::uint32_t unitBytes) override {
            return take(unitBytes);
        }
        bool take(std::uint32_t unitBytes) { return owner.width = unitBytes, ++owner.accesses; }
        TakingBackend& owner;
    };
    struct Ports : PortAccess {
        explicit Ports(TakingBackend& backend) : owner(backend) {}
        bool read(std::uint16_t, std::uint32_t widthBytes, std::uint32_t& value) override {
            return value = 0x12345678, owner.width = widthBytes, ++owner.accesses;
        }
        bool write(std::uint16_t, std::uint32_t widthBytes, std::uint32_t) override {
            return owner.width = widthBytes, ++owner.accesses;
        }
        TakingBackend& owner;
    };
};

class TakingDrivers : public testing::Test {
  protected:
    TakingDrivers() { setDriverBackend(&m_backend); }
    ~TakingDrivers() override { setDriverBackend(nullptr); }
    TakingBackend m_backend;
};

TEST_F(TakingDrivers, MemoryPassesOnOnlyWhatCanBeDone) {
    constexpr std::uint64_t last = std::numeric_limits<std::uint64_t>::max();
    unsigned char buffer[16] = {};
    const struct {
        std::uint64_t address;
        unsigned int size;
        unsigned int unit;
        bool isNull, passed;
    } cases[] = {
        {0, 3, 0, false, true},        {3, 1, 0, false, true},  {4, 8, 4, false, true},
        {4, 6, 4, false, false},       {2, 4, 4, false, false}, {0, 8, 1, false, false}, // no such units
        {0, 8, 2, false, false},       {0, 8, 8, false, false}, {last, 1, 0, false, true},
        {last, 2, 0, false, false}, // wraps round
        {last - 3, 4, 4, false, true}, {0, 4, 0, true, false},
    };
    MemDriver driver;
    EXPECT_FALSE(driver.readPhysicalMemory(0, buffer, 1, MemDriver::AnyUnit)) << "not open yet";
    ASSERT_TRUE(driver.openDriver());
    for (const auto& row : cases) {
        SCOPED_TRACE(testing::Message() << row.address << " " << row.size << " " << row.unit);
        const int before = m_backend.accesses;
        void* const place = row.isNull ? nullptr : buffer;
        const auto unit = static_cast<MemDriver::AccessUnit>(row.unit);
        EXPECT_EQ(driver.readPhysicalMemory(row.address, place, row.size, unit), row.passed);
        EXPECT_EQ(driver.writePhysicalMemory(row.address, place, row.size, unit), row.passed);
        EXPECT_EQ(m_backend.accesses - before, row.passed ? 2 : 0);
        EXPECT_TRUE(!row.passed || m_backend.width == row.unit);
    }
    const int before = m_backend.accesses;
    EXPECT_TRUE(driver.readPhysicalMemory(0, nullptr, 0, MemDriver::AnyUnit));
    EXPECT_EQ(m_backend.accesses, before) << "nothing to do";
}

TEST_F(TakingDrivers, PortsExistUpTo0xFFFF) {
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
    EXPECT_EQ(doubleWord, 1u) << "a failed read must leave the value alone";

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
    MemDriver memory;
    IoDriver ports;
    for (Driver* const driver : {static_cast<Driver*>(&memory), static_cast<Driver*>(&ports)}) {
        const bool open = driver->openDriver();
        EXPECT_EQ(driver->failureReason().empty(), open);
        if (!open) {
            EXPECT_EQ(driver->failureReason().find("cannot "), 0u) << driver->failureReason();
            EXPECT_NE(driver->failureReason().find("; "), std::string::npos)
                << "no advice: " << driver->failureReason();
        }
    }
}

} // namespace
