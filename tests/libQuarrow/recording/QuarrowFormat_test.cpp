// Quarrow's own format: round trips, and what is refused.

#include <libQuarrow/recording/formats/RecordingParser.h>
#include <tests/support/Recordings.h>

#include <gtest/gtest.h>

using namespace libQuarrow::os;
using testing_support::written;

namespace {

const std::string everything = R"(Quarrow recording 1
tsc 2893200000
node 0: group 0 mask 0x8000000000000000
node 0: group 65535 mask 0x0000000000000001
node 4294967295:
CPU 0: group 0 bit 63
   0x00000000 0x00: eax=0x00000001 ebx=0x756e6547 ecx=0x6c65746e edx=0x49656e69
   0x0000000d 0x3e: eax=0xffffffff ebx=0x00000000 ecx=0x00000000 edx=0x00000000
   0x80000000 0x12345678: eax=0x80000000 ebx=0x00000000 ecx=0x00000000 edx=0x00000000
   xcr0 0x8000000000000007
   microcode 0x2b000590
   msr 0x00000017: 0x0004000000000000
   msr 0xc0010064: 0xffffffffffffffff
   frequencies lowest 800000000 base 2900000000 highest 18446744073709551615
CPU 1: group 65535 bit 0
   frequencies highest 3800000000
memory 0x00000000000f000e: 5f 53
memory 0x00000000000f0010: 4d
memory 0xffffffffffffffff: 00
port 0x0070: 26 ff
port 0xffff: 01
pci 00:18.4 0x015c: 0x0000000d
pci ff:1f.7 0x0ffc: 0xffffffff
end of recording
)";

TEST(QuarrowFormat, RoundTripsEverything) {
    RecordingError error;
    const auto recording = parseRecording("\n# a comment\n" + everything + "\t\n # the end", "own", error);
    ASSERT_TRUE(recording) << error.message;
    EXPECT_EQ(written(*recording), everything);
    ASSERT_EQ(recording->processors.size(), 2U);
    EXPECT_EQ(recording->ports.at(0x71), 0xFF);
    EXPECT_EQ(recording->processors[0].xcr0.value_or(0), 0x8000000000000007U);
}

// Whatever is cut off, at whichever byte, is noticed: only the line end after the closing line may be missing.
TEST(QuarrowFormat, NoticesEveryCut) {
    RecordingError error;
    for (std::size_t length = 0; length + 1 < everything.size(); ++length) {
        EXPECT_FALSE(parseRecording(everything.substr(0, length), "own", error)) << "cut at " << length;
    }
    EXPECT_TRUE(parseRecording(everything.substr(0, everything.size() - 1), "own", error)) << error.message;
}

void expectRefused(const std::string& text, const std::string& expected) {
    RecordingError error;
    EXPECT_FALSE(parseRecording(text, "own", error)) << text.substr(0, 1000);
    EXPECT_EQ(error.message.substr(0, expected.size()), expected);
}

TEST(QuarrowFormat, RefusesWhatItDoesNotMean) {
    // Lines in the place of the closing line, several for one mistake.
    const std::pair<const char*, std::vector<const char*>> mistakes[] = {
        {"a line of a Quarrow recording", {"hello"}},
        {"a group and bit that no processor before has", {"CPU 2: group 0 bit 63", "CPU 63:"}},
        {"\"CPU NUMBER: group GROUP bit BIT\"",
         {"CPU 2: group 0 bit 64", "CPU 2: group 65536 bit 0", "CPU 4194304:", "CPU 2: group 1"}},
        {"\"xcr0 0xVALUE\"", {"xcr0 0x7"}},
        {"\"microcode 0xREVISION\"", {"microcode 0x1"}},
        {"\"msr 0xNUMBER: 0xVALUE\"", {"msr 0x00000017: 0x1"}},
        {"\"tsc HERTZ\" once", {"tsc 1"}},
        {"\"frequencies lowest HERTZ base HERTZ highest HERTZ\"", {"frequencies base 1"}},
        {"\"node NUMBER: group GROUP mask 0xMASK\"",
         {"node 0: group 0 mask 0x0000000000000001", "node 1: group 0 mask 0x0000000000000000",
          "node 0:", "node 1: group 0", "node 4294967296:"}},
        {"\"memory 0xADDRESS: BYTE BYTE ...\"",
         {"memory 0x00000000000f0010: 00", "memory 0xfffffffffffffffe: 00 00 00", "memory 0x0000000000000000:"}},
        {"\"port 0xNUMBER: BYTE BYTE ...\"", {"port 0x10000: 00", "port 0x0072: 1"}},
        {"\"pci BUS:DEVICE.FUNCTION 0xOFFSET: 0xVALUE\"",
         {"pci 00:18.4 0x015c: 0x00000000", "pci 00:20.0 0x0000: 0x00000000", "pci 00:00.8 0x0000: 0x00000000",
          "pci 00:00.0 0x1000: 0x00000000", "pci 00:00.0 0x0002: 0x00000000", "pci 0: 1"}},
    };
    for (const auto& [expected, lines] : mistakes) {
        for (const std::string line : lines) {
            expectRefused(everything.substr(0, everything.find("end of")) + line + "\n",
                          std::string("own:24: expected ") + expected);
        }
    }
    const std::string header = "Quarrow recording 1\n";
    const std::string leaf = "0x00000000 0x00: eax=0x00000001 ebx=0x00000000 ecx=0x00000000 edx=0x00000000\n";
    const std::pair<std::string, const char*> texts[] = {
        {everything + "tsc 1\n", "own:25: expected nothing after \"end of recording\""},
        {"Quarrow recording 2\n", "own:1: expected \"Quarrow recording 1\""},
        {header + "end of recording\n", "own: there are no CPUID values in it"},
        {header + "tsc 0\n", "own:2: expected \"tsc HERTZ\""},
        {header + "frequencies base 1\n", "own:2: expected \"frequencies lowest"},
        {header + "CPU 0:\nfrequencies base 0\n", "own:3: expected \"frequencies lowest"},
        {header + "CPU 0:\nfrequencies\n", "own:3: expected \"frequencies lowest"},
        {header + "CPU 0:\nfrequencies base 1 lowest 1\n", "own:3: expected \"frequencies lowest"},
        {header + "xcr0 0x0000000000000000\n", "own:2: expected \"xcr0"},
        {header + "CPU 0:\nmicrocode 0x00000001\nmicrocode 0x00000002\n", "own:4: expected \"microcode 0xREVISION\""},
        {header + leaf, "own:2: expected \"CPU 0:\" before the values of a processor"},
        {header + "CPU 0:\n" + leaf + leaf, "own:4: expected each leaf and sub-leaf of a processor once"},
    };
    for (const auto& [text, expected] : texts) {
        expectRefused(text, expected);
    }
}

TEST(QuarrowFormat, BoundsProcessorsAndMemory) {
    std::ostringstream processors;
    std::ostringstream memory;
    processors << "Quarrow recording 1\n";
    memory << "Quarrow recording 1\nmemory 0x0000000000000000:";
    for (std::size_t i = 0; i <= maxRecordedProcessors; ++i) {
        processors << "CPU " << i << ":\n";
    }
    for (std::size_t i = 0; i <= maxRecordedMemoryBytes; ++i) {
        memory << " 00";
    }
    expectRefused(processors.str(), "own:262146: expected no more than 262144 processors");
    expectRefused(memory.str() + "\n",
                  "own:2: expected \"memory 0xADDRESS: BYTE BYTE ...\" with 16 and 2 hexadecimal digits, "
                  "each byte once and 1 MiB in all at most");
}

} // namespace
