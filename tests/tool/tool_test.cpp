#include "ToolRun.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <set>

using nlohmann::json;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

const char* const intel = "intel-2p-smt.txt";
const char* const amd = "amd-family17-smt.txt";
const char* const unknownMaker = "two-groups-unknown-maker.txt";
const char* const guest = "guest-epyc-2cpu-a10f11.txt";

std::string of(const char* name, const std::string& command) {
    return "--machine " + quoted(machine(name)) + " " + command;
}

// What the commands say to people, on machines whose answers are known.
TEST(Tool, ReportsToPeople) {
    const struct {
        const char* machine;
        const char* command;
        std::vector<const char*> texts;
    } cases[] = {
        {intel,
         "cpus 5",
         {"CPU Name            : Intel\u00ae Xeon\u00ae CPU X5650 @ 2.67GHz\n", "Logical CPU Number  : 5\n",
          "APIC ID             : 11h\n", "Location            : CPU:0:0:1:0:1\n", "Revision            : C0\n",
          "Technology          : 32 nm\n", "Intel type          : NehalemFamily, WestmereCore\n",
          "Processor number    : X5650\n", "Designed frequency  : 2670 MHz\n"}},
        {intel,
         "",
         {"PHYSICAL_CPU[1]  : CPU:0:0:1:*:* - Intel\u00ae", "Caches of PHYSICAL_CPU[1]:\n   Cache Level     : L1\n"}},
        {intel,
         "caches",
         {"L2 Unified       : 2 x 256 KB, 8-Way Set-Associative, 64 bytes per line\n     logical CPUs   : 4-5 | 6-7\n",
          "L3 Unified       : 12 MB, 16-Way Set-Associative, 64 bytes per line\n     logical CPUs   : 4-7\n"}},
        // AMD's leaf gives the number of threads that share only.
        {amd,
         "caches",
         {"L1 Data          : 2 x 32 KB, 8-Way Set-Associative, 64 bytes per line\n     logical CPUs   : 0-1 | 2-3\n",
          "L3 Unified       : 4 MB, 16-Way Set-Associative, 64 bytes per line\n     logical CPUs   : 0-3\n"}},
        {amd, "features", {"Logical CPUs        : 0-3\n", "Allowed features    : CPUID, AVX, MSR, TSC, AVX2\n"}},
        {unknownMaker,
         "features",
         {"Logical CPUs        : 0, 2\nSupported features  : CPUID, MMX, CMPXCHG8B, TSC, FPU\n",
          "\nLogical CPUs        : 4\nSupported features  : CPUID, TSC, FPU\n"}},
        {unknownMaker, "caches", {"not known"}},
        {unknownMaker, "tree", {"Caches of PHYSICAL_CPU[2]: not known\n"}},
        {unknownMaker,
         "affinity",
         {"System affinity     : 0:0000000000000005h/1:0000000000000002h (3 logical processors)\n"}},
        {unknownMaker, "affinity 1:2", {"Group 1             : 1\n", "Logical CPU Number  : 4\n"}},
        {guest,
         "tree",
         {"PHYSICAL_CPU[0]  : CPU:0:0:0:*:* - AMD EPYC\n", "THREAD[0]   : CPU:0:0:0:1:0 - APICID:00000001h"}},
    };
    for (const auto& row : cases) {
        const ToolRun run = runTool(of(row.machine, row.command));
        EXPECT_EQ(run.status, 0) << row.command << ": " << run.err;
        for (const char* text : row.texts) {
            EXPECT_THAT(run.out, HasSubstr(text)) << row.machine << " " << row.command;
        }
    }
}

TEST(Tool, PrintsTheNamedProcessorsInTheOrderNamed) {
    const std::string out = runTool(of(intel, "cpus 6 0x2")).out;
    const std::size_t six = out.find("Logical CPU Number  : 6\n");
    const std::size_t two = out.find("Logical CPU Number  : 2\n");
    EXPECT_LT(six, two);
    EXPECT_NE(two, std::string::npos);
    EXPECT_THAT(out, Not(HasSubstr("Logical CPU Number  : 0\n")));
}

TEST(Tool, KeepsTheControlCharactersOfARecordingFromTheTerminal) {
    for (const char* command : {"tree", "cpus", "caches", "--log 1 cpus"}) {
        const ToolRun run = runTool(of(unknownMaker, command));
        for (const char* control : {"\x1b", "\u009b", "\x07"}) {
            EXPECT_THAT(run.out + run.err, Not(HasSubstr(control))) << command;
        }
        EXPECT_THAT(run.out, HasSubstr("Bad \uFFFD31m name")) << command;
    }
}

TEST(Tool, TakesOptionsBeforeAndAfterTheCommand) {
    const std::string before = runTool(of(intel, "--json cpus 1")).out;
    EXPECT_THAT(before, StartsWith("{"));
    EXPECT_EQ(runTool("cpus 1 --json --machine " + quoted(machine(intel))).out, before);
    EXPECT_EQ(runTool("cpus --json 1 --machine " + quoted(machine(intel))).out, before);
    EXPECT_EQ(runTool(of(intel, "tree")).out, runTool(of(intel, "")).out);
}

TEST(Tool, ReadsAMachineFromStandardInput) {
    EXPECT_EQ(runTool("--machine - cpus", machine(amd)).out, runTool(of(amd, "cpus")).out);
}

TEST(Tool, LogsToStandardErrorWhatThePriorityAdmits) {
    EXPECT_THAT(runTool(of(intel, "--log 2 cpus 0")).err, HasSubstr("2 libQuarrow.cpu_x86.x86_intel_info: "));
    EXPECT_EQ(runTool(of(intel, "--log 4 cpus 0")).err, "");
}

TEST(Tool, DescribesAProcessorInJson) {
    const json document = runToolForJson(of(intel, "--json"));
    EXPECT_EQ(document["machine"], QUARROW_SOURCE_DIR "/tests/machines/intel-2p-smt.txt");
    ASSERT_EQ(document["processors"].size(), 8u);
    const json& cpu = document["processors"][5];
    const json expected = {{"logicalCpuNumber", 5},
                           {"affinity", "0:0000000000000020h"},
                           {"location", "CPU:0:0:1:0:1"},
                           {"apicId", 17},
                           {"vendor", "GenuineIntel"},
                           {"name", "Intel\u00ae Xeon\u00ae CPU X5650 @ 2.67GHz"},
                           {"maxCpuid", 11},
                           {"maxExtendedCpuid", 0x80000008},
                           {"coresPerPackage", 2},
                           {"threadsPerPackage", 4},
                           {"maxAddressableCores", 8},
                           {"maxAddressableThreads", 16},
                           {"allowedFeatures", {"CPUID", "MSR", "TSC"}},
                           {"revision", "C0"},
                           {"technology", "32 nm"},
                           {"socketType", nullptr},
                           {"amd", nullptr}};
    for (const auto& [name, value] : expected.items()) {
        EXPECT_EQ(cpu[name], value) << name;
    }
    EXPECT_EQ(cpu["signature"],
              json::parse(R"({"raw": 132802, "family": 6, "model": 12, "extFamily": 0, "extModel": 2, "stepping": 2,
                              "displayFamily": 6, "displayModel": 44})"));
    // Leaf 4 tells for how many APIC IDs there is room: 16 in a package of 4.
    EXPECT_EQ(cpu["caches"][3],
              json::parse(R"({"level": "L3", "type": "Unified", "associativity": "16-Way Set-Associative", "ways": 16,
                              "lineSizeBytes": 64, "sizeBytes": 12582912, "sizeMicroOps": null, "threadsSharing": 16,
                              "instances": 1})"));
    EXPECT_EQ(cpu["intel"], json::parse(R"({"types": ["NehalemFamily", "WestmereCore"], "processorNumber": "X5650",
                                            "designedFrequencyMHz": 2670, "mobile": null})"));
}

TEST(Tool, SaysNullForWhatIsNotKnown) {
    const json family17 = runToolForJson(of(amd, "--json"))["processors"][0];
    EXPECT_EQ(family17["amd"],
              json::parse(R"({"family": 23, "coreCode": null, "revisionCode": null, "packageType": 16, "bsp": null})"));
    EXPECT_EQ(family17["intel"], nullptr);

    const json document = runToolForJson(of(unknownMaker, "--json"));
    const json& cpu = document["processors"][2];
    EXPECT_EQ(cpu["vendor"], "Evil\x1b[1m\nBy");
    EXPECT_EQ(cpu["name"], "Bad \u009b31m name\x07");
    for (const char* name : {"apicId", "revision", "technology", "socketType", "caches", "intel", "amd"}) {
        EXPECT_TRUE(cpu.contains(name) && cpu[name].is_null()) << name;
    }
    EXPECT_EQ(cpu["signature"]["displayFamily"], nullptr);
    EXPECT_EQ(document["packages"][0]["caches"], nullptr);
}

// Every processor stands in exactly one core, and the core's affinity is that of its threads.
TEST(Tool, PartitionsTheProcessorsInJson) {
    const json document = runToolForJson(of(intel, "caches --json"));
    EXPECT_EQ(document["packages"].size(), 2u);
    std::vector<std::size_t> threads;
    for (const json& package : document["packages"]) {
        EXPECT_EQ(package["cores"].size(), 2u);
        EXPECT_EQ(package["caches"][3]["instances"], 1);
        for (const json& core : package["cores"]) {
            for (const std::size_t index : core["threads"]) {
                threads.push_back(index);
                EXPECT_EQ(document["processors"][index]["location"].get<std::string>().substr(0, 11),
                          core["location"].get<std::string>().substr(0, 11));
            }
        }
    }
    EXPECT_THAT(threads, testing::ElementsAre(0, 1, 2, 3, 4, 5, 6, 7));
    EXPECT_EQ(document["packages"][1]["cores"][0]["affinity"], "0:0000000000000030h");
    EXPECT_EQ(document["packages"][1]["affinity"], "0:00000000000000F0h");
    for (const char* command : {"tree --json", "features --json", "cpus --json"}) {
        EXPECT_EQ(runToolForJson(of(intel, command)), document) << command;
    }
    const json named = runToolForJson(of(intel, "cpus 5 --json"));
    EXPECT_EQ(named["processors"], json::array({document["processors"][5]}));
    EXPECT_EQ(named["packages"], nullptr);
}

TEST(Tool, TellsAffinitiesInJson) {
    EXPECT_EQ(runToolForJson(of(unknownMaker, "affinity 1:2h/0:5 --json"))["text"], json::parse(R"(
        {"affinity": "0:0000000000000005h/1:0000000000000002h", "count": 3, "logicalCpuNumber": null,
         "groups": [{"group": 0, "processors": [0, 2]}, {"group": 1, "processors": [1]}]})"));
    const json document = runToolForJson(of(intel, "affinity --json"));
    for (const char* which : {"system", "process", "thread"}) {
        EXPECT_EQ(document[which]["count"], 8) << which;
    }
}

TEST(Tool, RecordsReplaysAndRecordsTheSame) {
    const ToolRun recorded = runTool("record");
    ASSERT_EQ(recorded.status, 0) << recorded.err;
    const std::string path = scratch("this machine.txt");
    EXPECT_EQ(runTool("record " + quoted(path)).status, 0);
    EXPECT_EQ(contentOf(path), recorded.out);
    EXPECT_EQ(runTool("record --machine " + quoted(path)).out, recorded.out);
    for (const char* command : {"tree", "features"}) {
        EXPECT_EQ(runTool(std::string(command) + " --machine " + quoted(path)).out, runTool(command).out) << command;
    }
}

TEST(Tool, WritesARecordingWholeOrNotAtAll) {
    const std::string folder = scratch("recordings");
    std::filesystem::create_directories(folder);
    const std::string path = folder + "/\u00e4lter.txt";
    std::filesystem::create_directories(folder + "/taken");
    EXPECT_EQ(runTool(of(amd, "record " + quoted(path))).status, 0);
    EXPECT_EQ(runTool(of(intel, "record " + quoted(path))).status, 0);
    EXPECT_EQ(runTool("--machine " + quoted(path) + " cpus").out, runTool(of(intel, "cpus")).out);
    EXPECT_EQ(runTool(of(amd, "record " + quoted(folder + "/taken"))).status, 2);
    std::size_t entries = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        static_cast<void>(entry);
        ++entries;
    }
    EXPECT_EQ(entries, 2u); // the file and the folder: nothing half-written stays
}

// Each wrong usage or input: exit status 2 and one line that says what is wrong.
TEST(Tool, RefusesWrongUsageAndInputInOneLine) {
    const std::string broken = scratch("broken.txt");
    const std::string text = contentOf(machine(amd));
    writeContent(broken, text.substr(0, text.size() / 2));
    const std::string binary = scratch("binary.bin");
    writeContent(binary, std::string("\x7f\0\xff\n\n\x80", 6));
    const std::string empty = scratch("nothing.txt");
    writeContent(empty, "");
    const struct {
        std::string arguments;
        const char* says;
    } cases[] = {
        {"frobnicate", "frobnicate"},
        {"--frobnicate", "--frobnicate"},
        {"tree cpus", "cpus"},
        {"cpus x", "'x'"},
        {"cpus 0 99 --machine " + quoted(machine(intel)), "no logical processor 99; this machine has 0-7"},
        {"cpus 4294967295", "4294967295"},
        {"affinity 0:1/z", "'0:1/z' is no affinity"},
        {"affinity 0:1 0:2", "TEXT"},
        {"--log 5", "--log"},
        {"--log many", "--log"},
        {"--machine", "--machine"},
        {"--machine " + quoted(scratch("no such file.txt")), "no such file.txt"},
        {"--machine " + quoted(QUARROW_SOURCE_DIR), "folder"},
        {"--machine " + quoted(broken), "broken.txt"},
        {"--machine " + quoted(binary) + " cpus", "binary.bin"},
        {"cpus --machine " + quoted(empty), "nothing.txt"},
        {"--machine -", "standard input"},
        {"record --json", "--json"},
        {"record " + quoted(scratch("no such folder/a.txt")), "no such folder"},
    };
    for (const auto& row : cases) {
        const ToolRun run = runTool(row.arguments);
        EXPECT_EQ(run.status, 2) << row.arguments;
        EXPECT_EQ(run.out, "") << row.arguments;
        EXPECT_THAT(run.err, StartsWith("quarrow: ")) << row.arguments;
        EXPECT_THAT(run.err, HasSubstr(row.says)) << row.arguments;
        EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << row.arguments << "\n" << run.err;
    }
}

TEST(Tool, NoticesThatItsOutputIsLost) {
    if (!std::filesystem::exists("/dev/full")) {
        GTEST_SKIP() << "there is no /dev/full";
    }
    for (const char* arguments : {"--version >/dev/full", "tree >/dev/full", "record /dev/full"}) {
        const ToolRun run = runTool(arguments);
        EXPECT_EQ(run.status, 1) << arguments;
        EXPECT_THAT(run.err, StartsWith("quarrow: cannot write ")) << arguments;
    }
}

TEST(Tool, HelpsWithEveryCommand) {
    const std::string help = runTool("--help").out;
    for (const char* command : {"tree", "cpus", "features", "caches", "affinity", "record"}) {
        EXPECT_THAT(help, HasSubstr(std::string("\n  ") + command + " "));
        const ToolRun run = runTool(std::string(command) + " --help");
        EXPECT_EQ(run.status, 0) << command;
        EXPECT_THAT(run.out, HasSubstr(std::string("Usage: quarrow ") + command)) << command;
    }
}

// The example in the manual is the one that is compiled and run.
TEST(Readme, ShowsTheExampleProgram) {
    const std::string example = contentOf(QUARROW_SOURCE_DIR "/examples/print_tree.cpp");
    ASSERT_FALSE(example.empty());
    EXPECT_THAT(contentOf(QUARROW_SOURCE_DIR "/README.md"), HasSubstr("```cpp\n" + example + "```\n"));
}

// Every field of the document is described, so that none can come or change its name unnoticed.
TEST(JsonManual, DescribesEveryField) {
    const std::string manual = contentOf(QUARROW_SOURCE_DIR "/docs/json.md");
    std::set<std::string> names;
    const std::function<void(const json&)> collect = [&](const json& value) {
        for (const auto& [name, inner] : value.items()) {
            if (value.is_object()) {
                names.insert(name);
            }
            if (inner.is_structured()) {
                collect(inner);
            }
        }
    };
    collect(runToolForJson(of(intel, "--json")));
    collect(runToolForJson(of(amd, "--json")));
    collect(runToolForJson(of(amd, "affinity --json")));
    collect(runToolForJson(of(amd, "affinity 0:1 --json")));
    EXPECT_GT(names.size(), 50u);
    for (const std::string& name : names) {
        EXPECT_THAT(manual, HasSubstr("`" + name + "`"));
    }
}

} // namespace
