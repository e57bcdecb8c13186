#include <libQuarrow/memory/PhysicalMemory.h>

#include <libKernelMode/DriverBackend.h>
#include <libQuarrow/os/recorded/RecordedMachine.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <tests/support/LogCapture.h>

#include <algorithm>
#include <numeric>
#include <vector>

using namespace libQuarrow;
using memory::PhysicalMemory;
using testing::ElementsAre;
using testing_support::LogCapture;

namespace {

constexpr std::uint64_t base = 0x1000;
constexpr std::uint64_t farOffset = 0x100000000;

// A recorded machine with the bytes 1 to 16 at `base` and 4 GiB above it. Counts how often its memory is opened.
class Machine : public libKernelMode::DriverBackend {
  public:
    Machine() : m_machine(recording()), m_scope(m_machine) { libKernelMode::setDriverBackend(this); }

    int opened = 0;
    std::vector<int> bytes() const {
        std::vector<int> values;
        for (const auto& entry : m_machine.recording().memory) {
            values.push_back(entry.second);
        }
        values.resize(16);
        return values;
    }
    os::Faults& faults() { return m_machine.faults(); }

    std::unique_ptr<libKernelMode::MsrAccess> openMsr(std::string&) override { return nullptr; }
    std::unique_ptr<libKernelMode::MemoryAccess> openMemory(std::string& reason) override {
        ++opened;
        return m_machine.drivers().openMemory(reason);
    }

  private:
    static os::Recording recording() {
        os::Recording recording;
        for (unsigned int i = 0; i < 16; ++i) {
            recording.memory[base + i] = static_cast<std::uint8_t>(i + 1);
            recording.memory[base + farOffset + i] = static_cast<std::uint8_t>(i + 1);
        }
        return recording;
    }

    os::RecordedMachine m_machine;
    os::ScopedMachine m_scope; // puts the backend of before back
};

TEST(PhysicalMemory, starts_at_0_in_the_processors_byte_order) {
    PhysicalMemory memory;
    EXPECT_EQ(memory.getBaseAddress(), 0u);
    EXPECT_EQ(memory.getEndianMode(), zel::EndianDefault);
    memory.setBaseAddress(0xFFFFFFFFFFFFFFFF);
    memory.setEndianMode(zel::EndianBig);
    EXPECT_EQ(memory.getBaseAddress(), 0xFFFFFFFFFFFFFFFF);
    EXPECT_EQ(memory.getEndianMode(), zel::EndianBig);
}

TEST(PhysicalMemory, reads_values_in_either_byte_order) {
    const struct {
        std::uint32_t endianMode;
        std::uint32_t value16, value32;
        std::uint64_t value64;
    } cases[] = {
        {0, 0x0201, 0x04030201, 0x0807060504030201},
        {1, 0x0201, 0x04030201, 0x0807060504030201},
        {2, 0x0102, 0x01020304, 0x0102030405060708},
        {3, 0x0201, 0x04030201, 0x0807060504030201}, // no mode
    };
    Machine machine;
    for (const auto& row : cases) {
        const PhysicalMemory memory(base, static_cast<zel::EndianMode>(row.endianMode));
        for (const std::uint64_t offset : {std::uint64_t{0}, farOffset}) { // reads know no limit
            unsigned char value8 = 0;
            unsigned short value16 = 0;
            unsigned int value32 = 0;
            std::uint64_t value64 = 0;
            EXPECT_TRUE(memory.read8(offset, value8) && memory.read16(offset, value16) &&
                        memory.read32(offset, value32) && memory.read64(offset, value64));
            EXPECT_EQ(value8, 1);
            EXPECT_EQ(value16, row.value16);
            EXPECT_EQ(value32, row.value32);
            EXPECT_EQ(value64, row.value64);
        }
    }
    EXPECT_EQ(machine.opened, 32) << "once for each access";
}

TEST(PhysicalMemory, leaves_a_value_alone_that_it_cannot_read) {
    Machine machine;
    const PhysicalMemory memory(base, zel::EndianBig);
    unsigned int value32 = 7;
    EXPECT_FALSE(memory.read32(14, value32)); // its last bytes are not there
    machine.faults().noMemoryDriver = true;
    EXPECT_FALSE(memory.read32(0, value32));
    EXPECT_FALSE(memory.write32(0, 1));
    EXPECT_EQ(value32, 7u);
}

TEST(PhysicalMemory, writes_values_in_either_byte_order) {
    Machine machine;
    PhysicalMemory memory(base, zel::EndianBig);
    EXPECT_TRUE(memory.write8(0, 0xA0) && memory.write16(2, 0xB0B1) && memory.write32(4, 0xC0C1C2C3) &&
                memory.write64(8, 0xD0D1D2D3D4D5D6D7));
    EXPECT_THAT(machine.bytes(), ElementsAre(0xA0, 2, 0xB0, 0xB1, 0xC0, 0xC1, 0xC2, 0xC3, 0xD0, 0xD1, 0xD2, 0xD3, 0xD4,
                                             0xD5, 0xD6, 0xD7));
    memory.setEndianMode(zel::EndianLittle);
    EXPECT_TRUE(memory.write16(2, 0xB0B1));
    EXPECT_EQ(machine.bytes()[2], 0xB1);
}

// Only the writes stop at 0xFFFFFFFF; that they alone do is meant so.
TEST(PhysicalMemory, limits_the_offset_of_writes_only) {
    Machine machine;
    const PhysicalMemory memory(base, zel::EndianDefault);
    unsigned char buffer[4] = {};
    EXPECT_FALSE(memory.write8(farOffset, 0) || memory.write16(farOffset, 0) || memory.write32(farOffset, 0) ||
                 memory.write64(farOffset, 0) || memory.write(farOffset, buffer, 4, PhysicalMemory::AccessAny));
    EXPECT_EQ(machine.opened, 0) << "not even tried";
    EXPECT_FALSE(memory.write8(farOffset - 1, 0)); // allowed, but no such byte
    EXPECT_TRUE(memory.read(farOffset, buffer, 4, PhysicalMemory::AccessAny));
    EXPECT_EQ(machine.opened, 2);
    EXPECT_EQ(buffer[3], 4);
}

TEST(PhysicalMemory, moves_blocks_in_two_of_the_access_units) {
    const struct {
        std::uint64_t offset, size;
        int unit;
        bool moved;
        bool logs;
    } cases[] = {
        {0, 6, 0, true, false},          {1, 3, 0, true, false},          {0, 0, 0, true, false},
        {4, 8, 4, true, false},          {0, 6, 4, false, false},         {2, 8, 4, false, false},
        {0, 8, 1, false, false}, // accepted, but not carried out
        {0, 8, 2, false, false},         {0, 8, 8, false, false},         {0, 7, 2, false, false},
        {0, 8, 7, false, true},          {0, 8, 3, false, true},          {0, 8, -1, false, true},
        {0, farOffset, 0, false, false}, {0, farOffset, 7, false, false}, // too large comes first
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(testing::Message() << row.offset << " " << row.size << " " << row.unit);
        Machine machine;
        const LogCapture log(zel::LogFailure);
        const PhysicalMemory memory(base, zel::EndianBig); // which blocks do not mind
        const auto unit = static_cast<PhysicalMemory::AccessUnit>(row.unit);
        std::vector<unsigned char> block(16, 0);
        EXPECT_EQ(memory.read(row.offset, block.data(), row.size, unit), row.moved);
        std::vector<unsigned char> expected(16, 0);
        if (row.moved) {
            std::iota(expected.begin(), expected.begin() + static_cast<std::ptrdiff_t>(row.size),
                      static_cast<unsigned char>(row.offset + 1));
        }
        EXPECT_EQ(block, expected);

        const std::vector<unsigned char> written(16, 0xEE);
        EXPECT_EQ(memory.write(row.offset, written.data(), row.size, unit), row.moved);
        const std::vector<int> after = machine.bytes();
        EXPECT_EQ(std::count(after.begin(), after.end(), 0xEE), row.moved ? static_cast<std::ptrdiff_t>(row.size) : 0);
        EXPECT_EQ(machine.opened, row.moved ? 2 : 0);
        const std::string message = "4 DEFECT.GENERIC: Unknown access unit type";
        EXPECT_EQ(log.messages(), row.logs ? std::vector<std::string>(2, message) : std::vector<std::string>());
    }
}

} // namespace
