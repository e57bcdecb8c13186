#include <libQuarrow/memory/PhysicalMemory.h>

#include <libKernelMode/DriverBackend.h>
#include <libQuarrow/os/recorded/RecordedMachine.h>

#include <gtest/gtest.h>
#include <tests/support/LogCapture.h>

#include <map>
#include <vector>

using namespace libQuarrow;
using memory::PhysicalMemory;
using testing_support::LogCapture;
using Bytes = std::map<std::uint64_t, std::uint8_t>;

namespace {

constexpr std::uint64_t base = 0x1000;
constexpr std::uint64_t farOffset = 0x100000000;

// A recorded machine with the bytes 1 to 16 at `base`, and 0 to 16 just below 4 GiB above it. Counts how often its
// memory is opened.
class Machine : public libKernelMode::DriverBackend {
  public:
    Machine() : recorded(recording()), m_scope(recorded), m_drivers(*this) {}
    std::unique_ptr<libKernelMode::MsrAccess> openMsr(std::string&) override { return nullptr; }
    std::unique_ptr<libKernelMode::MemoryAccess> openMemory(std::string& reason) override {
        ++opened;
        return recorded.drivers().openMemory(reason);
    }

    const Bytes& bytes() const { return recorded.recording().memory; }

    os::RecordedMachine recorded;
    int opened = 0;

  private:
    static os::Recording recording() {
        os::Recording recording;
        for (std::uint8_t i = 0; i < 16; ++i) {
            recording.memory[base + i] = recording.memory[base + farOffset + i] = static_cast<std::uint8_t>(i + 1);
        }
        recording.memory[base + farOffset - 1] = 0;
        return recording;
    }

    os::ScopedMachine m_scope;
    libKernelMode::ScopedDriverBackend m_drivers;
};

// Reads a value where the bytes are 1, 2 ... and writes it 8 bytes further up.
template <class T>
void copies(const PhysicalMemory& memory, std::uint64_t expected, bool (PhysicalMemory::*read)(std::uint64_t, T&) const,
            bool (PhysicalMemory::*write)(std::uint64_t, T) const) {
    Machine machine;
    Bytes after = machine.bytes();
    for (std::uint64_t i = 0; i < sizeof(T); ++i) {
        after[base + 8 + i] = static_cast<std::uint8_t>(i + 1);
    }
    // Only writes stop at 0xFFFFFFFF; that they alone do is meant so.
    for (const std::uint64_t offset : {std::uint64_t{0}, farOffset}) {
        T value = 0;
        EXPECT_TRUE((memory.*read)(offset, value));
        EXPECT_EQ(value, expected);
        EXPECT_EQ((memory.*write)(offset + 8, value), offset == 0);
    }
    EXPECT_EQ(machine.bytes(), after);
    EXPECT_EQ(machine.opened, 3) << "once for each access, and not for one that is refused";
}

TEST(PhysicalMemory, moves_values_in_either_byte_order) {
    const struct {
        std::uint32_t endianMode;
        std::uint64_t value16, value32, value64;
    } cases[] = {
        {0, 0x0201, 0x04030201, 0x0807060504030201},
        {2, 0x0102, 0x01020304, 0x0102030405060708},
        {3, 0x0201, 0x04030201, 0x0807060504030201}, // no mode
    };
    PhysicalMemory memory;
    EXPECT_EQ(memory.getBaseAddress(), 0u);
    EXPECT_EQ(memory.getEndianMode(), zel::EndianDefault);
    memory.setBaseAddress(base);
    EXPECT_EQ(memory.getBaseAddress(), base);
    for (const auto& row : cases) {
        memory.setEndianMode(static_cast<zel::EndianMode>(row.endianMode));
        EXPECT_EQ(memory.getEndianMode(), row.endianMode);
        copies(memory, 1, &PhysicalMemory::read8, &PhysicalMemory::write8);
        copies(memory, row.value16, &PhysicalMemory::read16, &PhysicalMemory::write16);
        copies(memory, row.value32, &PhysicalMemory::read32, &PhysicalMemory::write32);
        copies(memory, row.value64, &PhysicalMemory::read64, &PhysicalMemory::write64);
    }
}

TEST(PhysicalMemory, fails_where_there_is_no_memory_or_driver) {
    Machine machine;
    const PhysicalMemory memory(base, zel::EndianBig);
    unsigned int value = 7;
    EXPECT_TRUE(memory.write8(farOffset - 1, 0)); // just within the limit of writes
    EXPECT_FALSE(memory.read32(14, value));       // its last bytes are not there
    machine.recorded.faults().noMemoryDriver = true;
    EXPECT_FALSE(memory.read32(0, value));
    EXPECT_FALSE(memory.write32(0, 1));
    EXPECT_EQ(value, 7u);
}

TEST(PhysicalMemory, moves_blocks_in_two_of_the_access_units) {
    const struct {
        std::uint64_t offset, size;
        int unit;
        bool reads, writes;
        bool logs = false;
    } cases[] = {
        {1, 3, 0, true, true},
        {4, 8, 4, true, true},
        {farOffset - 1, 3, 0, true, true},
        {farOffset, 4, 0, true, false}, // the limit of writes
        {0, 6, 4, false, false},
        {2, 8, 4, false, false},
        {0, 8, 1, false, false}, // accepted, but not carried out
        {0, 8, 2, false, false},
        {0, 8, 8, false, false},
        {0, 8, 7, false, false, true},
        {0, 8, -1, false, false, true},
        {0, farOffset - 1, 7, false, false, true},
        {0, farOffset, 7, false, false}, // too large comes first
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(testing::Message() << row.offset << " " << row.size << " " << row.unit);
        Machine machine;
        const LogCapture log(zel::LogFailure);
        const PhysicalMemory memory(base, zel::EndianBig); // which blocks do not mind
        const auto unit = static_cast<PhysicalMemory::AccessUnit>(row.unit);
        std::vector<unsigned char> block(8);
        std::vector<unsigned char> expected(8);
        Bytes after = machine.bytes();
        for (std::size_t i = 0; i < row.size && row.reads; ++i) {
            expected[i] = static_cast<unsigned char>(row.offset + i + 1);
            after[base + row.offset + i] = row.writes ? 0xEE : expected[i];
        }
        EXPECT_EQ(memory.read(row.offset, block.data(), row.size, unit), row.reads);
        EXPECT_EQ(block, expected);
        block.assign(8, 0xEE);
        EXPECT_EQ(memory.write(row.offset, block.data(), row.size, unit), row.writes);
        EXPECT_EQ(machine.bytes(), after);
        EXPECT_EQ(machine.opened, row.reads + row.writes);
        const std::string message = "4 DEFECT.GENERIC: Unknown access unit type";
        EXPECT_EQ(log.messages(), std::vector<std::string>(row.logs ? 2 : 0, message));
    }
}

} // namespace
