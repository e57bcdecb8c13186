#include <libQuarrow/io/IoPort.h>

#include <libQuarrow/os/recorded/RecordedMachine.h>

#include <gtest/gtest.h>

using namespace libQuarrow;
using io::IoPort;

namespace {

struct Ports : testing::Test {
    static os::Recording recording() {
        os::Recording recording;
        recording.ports = {{0xCF8, 1}, {0xCF9, 2}, {0xCFA, 3}, {0xCFB, 4}};
        return recording;
    }
    unsigned int bytes() const { // 0xCF8 first
        unsigned int all = 0;
        for (const auto& entry : machine.recording().ports) {
            all = all << 8 | entry.second;
        }
        return all;
    }

    os::RecordedMachine machine{recording()};
    os::ScopedMachine scope{machine};
};

TEST_F(Ports, are_read_and_written_in_either_byte_order) {
    const struct {
        std::uint32_t endianMode;
        unsigned int read16, read32, written16, written32;
    } cases[] = {
        {0, 0x0201, 0x04030201, 0x34120304, 0x78563412},
        {2, 0x0102, 0x01020304, 0x12340304, 0x12345678},
        {3, 0x0201, 0x04030201, 0x34120304, 0x78563412}, // no mode
    };
    IoPort port(0xCF8, zel::EndianDefault);
    for (const auto& row : cases) {
        ASSERT_TRUE(IoPort(0xCF8, zel::EndianDefault).write32(0x04030201));
        port.setEndianMode(static_cast<zel::EndianMode>(row.endianMode));
        EXPECT_EQ(port.getEndianMode(), row.endianMode);
        unsigned char value8 = 0;
        unsigned short value16 = 0;
        unsigned int value32 = 0;
        EXPECT_TRUE(port.read8(value8) && port.read16(value16) && port.read32(value32));
        EXPECT_EQ(value8, 1);
        EXPECT_EQ(value16, row.read16);
        EXPECT_EQ(value32, row.read32);
        EXPECT_TRUE(port.write16(0x1234));
        EXPECT_EQ(bytes(), row.written16);
        EXPECT_TRUE(port.write32(0x12345678));
        EXPECT_EQ(bytes(), row.written32);
        EXPECT_TRUE(port.write8(0xEE));
        EXPECT_EQ(bytes() >> 24, 0xEEu);
    }
    EXPECT_FALSE(port.reserve() || port.release()); // never
}

TEST_F(Ports, fail_where_there_is_none) {
    unsigned char value8 = 7;
    unsigned short value16 = 7;
    unsigned int value32 = 7;
    EXPECT_FALSE(IoPort(0xCFB, zel::EndianBig).read16(value16)); // runs past the last one
    const IoPort last(0xCFA, zel::EndianBig);
    EXPECT_FALSE(last.read32(value32) || last.write32(1));
    EXPECT_FALSE(IoPort(0x10CF8, zel::EndianBig).read8(value8)) << "16 bits must not be all that counts";
    machine.faults().noPortDriver = true;
    EXPECT_FALSE(last.read8(value8) || last.write8(1));
    EXPECT_EQ(value8 + value16 + value32, 21u);
    EXPECT_EQ(bytes(), 0x01020304u);
}

} // namespace
