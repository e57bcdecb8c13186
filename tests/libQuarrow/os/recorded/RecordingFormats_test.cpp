// Every variation of the text formats that public collections use, in a few lines each.

#include <libQuarrow/os/recorded/Recording.h>

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

using namespace libQuarrow::os;

namespace {

const std::string amd = "00000005-68747541-444D4163-69746E65\n";
const std::string intel = "0000000A-756E6547-6C65746E-49656E69\n";

// A recording as one short text: "group:bit leaf.subleaf=eax ..., ...", MSRs as "msr=value".
std::string summary(const boost::optional<Recording>& recording) {
    std::ostringstream out;
    out << std::hex;
    if (!recording) {
        return "nothing";
    }
    for (const RecordedProcessor& processor : recording->processors) {
        out << (&processor == &recording->processors.front() ? "" : ", ") << processor.group << ":"
            << unsigned{processor.bit};
        for (const auto& [where, registers] : processor.leaves) {
            out << " " << where.first << "." << where.second << "=" << registers.eax;
        }
        for (const auto& [msr, value] : processor.msrs) {
            out << " msr" << msr << "=" << value;
        }
    }
    return out.str();
}

std::string parsed(const std::string& text) {
    RecordingError error;
    const auto recording = parseRecording(text, "dump.txt", error);
    return recording ? summary(recording) : error.message;
}

struct Case {
    const char* name;
    std::string text;
    std::string expected;
};

template <std::size_t count>
void check(const Case (&cases)[count]) {
    for (const Case& row : cases) {
        EXPECT_EQ(parsed(row.text), row.expected) << row.name;
    }
}

std::string cpu(const std::string& heading) {
    return heading + "\nCPUID 00000000: " + amd;
}

const Case reportTexts[] = {
    {"Comment", "board: CPUID Features\nCPUID Registers\nMSR list\nMSR 0x8B\n" + cpu("") + "L1 Data Cache: 48 KB\n",
     "0:0 0.0=5"},
    {"BracketHeadings",
     cpu("------[ CPUID Registers / Logical CPU #0 ]------") +
         cpu("------[ CPUID Registers / Logical CPU #1 Virtual ]------") + cpu("------[ Logical CPU #2 ]------"),
     "0:0 0.0=5, 0:1 0.0=5, 0:2 0.0=5"},
    {"ParenthesesCountFromOne", cpu("CPUID Registers (CPU #1):") + cpu("CPUID Registers (CPU #2 Virtual):"),
     "0:0 0.0=5, 0:1 0.0=5"},
    {"MaskHeadings", cpu("CPU#000 AffMask: 0x0000000000000004") + cpu("CPU#001 AffMask: 0X0000000000000008"),
     "0:2 0.0=5, 0:3 0.0=5"},
    {"MaskHeadingsWithGroup0Left",
     cpu("CPU#000 AffMask: 0x0000000000000001:0000000000000000") +
         cpu("CPU#001 AffMask: 0x0000000000000000:0000000000000002"),
     "0:0 0.0=5, 1:1 0.0=5"},
    {"MaskHeadingsWithGroup0Right",
     cpu("CPU#000 AffMask: 0x0:0:1") + cpu("CPU#001 AffMask: 0x0:1:0") + cpu("CPU#002 AffMask: 0x1:0:0"),
     "0:0 0.0=5, 1:0 0.0=5, 2:0 0.0=5"},
    {"MaskOfSeveralProcessors", cpu("CPU#003 AffMask: 0x000000000000000F"), "0:3 0.0=5"},
    {"GroupHeadingsButTheFirst",
     cpu("") + cpu("Group: 0x00 Affinity mask: 0x0000000000000002") +
         cpu("Group: 0x01 Affinity mask: 0x8000000000000000"),
     "0:0 0.0=5, 0:1 0.0=5, 1:3f 0.0=5"},
    {"NoHeadings", cpu("") + cpu("") + cpu(""), "0:0 0.0=5, 0:1 0.0=5, 0:2 0.0=5"},
    {"NumbersPast64", cpu("------[ Logical CPU #63 ]------") + cpu("------[ Logical CPU #64 ]------"),
     "0:3f 0.0=5, 1:0 0.0=5"},
    {"SamePlaceTwiceGoesByOrder", cpu("------[ Logical CPU #7 ]------") + cpu("------[ Logical CPU #7 ]------"),
     "0:0 0.0=5, 0:1 0.0=5"},
    {"ImpossibleNumberGoesByOrder", cpu("------[ Logical CPU #4194304 ]------"), "0:0 0.0=5"},
    {"Spellings",
     "CPUID 00000000  \t00000005-68747541-444D4163-69746E65\r\nCPUID 00000001 00000001-68747541-444D4163-69746E65\r\n"
     "CPUID 00000002 :00000006-68747541-444D4163-69746E65\r\nCPUID 00000003: 00000004 68747541 444D4163 69746E65\r\n"
     "CPUID 00000005: 00000660-c1704000-c1705f8c-008031b5 \xE9\r\n",
     "0:0 0.0=5 1.0=1 2.0=6 3.0=4 5.0=660"},
    {"ByteOrderMarkAndNoLastLineEnd",
     "\xEF\xBB\xBF"
     "CPUID 00000000: 00000005-68747541-444D4163-69746E65",
     "0:0 0.0=5"},
    {"SubleafLabelsAreHexadecimal",
     "CPUID 0000000D: 00000007-00000000-00000000-00000000 [SL 00] [x87]\n"
     "CPUID 0000000D: 00000008-00000000-00000000-00000000 [SL 0B]\nCPUID 0000000D: 00000009-0-\n",
     "dump.txt:3: expected \"CPUID LEAF: EAX-EBX-ECX-EDX\" with 8 hexadecimal digits each, and the sub-leaf, where "
     "there is "
     "one, as \"[SL NN]\""},
    {"UnlabelledSubleavesCount",
     "CPUID 00000000: " + intel + "CPUID 00000004: " + amd + "CPUID 00000004: " + intel + "CPUID 0000000D: " + amd +
         "CPUID 0000000D: " + intel + "CPUID 80000026: " + amd + "CPUID 80000026: " + intel +
         "CPUID 00000000: " + intel + "CPUID 00000004: " + amd,
     "0:0 0.0=a 4.0=5 4.1=a d.0=5 80000026.0=5, 0:1 0.0=a 4.0=5"},
    {"FirstOfALeafStays", cpu("") + "CPUID 00000001: " + amd + "CPUID 00000001: " + intel, "0:0 0.0=5 1.0=5"},
    {"Msrs",
     cpu("------[ Logical CPU #0 ]------") + cpu("------[ Logical CPU #1 ]------") +
         "------[ MSR Registers ]------\nMSR 00000017: 0004-0000-0000-0001 [PlatID = 1]\nMSR 0000010B: < FAILED >\n"
         "------[ MSR Registers / Logical CPU #1 ]------\nMSR C0010064: 8000-01B1-0000-161A [21.00x] [S200]\n"
         "MSR C0010064: 0000-0000-0000-0000\n------[ MSR Registers / Logical CPU # Multiplier,36.0x ]------\n"
         "MSR 00000010: 0000-0000-0000-0002\n",
     "0:0 0.0=5 msr17=4000000000001, 0:1 0.0=5 msr10=2 msrc0010064=800001b10000161a"},
};
TEST(RecordingFormats, ReadsReportTexts) {
    check(reportTexts);
}

const std::string leaf0 = "   0x00000000 0x00: eax=0x0000000d ebx=0x68747541 ecx=0x444d4163 edx=0x69746e65\n";
const std::string leaf4 = " 0x00000004: eax=0x00000001 ebx=0x00000000 ecx=0x00000000 edx=0x00000000\n";

const Case rawOutputs[] = {
    {"OneCpu", "CPU:\n" + leaf0, "0:0 0.0=d"},
    {"SeveralCpus", "CPU 0:\n" + leaf0 + "CPU 3:\n" + leaf0, "0:0 0.0=d, 0:3 0.0=d"},
    {"NoHeading", leaf0 + leaf0, "0:0 0.0=d, 0:1 0.0=d"},
    {"Subleaves", "CPU:\n0x8000001d 0x3e: eax=0x00000121 ebx=0x00000000 ecx=0x00000000 edx=0x00000000\n",
     "0:0 8000001d.3e=121"},
    {"WithoutSubleaves", "CPU:\n" + leaf4 + leaf4, "0:0 4.0=1 4.1=1"},
    {"CommentsStay", "cpuid version 1\n" + leaf0 + "end\n", "0:0 0.0=d"},
    {"AdditionsNeedNoHeader", "CPU 0: group 2 bit 5\n" + leaf0 + "msr 0x00000017: 0x0000000000000003\n",
     "2:5 0.0=d msr17=3"},
};
TEST(RecordingFormats, ReadsRawOutputs) {
    check(rawOutputs);
}

const std::string fields = " 00000000 00000000 00000000\n";

const Case libcpuidFiles[] = {
    {"ArraysEndAtTheHighestLeaf",
     "version=0.6.2\nbasic_cpuid[0]=0000000b" + fields + "basic_cpuid[4]=00000001" + fields +
         "basic_cpuid[11]=00000002" + fields + "basic_cpuid[12]=00000002" + fields + "ext_cpuid[0]=80000001" + fields +
         "ext_cpuid[1]=00000003" + fields + "ext_cpuid[2]=00000003" + fields + "intel_fn4[0]=00000001" + fields +
         "intel_fn4[1]=00000005" + fields + "intel_fn11[1]=00000006" + fields + "intel_fn12h[1]=00000007" + fields +
         "amd_fn8000001dh[0]=00000003" + fields,
     "0:0 0.0=b 4.0=1 4.1=5 b.0=2 b.1=6 80000000.0=80000001 80000001.0=3"},
    {"NoExtendedLeaves",
     "basic_cpuid[0]=00000002" + fields + "basic_cpuid[2]=03020101" + fields + "ext_cpuid[0]=03020101" + fields +
         "ext_cpuid[1]=03020101" + fields,
     "0:0 0.0=2 2.0=3020101"},
    {"SeveralCpus",
     "_________________ Logical CPU #0 _________________\nbasic_cpuid[0]=00000001" + fields +
         "_________________ Logical CPU #1 _________________\nbasic_cpuid[0]=00000001" + fields,
     "0:0 0.0=1, 0:1 0.0=1"},
    {"OtherArrays",
     "basic_cpuid[0]=00000014" + fields + "ext_cpuid[0]=80000026" + fields + "intel_fn14h[1]=00000001" + fields +
         "amd_fn80000026h[1]=00000002" + fields + "arm_fn1[0]=00000003\n",
     "0:0 0.0=14 14.1=1 80000000.0=80000026 80000026.1=2"},
};
TEST(RecordingFormats, ReadsLibcpuidFiles) {
    check(libcpuidFiles);
}

const std::string expectedRaw =
    "expected \"0xLEAF 0xSUBLEAF: eax=0x... ebx=0x... ecx=0x... edx=0x...\" with 8 hexadecimal digits each";
const std::string expectedMsr =
    "expected \"MSR NUMBER: XXXX-XXXX-XXXX-XXXX\" in hexadecimal digits, or \"< FAILED >\" in place of the value";
const std::string expectedReport = "expected \"CPUID LEAF: EAX-EBX-ECX-EDX\" with 8 hexadecimal digits each, and the "
                                   "sub-leaf, where there is one, as \"[SL NN]\"";
const std::string expectedArray =
    "expected \"NAME[INDEX]=EAX EBX ECX EDX\" with a decimal index and 8 hexadecimal digits each";
const std::string formats =
    "; name a Quarrow recording, the output of \"cpuid -r\", a CPUID text report or a raw file of "
    "libcpuid";
const std::string breaksOff = "the file breaks off in the middle of a line: ";

const Case mistakes[] = {
    {"Empty", "", "dump.txt: it is empty" + formats},
    {"NoValues", "hello\n", "dump.txt: there are no CPUID values in it" + formats},
    {"Binary",
     std::string("\x7F"
                 "ELF\0\0",
                 6),
     "dump.txt: it is no text file" + formats},
    {"Utf16",
     std::string("\xFF\xFE"
                 "C\0P\0",
                 6),
     "dump.txt: it is UTF-16 text, save it as UTF-8" + formats},
    {"HwlocLines", "Architecture: x86\n5 4 0 1 0 => 1c004122 c0003f 7f 0\n",
     "dump.txt: there are no CPUID values in it" + formats},
    {"TooLarge", std::string(maxRecordingBytes + 1, '\n'), "dump.txt: it is larger than 64 MiB" + formats},
    {"ShortRegister", cpu("") + "CPUID 00000001: 0000005-68747541-444D4163-69746E65\n",
     "dump.txt:3: " + expectedReport},
    {"LongRegister", cpu("") + "CPUID 00000001: 00000005-68747541-444D4163-69746E650\n",
     "dump.txt:3: " + expectedReport},
    {"FiveRegisters", "CPUID 00000001: 00000005-68747541-444D4163-69746E65-00000000\n",
     "dump.txt:1: " + expectedReport},
    {"BadLeaf", cpu("") + "CPUID 0000Z001: " + amd, "dump.txt:3: " + expectedReport},
    {"BadLabel", "CPUID 00000004: 00000005-68747541-444D4163-69746E65 [SL xx]\n", "dump.txt:1: " + expectedReport},
    {"BadMsr", cpu("") + "MSR 00000017: 0004-0000-0000\n", "dump.txt:3: " + expectedMsr},
    {"MistakeBeforeTheFirstValue", "CPUID 0000001: 1\n" + cpu(""), "dump.txt:1: " + expectedReport},
    {"CutInAValue", cpu("") + "CPUID 00000001: 00000005-687", "dump.txt:3: " + breaksOff + expectedReport},
    {"CutInTheKeyword", cpu("") + "CPU", "dump.txt:3: " + breaksOff + "expected the rest of it"},
    {"CutAfterTheKeyword", cpu("") + "MSR ", "dump.txt:3: " + breaksOff + "expected the rest of it"},
    {"CutInALabel", cpu("") + "CPUID 00000004: 00000005-68747541-444D4163-69746E65 [S",
     "dump.txt:3: " + breaksOff + "expected the rest of it"},
    {"CutRaw", leaf0 + "   0x0000", "dump.txt:2: " + breaksOff + expectedRaw},
    {"CutRawEarly", leaf0 + "   0", "dump.txt:2: " + breaksOff + "expected the rest of it"},
    {"BadRaw", leaf0 + "0x00000001 0x00: eax=0x00000001 ebx=0x00000000 ecx=0x00000000\n", "dump.txt:2: " + expectedRaw},
    {"BadArray", "basic_cpuid[0]=0000000d 756e6547 6c65746e\n", "dump.txt:1: " + expectedArray},
    {"ArrayIndexPastItsRange", "basic_cpuid[1073741824]=0000000d" + fields, "dump.txt:1: " + expectedArray},
    {"CutArray", "basic_cpuid[0]=0000000d" + fields + "basic", "dump.txt:2: " + breaksOff + "expected the rest of it"},
    {"AnotherProgram", "CPU 0:\nCPUID 00000004:01 = 1c004122 01c0003f 0000003f 00000000 | \"A\"\n",
     "dump.txt:2: " + expectedReport},
};
TEST(RecordingFormats, SaysWhereTheMistakeIs) {
    check(mistakes);
}

TEST(RecordingFile, SaysWhyItCannotBeRead) {
    RecordingError error;
    EXPECT_FALSE(readRecording("/nowhere/dump.txt", error));
    EXPECT_EQ(error.message, "/nowhere/dump.txt: it cannot be opened: No such file or directory" + formats);
    EXPECT_FALSE(readRecording(QUARROW_SOURCE_DIR, error));
    EXPECT_EQ(error.message, QUARROW_SOURCE_DIR ": it is a folder" + formats);
}

TEST(RecordingFile, IsReadAsItStands) {
    const std::string path = testing::TempDir() + "quarrow_recording_test.txt";
    std::ofstream(path, std::ios::binary) << "CPU:\r\n" + leaf0;
    RecordingError error;
    EXPECT_EQ(summary(readRecording(path, error)), "0:0 0.0=d") << error.message;
    std::ofstream(path, std::ios::binary) << std::string(maxRecordingBytes + 1, '\n');
    EXPECT_FALSE(readRecording(path, error));
    EXPECT_EQ(error.message, path + ": it is larger than 64 MiB" + formats);
    std::remove(path.c_str());
}

} // namespace
