// Dumps of programs whose format is not a plain list of lines, and the wrappings in which dumps are sent.

#include <libQuarrow/recording/formats/RecordingFile.h>
#include <libQuarrow/recording/formats/RecordingParser.h>
#include <tests/support/RecordingSummary.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <random>

using namespace libQuarrow::os;
using namespace std::string_literals;
using testing_support::expectSummaries;
using testing_support::summary;

namespace {

const std::string listed = "; name a Quarrow recording, the output of \"cpuid -r\", or a dump of another format that "
                           "docs/recordings.md lists";

TEST(OtherFormats, ReadsHwlocAndKcpuid) {
    const std::string expectedHwloc =
        "expected \"MASK EAX EBX ECX EDX => EAX EBX ECX EDX\" in hexadecimal digits, with mask 1 or 5";
    const std::string expectedKcpuid =
        "expected \"0xLEAF: EAX=0x..., EBX=0x..., ECX=0x..., EDX=0x...\" with 8 hexadecimal digits each, or, after "
        "\"0xLEAF: subleafs:\", the same with a decimal sub-leaf in place of the leaf, in ascending order";
    const std::string zero = "1 0 0 0 0 => d 756e6547 6c65746e 49656e69\n";
    const std::string registers = "EAX=0x00000007, EBX=0x756e6547, ECX=0x6c65746e, EDX=0x49656e69\n";
    const std::string basic = "Basic Leafs :\n================\n0x00000000: " + registers;
    expectSummaries({
        {"# mask\n" + zero + "5 4 0 1 0 => 1c004122 1c0003f 3f 0\r\n5 4 0 1 0 => 0 0 0 0\n1 2 0 9 0 => ff 0 0 0 ",
         "0:0 0.0=d 2.0=ff 4.1=1c004122"},
        {"Gathering CPUID of PU P#3 on stdout ...\n" + zero, "0:3 0.0=d"},
        {zero + "2 4 0 1 0 => 1c004122 1c0003f 3f 0\n", "file:2: " + expectedHwloc}, // EBX is no question
        {zero + "5 4 0 1 0 => 1c004122 1c0003f 3f\n", "file:2: " + expectedHwloc},
        {zero + "5 4 0 1\n", "file:2: " + expectedHwloc},
        {zero + "5 4 0 1 => 0", "file:2: the file breaks off here: " + expectedHwloc},
        {zero + "5",
         "file:2: the file breaks off here: expected the rest of the line and, after a heading, its values"},
        {basic + "0x00000004: subleafs:\n  0: " + registers + " 11: " + registers +
             "Extended Leafs :\n0x80000000: " + registers,
         "0:0 0.0=7 4.0=7 4.b=7 80000000.0=7"},
        {basic + "  1: " + registers, "file:4: " + expectedKcpuid}, // of no leaf
        {basic + "0x00000004: subleafs:\n  1: " + registers + "  1: " + registers, "file:6: " + expectedKcpuid},
        {basic + "0x00000001: EAX=0x00000007, EBX=0x0\n", "file:4: " + expectedKcpuid},
        {basic + "0x00000004: subleafs:",
         "file:4: the file breaks off here: expected the rest of the line and, after a heading, its values"},
    });
}

TEST(OtherFormats, ReadsReportsWithIndentation) {
    const std::string cpuz = "CPU-Z TXT Report\n\tCPUID\t\t\tF.2.9\nThread dumps\n-------\n\nCPU Thread 0\t\n";
    const std::string leaf = "0x00000000\t\t0x00000002\t0x756E6547\t0x6C65746E\t0x49656E69\n";
    expectSummaries({
        {cpuz + "\tAPIC ID\t\t\t0\n\tCPUID\t\t \n\t" + leaf +
             "\t0x00000004\t\t0x00000021\t0x756E6547\t0x6C65746E\t0x49656E69\n"
             "\t0x00000004\t\t0x00000022\t0x756E6547\t0x6C65746E\t0x49656E69\n"
             "\tMSR 0x0000001B\t\t0x00000001\t0xFEE00900\n\nCPU Thread 65\nFunction\t\teax\n" +
             leaf + "MSR 0x00000017\t\tedx = 0x000A0000\teax = 0x00000000\nChipset\n------\n0x00 0x1\nMSR 0x\n",
         "0:0 0.0=2 4.0=21 4.1=22 msr1b=1fee00900, 1:1 0.0=2 msr17=a000000000000"},
        {cpuz + leaf + "0x00000001\t0x00000002\n",
         "file:8: expected \"0xLEAF 0xEAX 0xEBX 0xECX 0xEDX\" with 8 hexadecimal digits each"},
        {cpuz + leaf + "MSR 0x0000001B\t\t0xFEE00900\n",
         "file:8: expected \"MSR 0xNUMBER 0xEDX 0xEAX\" with 8 hexadecimal digits each"},
        {cpuz + leaf + "CPU Thread 1",
         "file:8: the file breaks off here: expected the rest of the line and, after a heading, its values"},
        // AIDA64's own report, and tycho's cpuid
        {"    CPUID Registers (CPU #1):\n      CPUID 00000000        0000000A-756E6547-6C65746E-49656E69 [Intel]\n"
         "    CPUID Registers (CPU #2 Virtual):\n      CPUID 00000000    0000000B-756E6547-6C65746E-49656E69\n"
         "      CPUID Manufacturer      GenuineIntel\n      MSR 00000017       0004-0000-0000-0000\n",
         "0:0 0.0=a msr17=4000000000000, 0:1 0.0=b"},
        {"CPU 0:\nCPUID 00000000:00 = 0000000d 756e6547 6c65746e 49656e69 | \"....Genuntelinei\"\n"
         "CPUID 00000004:03 = 1c004122 01c0003f 0000003f 00000000 | \"A\"\n",
         "0:0 0.0=d 4.3=1c004122"},
    });
}

TEST(OtherFormats, ReadsXml) {
#ifdef QUARROW_HAS_PUGIXML
    const std::string begin = "<?xml version=\"1.0\"?>\n<cpuid type=\"x86\">\n";
    const std::string zero =
        "<register eax=\"00000000\" ecx=\"00000000\">00000016,756E6547,6C65746E,49656E69</register>";
    const std::string four = "<register eax='00000004' ecx='00000000'>00000021,0000003F,0000003F,00000000</register>\n";
    const std::string expectedRegister = "expected <register eax=\"LEAF\" ecx=\"SUBLEAF\">EAX,EBX,ECX,EDX</register> "
                                         "with 8 hexadecimal digits each";
    expectSummaries({
        {"\xEF\xBB\xBF" + begin + "<processor>" + zero + four + four + "</processor><processor>" + zero + four +
             "</processor></cpuid>",
         "0:0 0.0=16 4.0=21 4.1=21, 0:1 0.0=16 4.0=21"},
        {begin + "<processor>" + zero + "\n<register eax=\"00000001\" ecx=\"0\">1,2</register></processor></cpuid>",
         "file:4: " + expectedRegister},
        {begin + "<processor>" + zero, "file:3: expected XML that is whole: start-end tags mismatch"},
        {begin + "<processor/></cpuid>", "file: there are no CPUID values in it" + listed},
        {"<?xml version=\"1.0\"?>\n<topology/>", "file:2: expected <cpuid type=\"x86\">, the XML of CpuIdWin" + listed},
        {"<cpuid type=\"arm\"/>", "file:1: expected <cpuid type=\"x86\">, the XML of CpuIdWin" + listed},
    });
#else
    expectSummaries({{"<?xml?>", "file: it is XML, which this quarrow was built without pugixml for" + listed}});
#endif
}

TEST(OtherFormats, ReadsJson) {
    const auto bits = [](std::uint64_t value, int count) {
        std::string text;
        for (int bit = count - 1; bit >= 0; --bit) {
            text += (value >> bit & 1) != 0 ? '1' : '0';
        }
        return "\"bitmap\": \"0b" + text + "\"";
    };
    const auto modifier = [](const std::string& name, const std::string& bitmap) {
        return "{\"register\": \"" + name + "\", " + bitmap + "}";
    };
    const auto entry = [&](const std::string& leaf, const std::string& bitmap) {
        return "{\"leaf\": \"0x" + leaf + "\", \"subleaf\": \"0x1\", \"flags\": 1, \"modifiers\": [" +
               modifier("edx", bits(4, 32)) + "," + modifier("eax", bitmap) + "," + modifier("ecx", bits(3, 32)) + "," +
               modifier("ebx", bits(2, 32)) + "]}";
    };
    const auto guest = [](const std::string& cpuid, const std::string& msrs) {
        return "{\"guest_cpu_config\": {\n\"cpuid_modifiers\": [" + cpuid + "], \"msr_modifiers\": [" + msrs + "]}}";
    };
    const std::string good = entry("8000001d", bits(0x80000121, 32));
    const std::string none = "file: it is JSON without the cpuid_modifiers of a Firecracker guest on x86" + listed;
    expectSummaries({
        {guest(good, "{\"addr\": \"0x11\", " + bits(0x8000000000000001, 64) + "}"),
         "0:0 8000001d.1=80000121 msr11=8000000000000001"},
        {guest(entry("4", "\"bitmap\": \"0b0000_0000_0000_0000_0000_0001_0010_0001\""), ""), "0:0 4.1=121"},
        {guest(good + "," + entry("4", "\"bitmap\": \"0b000000000000000000000000000000x\""), ""),
         "file: cpuid_modifiers[1]: expected bits that are 0 or 1; an x leaves one to the host, so this is a template "
         "and no machine"},
        {"{\"cpuid_modifiers\": [" + good + "]}", "0:0 8000001d.1=80000121"},
        {guest(good + "," + good, ""), "file: cpuid_modifiers[1]: expected each leaf and sub-leaf once"},
        {guest(entry("4", bits(1, 31)), ""),
         "file: cpuid_modifiers[0]: expected \"bitmap\": \"0bBITS\" with 32 binary digits"},
        {guest("{\"leaf\": \"0x1\", \"subleaf\": \"0x0\", \"modifiers\": [{}]}", ""),
         "file: cpuid_modifiers[0]: expected the \"modifiers\" of eax, ebx, ecx and edx, each once"},
        {guest("7", ""), "file: cpuid_modifiers[0]: expected \"leaf\": \"0xNUMBER\" in hexadecimal digits"},
        {guest(good, "{\"addr\": 17}"),
         "file: msr_modifiers[0]: expected \"addr\": \"0xNUMBER\" in hexadecimal digits"},
        {guest("", ""), none},
        {"{\"quarrow\": [1e5]}", none},
        {"{\n1e999", "file:2: expected JSON that is whole" + listed},
        {guest(good, "").substr(0, 100), "file:2: expected JSON that is whole" + listed},
    });
}

// A text as UTF-16, from the one byte order to the other.
std::string inUtf16(const std::string& text, bool littleEndian) {
    std::string units = littleEndian ? "\xFF\xFE" : "\xFE\xFF";
    for (const char c : text) {
        units += littleEndian ? std::string{c, '\0'} : std::string{'\0', c};
    }
    return units;
}

const std::string rawLine = "   0x00000000 0x00: eax=0x0000000d ebx=0x68747541 ecx=0x444d4163 edx=0x69746e65\n";

TEST(OtherFormats, ReadsUtf16) {
    for (const bool littleEndian : {true, false}) {
        expectSummaries({
            {inUtf16("CPU 0:\r\n" + rawLine, littleEndian), "0:0 0.0=d"},
            {inUtf16(rawLine, littleEndian) + (littleEndian ? "\x3D\xD8\x00"s : "\xD8\x3D\x00"s), "0:0 0.0=d"}, // half
            {inUtf16("CPUID 0000001: 1\n", littleEndian),
             "file:1: expected \"CPUID LEAF: EAX-EBX-ECX-EDX\" with 8 hexadecimal digits each, and the sub-leaf, where "
             "there is one, as \"[SL NN]\""},
        });
    }
}

std::string fromHex(const std::string& digits) {
    std::string bytes;
    for (std::size_t i = 0; i + 1 < digits.size(); i += 2) {
        bytes += static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16));
    }
    return bytes;
}

// The raw line above, as the three programs compress it, and 64 MiB and a byte more of line ends.
const struct {
    const char* name;
    const char* library;
    bool isRead;
    std::string bytes;
} compressed[] = {
    {"gzip", "zlib",
#ifdef QUARROW_HAS_ZLIB
     true,
#else
     false,
#endif
     fromHex(
         "1f8b080000000000020353505030a830800230d34a2135b1c2162e98a2909a04e29a59989b989b9a182aa42683b826262629268666c60"
         "aa92960594b7313b35433532e00190b7ebd50000000")},
    {"xz", "liblzma",
#ifdef QUARROW_HAS_LIBLZMA
     true,
#else
     false,
#endif
     fromHex(
         "fd377a585a0000016922de36020021010c0000008f98419ce0004f00385d001068080f030d519c23200af289089cedb0f8f2c5c522812"
         "0472df158834c8f5b51ac1562977031fab987ec62aa7edb74f106c771f1f88b0000190b7ebd000150508bb956f19042990d01000000"
         "0001595a")},
    {"bzip2", "libbz2",
#ifdef QUARROW_HAS_LIBBZ2
     true,
#else
     false,
#endif
     fromHex(
         "425a6831314159265359774bc068000001d9800c1040006ff23e0000402000543503400d34c09489ed53691e90d1a390e858f62f0369a"
         "9e414693137b3f451578d216735b1283764291700a887d9bae2ee48a70a120ee9780d00")},
};

TEST(OtherFormats, ReadsCompressedFiles) {
    for (const auto& [name, library, isRead, bytes] : compressed) {
        if (!isRead) {
            expectSummaries({{bytes, "file: it is compressed ("s + name + "), which this quarrow was built without " +
                                         library + " for; unpack it first"}});
            continue;
        }
        expectSummaries({{bytes, "0:0 0.0=d"}, {bytes + bytes, "0:0 0.0=d, 0:1 0.0=d"}});
        const std::string damaged = "file: it is compressed ("s + name + ") and damaged, or breaks off; fetch it anew";
        for (std::size_t length = 6; length < bytes.size(); ++length) {
            expectSummaries({{bytes.substr(0, length), damaged}});
        }
        std::string flipped = bytes;
        flipped[flipped.size() / 2] ^= 4;
        expectSummaries({{flipped, damaged}, {bytes + "\n", damaged}});
    }
    expectSummaries(
        {{"PK\x03\x04", "file: it is compressed (ZIP), which this quarrow does not read; unpack it first"}});
#ifdef QUARROW_HAS_LIBBZ2
    const std::string bomb = "425a68393141592653592b71bb71015f8e400080100008200030804d4642a025a90a8097314159265359620ca"
                             "3cb00a275c000a0100008200020a534198e35454426c54544278bb9229c28481a77ea9480";
    expectSummaries({{fromHex(bomb), "file: it is compressed (bzip2) and larger than 64 MiB; recordings are smaller"}});
#endif
}

// A member of a tar archive: 512 bytes of header, the contents, and zeros up to the next multiple of 512.
std::string tarMember(const std::string& path, char type, const std::string& contents, const std::string& prefix = "") {
    std::string header(512, '\0');
    const auto put = [&header](std::size_t offset, const std::string& text) {
        header.replace(offset, text.size(), text);
    };
    char number[16];
    put(0, path);
    put(156, std::string(1, type));
    put(257, "ustar");
    put(345, prefix);
    std::snprintf(number, sizeof number, "%011o", static_cast<unsigned int>(contents.size()));
    put(124, number);
    put(148, "        ");
    unsigned int sum = 0;
    for (const char c : header) {
        sum += static_cast<unsigned char>(c);
    }
    std::snprintf(number, sizeof number, "%06o", sum);
    put(148, number);
    return header + contents + std::string((512 - contents.size() % 512) % 512, '\0');
}

TEST(OtherFormats, ReadsArchivesOfFolders) {
    const std::string end(1024, '\0');
    const std::string one = "1 0 0 0 0 => 1 756e6547 6c65746e 49656e69\n";
    const std::string two = "1 0 0 0 0 => 2 756e6547 6c65746e 49656e69\n";
    const std::string members = tarMember("a/", '5', "") + tarMember("a/hwloc-cpuid-info", '0', "Architecture: x86\n") +
                                tarMember("a/pu01", '0', "no number") + tarMember("a/pu1", '2', "");
    const std::string none =
        "it is a folder or an archive without the files pu0, pu1 ... of hwloc-gather-cpuid" + listed;
    const std::string damaged = "file: it is a tar archive that is damaged or breaks off; fetch it anew";
    expectSummaries({
        {members + tarMember("a/pu65", '0', two) + tarMember("a/pu0", '0', one) + end, "0:0 0.0=1, 1:1 0.0=2"},
        {tarMember("pu0", '0', one, "long/folder") + end, "0:0 0.0=1"},
        {tarMember("././@LongLink", 'L', "folder/pu2\0"s) + tarMember("folder/p", '0', one) + tarMember("x", '0', "") +
             end,
         "0:2 0.0=1"},
        {tarMember("pax", 'x', "11 mtime=1\n19 path=folder/pu3\n"s) + tarMember("folder/p", '0', one) + end,
         "0:3 0.0=1"},
        {tarMember("pax", 'x', "99 path=folder/pu3\n"s) + tarMember("folder/p", '0', one) + end, "file: " + none},
        {members + end, "file: " + none},
        {members + tarMember("a/pu0", '0', one) + tarMember("b/pu0", '0', one) + end,
         "file: it holds several machines, a/ and b/; unpack it and name one of its folders"},
        {tarMember("pu0", '0', one, "a") + tarMember("pu0", '0', one, "b") + end,
         "file: it holds several machines, a/ and b/; unpack it and name one of its folders"},
        {members + tarMember("a/pu4194304", '0', one) + end,
         "file/a: expected no more than 262144 files, the last one no higher than pu4194303"},
        {members + tarMember("a/pu0", '0', one + one) + end,
         "file/a/pu0: expected the values of one processor, with leaf 0 once"},
        {members + tarMember("a/\n/pu0", '0', "") + end, "file/a/?/pu0: there are no CPUID values in it" + listed},
        {members + tarMember("a/pu0", '0', one + "1 1 =>\n") + end,
         "file/a/pu0:2: expected \"MASK EAX EBX ECX EDX => EAX EBX ECX EDX\" in hexadecimal digits, with mask 1 or 5"},
        {members + tarMember("a/pu0", '0', one), damaged},
        {members + tarMember("a/pu0", '0', one) + std::string(511, '\0'), damaged},
        {(members + tarMember("a/pu0", '0', one)).substr(0, members.size() + 520), damaged},
    });
}

TEST(OtherFormats, ReadsFolders) {
    const std::filesystem::path scratchFolder =
        testing::TempDir() + "quarrow-folder-" + std::to_string(std::random_device()());
    std::filesystem::create_directories(scratchFolder / "pu2"); // no file
    const auto read = [&] {
        RecordingError error;
        return summary(readRecording(scratchFolder.u8string(), error), error);
    };
    const auto write = [&](const char* name, const std::string& text) { std::ofstream(scratchFolder / name) << text; };
    write("pu", "1 1 0 0 0 => 1 1 1 1\n");
    EXPECT_EQ(read(), scratchFolder.u8string() +
                          ": it is a folder or an archive without the files pu0, pu1 ... of hwloc-gather-cpuid" +
                          listed);
    write("pu10", "1 0 0 0 0 => 1 0 0 0\n");
    write("pu9", "1 0 0 0 0 => 2 0 0 0\n");
    EXPECT_EQ(read(), "0:9 0.0=2, 0:a 0.0=1");
    write("pu9", "1 0 0 0 0 =>\n");
    EXPECT_EQ(read().substr(0, scratchFolder.u8string().size() + 6), scratchFolder.u8string() + "/pu9:1");
    std::filesystem::remove_all(scratchFolder);
}

} // namespace
