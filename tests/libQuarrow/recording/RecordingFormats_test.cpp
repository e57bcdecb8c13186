// Every variation of the text formats that public collections use, in a few lines each.

#include <libQuarrow/recording/formats/RecordingFile.h>
#include <libQuarrow/recording/formats/RecordingParser.h>

#include <tests/support/RecordingSummary.h>

#include <gtest/gtest.h>

#include <random>

#include <fstream>
#include <sstream>

using namespace libQuarrow::os;
using namespace std::string_literals;
using testing_support::summary;

namespace {

const std::string leaf0 = "CPUID 00000000: 00000005-68747541-444D4163-69746E65\n";
const std::string raw0 = "   0x00000000 0x00: eax=0x0000000d ebx=0x68747541 ecx=0x444d4163 edx=0x69746e65\n";
const std::string array0 = "basic_cpuid[0]=00000001 00000000 00000000 00000000\n";

// A report of as many processors as there are lines, each a heading.
std::string report(const std::string& headings) {
    std::istringstream in(headings);
    std::string text;
    for (std::string heading; std::getline(in, heading);) {
        text += heading + "\n" + leaf0;
    }
    return text;
}

TEST(RecordingFormats, ReadsHeadingsOfReports) {
    testing_support::expectSummaries({
        {report("\n------[ CPUID Registers / Logical CPU #1 ]------\n"
                "------[ CPUID Registers / Logical CPU #2 Virtual ]------\n------[ Logical CPU #3 ]------\n"
                "CPUID Registers (CPU #5):\nCPUID Registers (CPU #6 Virtual):\nCPU#006 AffMask: 0x0000000000000040\n"
                "CPU#007 AffMask: 0X0000000000000080\nCPU#008 AffMask: 0x000000000000000F\n" // not one processor's
                "Group: 0x00 Affinity mask: 0x0000000000000200\nGroup: 0x01 Affinity mask: 0x8000000000000000\n"
                "------[ Logical CPU #64 ]------"),
         "0:0 0.0=5, 0:1 0.0=5, 0:2 0.0=5, 0:3 0.0=5, 0:4 0.0=5, 0:5 0.0=5, 0:6 0.0=5, 0:7 0.0=5, 0:8 0.0=5, "
         "0:9 0.0=5, 1:3f 0.0=5, 1:0 0.0=5"},
        {report("CPU#000 AffMask: 0x0000000000000001:0000000000000000\nCPU#001 AffMask: 0x0:2"), // group 0 on the left
         "0:0 0.0=5, 1:1 0.0=5"},
        {report("CPU#000 AffMask: 0x0:0:1\nCPU#001 AffMask: 0x0:1:0\nCPU#002 AffMask: 0x1:0:0"), // and on the right
         "0:0 0.0=5, 1:0 0.0=5, 2:0 0.0=5"},
        // By order: no headings, one place twice, an impossible number, numbers that are none.
        {leaf0 + leaf0, "0:0 0.0=5, 0:1 0.0=5"},
        {report("------[ Logical CPU #7 ]------\n------[ Logical CPU #7 ]------"), "0:0 0.0=5, 0:1 0.0=5"},
        {report("------[ Logical CPU #4194304 ]------"), "0:0 0.0=5"},
        {report("------[ Logical CPU #99999999999999999999 ]------\nCPUID Registers (CPU #0):\n"
                "Group: 0x10000 Affinity mask: 0x1\nCPU#1 AffMask: 0x10000000000000001"),
         "0:0 0.0=5, 0:1 0.0=5, 0:2 0.0=5, 0:3 0.0=5"},
    });
}

TEST(RecordingFormats, ReadsValuesOfReports) {
    testing_support::expectSummaries({
        {"\xEF\xBB\xBF"
         "board: CPUID Features\nCPUID Registers\n\nMSR list\nMSR 0x8B\n\0\n"
         "CPUID 00000000  \t00000005-68747541-444D4163-69746E65\r\n"
         "CPUID 00000001 00000001-68747541-444D4163-69746E65\n"
         "CPUID 00000001 000000FF-68747541-444D4163-69746E65\n" // again: the first stays
         "CPUID 00000002 :00000006-68747541-444D4163-69746E65\r\n"
         "CPUID 00000003: 00000004 68747541 444D4163 69746E65\n"
         "CPUID 00000004: 00000011-68747541-444D4163-69746E65\nCPUID 00000004: 00000012-68747541-444D4163-69746E65\n"
         "CPUID 00000005: 00000660-c1704000-c1705f8c-008031b5 \xE9\r\n"
         "CPUID 0000000D: 00000007-00000000-00000000-00000000 [SL 00] [x87]\n"
         "CPUID 0000000D: 00000008-00000000-00000000-00000000 [SL 0B]\n"
         "CPUID 80000026: 00000021-68747541-444D4163-69746E65\nCPUID 80000026: 00000022-68747541-444D4163-69746E65\n"
         "L1 Data Cache: 48 KB\n"s +
             leaf0 + "CPUID 00000004: 00000013-68747541-444D4163-69746E65\n",
         "0:0 0.0=5 1.0=1 2.0=6 3.0=4 4.0=11 4.1=12 5.0=660 d.0=7 d.b=8 80000026.0=21, 0:1 0.0=5 4.0=13"},
        {report("------[ Logical CPU #0 ]------\n------[ Logical CPU #1 ]------") +
             "------[ MSR Registers ]------\nCPU Clock (Normal): 1400 MHz\nCPU Clock (TSC): - MHz\n"
             "CPU Clock (TSC): 0 MHz\nCPU Clock (TSC): 2500 MHz\r\nCPU Clock (TSC): 1 MHz\nMSR 00000017: "
             "0004-0000-0000-0001 [PlatID = 1]\n"
             "MSR 0000010B: < FAILED >\n------[ MSR Registers / Logical CPU #1 ]------\n"
             "MSR C0010064: 8000-01B1-0000-161A [21.00x] [S200]\nMSR C0010064: 0000-0000-0000-0000\n"
             "------[ MSR Registers / Logical CPU # Multiplier,36.0x ]------\nMSR 00000010: 0000-0000-0000-0002\n"
             "------[ MSR Registers / Logical CPU #9 ]------\nMSR 00000011: 0000-0000-0000-0003\n",
         "0:0 0.0=5 msr17=4000000000001, 0:1 0.0=5 msr10=2 msrc0010064=800001b10000161a tsc=2500000000"},
    });
}

TEST(RecordingFormats, ReadsRawOutputsAndLibcpuidFiles) {
    const std::string raw4 = " 0x00000004: eax=0x00000001 ebx=0x00000000 ecx=0x00000000 edx=0x00000000\n";
    // Elements of libcpuid's arrays, EAX given and the other registers 0.
    const auto arrays = [](const std::string& elements) {
        std::istringstream in(elements);
        std::string text;
        for (std::string element; in >> element;) {
            text += element + " 00000000 00000000 00000000\n";
        }
        return text;
    };
    testing_support::expectSummaries({
        {"CPU:\n" + raw0 + "0x8000001d 0x3e: eax=0x00000121 ebx=0x00000000 ecx=0x00000000 edx=0x00000000\n",
         "0:0 0.0=d 8000001d.3e=121"},
        {"CPU 0:\n" + raw0 + raw4 + raw4 + "CPU 3: group 2 bit 5\n" + raw0 + "msr 0x00000017: 0x0000000000000003\n",
         "0:0 0.0=d 4.0=1 4.1=1, 2:5 0.0=d msr17=3"},
        {"cpuid version 1\n" + raw0 + raw0 + "end\n", "0:0 0.0=d, 0:1 0.0=d"},
        {arrays("basic_cpuid[0]=0000000b basic_cpuid[4]=00000001 basic_cpuid[11]=00000002 basic_cpuid[12]=00000002 "
                "ext_cpuid[0]=80000001 ext_cpuid[1]=00000003 ext_cpuid[2]=00000003 intel_fn4[0]=00000001 "
                "intel_fn4[1]=00000005 intel_fn11[1]=00000006 intel_fn12h[1]=00000007 amd_fn8000001dh[0]=00000003"),
         "0:0 0.0=b 4.0=1 4.1=5 b.0=2 b.1=6 80000000.0=80000001 80000001.0=3"},
        {"version=0.6.2\n_________________ Logical CPU #0 _________________\n" +
             arrays("basic_cpuid[0]=00000002 basic_cpuid[2]=03020101 ext_cpuid[0]=03020101 ext_cpuid[1]=03020101") +
             "_________________ Logical CPU #3 _________________\n" +
             arrays("basic_cpuid[0]=00000014 ext_cpuid[0]=80000026 intel_fn14h[1]=00000001 "
                    "amd_fn80000026h[1]=00000002 arm_fn1[0]=00000003"),
         "0:0 0.0=2 2.0=3020101, 0:3 0.0=14 14.1=1 80000000.0=80000026 80000026.1=2"},
    });
}

const std::string expectedRaw =
    "expected \"0xLEAF 0xSUBLEAF: eax=0x... ebx=0x... ecx=0x... edx=0x...\" with 8 hexadecimal digits each";
const std::string expectedMsr =
    "expected \"MSR NUMBER: XXXX-XXXX-XXXX-XXXX\" in hexadecimal digits, or \"< FAILED >\" in place of the value";
const std::string expectedReport = "expected \"CPUID LEAF: EAX-EBX-ECX-EDX\" with 8 hexadecimal digits each, and the "
                                   "sub-leaf, where there is one, as \"[SL NN]\"";
const std::string expectedArray =
    "expected \"NAME[INDEX]=EAX EBX ECX EDX\" with a decimal index and 8 hexadecimal digits each";
const std::string formats = "; name a Quarrow recording, the output of \"cpuid -r\", or a dump of another format that "
                            "docs/recordings.md lists";
const std::string breaksOff = "file:2: the file breaks off here: ";

TEST(RecordingFormats, SaysWhereTheMistakeIs) {
    testing_support::expectSummaries({
        {"", "file: it is empty" + formats},
        {"\xEF\xBB\xBFhello\n", "file: there are no CPUID values in it" + formats},
        {"\x7F\x45LF\0\0"s, "file: it is no text file" + formats},
        {"\xFF\xFEh\0i\0"s, "file: there are no CPUID values in it" + formats}, // UTF-16
        {leaf0 + "CPUID 00000001: 0000005-68747541-444D4163-69746E65\n", "file:2: " + expectedReport},
        {leaf0 + "CPUID 00000001: 00000005-68747541-444D4163-69746E650\n", "file:2: " + expectedReport},
        {"CPUID 00000001: 00000005-68747541-444D4163-69746E65-00000000\n", "file:1: " + expectedReport},
        {leaf0 + "CPUID 0000Z001: 00000005-68747541-444D4163-69746E65\n", "file:2: " + expectedReport},
        {leaf0 + "CPUID 0000\0001: 00000005-68747541-444D4163-69746E65\n"s, "file:2: " + expectedReport},
        {"CPUID 00000004: 00000005-68747541-444D4163-69746E65 [SL xx]\n", "file:1: " + expectedReport},
        {leaf0 + "MSR 00000017: 0004-0000-0000\n", "file:2: " + expectedMsr},
        {"CPUID 0000001: 1\n" + leaf0, "file:1: " + expectedReport}, // before the first value
        {raw0 + "0x00000001 0x00: eax=0x00000001 ebx=0x00000000 ecx=0x00000000\n", "file:2: " + expectedRaw},
        {"basic_cpuid[0]=80000000 756e6547 6c65746e 49656e69\n", // drops itself: no such maximum
         "file: there are no CPUID values in it" + formats},
        {"basic_cpuid[0]=0000000d 756e6547 6c65746e\n", "file:1: " + expectedArray},
        {"basic_cpuid[1073741824]=0000000d 00000000 00000000 00000000\n", "file:1: " + expectedArray}, // past its range
        {"CPU 0:\nCPUID 00000004:1 = 1c004122 01c0003f 0000003f 00000000 | \"A\"\n", "file:2: " + expectedReport},
        // Without a line end.
        {leaf0 + "CPUID 00000001:", breaksOff + expectedReport},
        {leaf0 + "CPUID 00000001: 00000005-687", breaksOff + expectedReport},
        {raw0 + "   0x0000", breaksOff + expectedRaw},
        {array0 + "basic_cpuid[1]=0000", breaksOff + expectedArray},
    });
}

// Last lines that have no line end: some are whole, for others more must come, on the line or below it.
TEST(RecordingFormats, NoticesWhatBreaksOff) {
    const struct {
        const std::string& before;
        const char* whole;
        const char* begun;
    } cases[] = {
        {leaf0,
         "CPUID 00000001: 00000005-68747541-444D4163-69746E65\nMSR 00000017: 0004-0000-0000-0001\nend\n------\n"
         "------[ Versions ]------\nCPUID Features\nCPU# count: 2\nGroup policy\nCPU 0:",
         "C\nCPUID\nCPUID 0\nCPUID 00000001\nCPUID 00000004: 00000005-68747541-444D4163-69746E65 [S\nM\nMSR \n"
         "MSR 0000\n------[\n------[ Versions\n------[ CPUID Registers / Logical CPU #1 ]------\n"
         "------[ Logical CPU #1 ]--\n------[ MSR Registers ]------\nCPUID Reg\nCPUID Registers (CPU #2):\nCPU#\n"
         "CPU#001 Aff\nCPU#001 AffMask: 0x0000000000000002\nGroup: 0\nGroup: 0x00 Affinity mask: 0x0000000000000002"},
        {raw0,
         "   0x00000001 0x00: eax=0x00000001 ebx=0x00000000 ecx=0x00000000 edx=0x00000000\n CPUs: 2\nCPU load: 3\n"
         "CPU: fast\n------[ Logical CPU #1 ]------",
         " 0\nC\nCPU\nCPU \nCPU 1\nCPU 1:\nCPU:\nCPU 1: group 0 b\nCPU 1: group 0 bit 1"},
        {array0, "basic_cpuid[1]=00000001 00000000 00000000 00000000\nversion=0.6.2\n_____\nCPU 0:",
         "b\nbasic\nintel_fn4[\n_____ Log\n_____ Logical CPU #1\n_____ Logical CPU #1 _____"},
    };
    for (const auto& test : cases) {
        const auto expectError = [&test](const std::string& lasts, const std::string& expected) {
            std::istringstream in(lasts);
            for (std::string last; std::getline(in, last);) {
                RecordingError error;
                parseRecording(test.before + last, "file", error);
                EXPECT_EQ(error.message, expected) << last;
            }
        };
        expectError(test.whole, "");
        expectError(test.begun, breaksOff + "expected the rest of the line and, after a heading, its values");
    }
}

TEST(RecordingFile, IsReadOrRefusedAsItStands) {
    const std::string path = testing::TempDir() + "quarrow-recording-" + std::to_string(std::random_device()());
    const auto read = [](const std::string& name) {
        RecordingError error;
        return summary(readRecording(name, error), error);
    };
    EXPECT_EQ(read("/nowhere/dump.txt"), "/nowhere/dump.txt: it cannot be opened: No such file or directory" + formats);
    EXPECT_EQ(read(QUARROW_SOURCE_DIR),
              QUARROW_SOURCE_DIR ": it is a folder or an archive without the files pu0, pu1 ... of hwloc-gather-cpuid" +
                  formats);
    EXPECT_EQ(read("\xFF").substr(0, 6), "\xFF: it "); // UTF-8 it is not
    std::ofstream(path, std::ios::binary) << "CPU:\r\n" + raw0;
    EXPECT_EQ(read(path), "0:0 0.0=d");
    std::ofstream(path, std::ios::binary) << std::string(maxRecordingBytes + 1, '\n');
    EXPECT_EQ(read(path), path + ": it is larger than 64 MiB" + formats);
    std::remove(path.c_str());
}

} // namespace
