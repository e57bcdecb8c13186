#include "ToolRun.h"

#include <tests/support/IntelProcessor.h>
#include <tests/support/Recordings.h>

#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <random>
#include <regex>
#include <set>
#include <sstream>

using nlohmann::json;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

const char* const intel = "intel-2p-smt.txt";
const char* const amd = "amd-family17-smt.txt";
const char* const unknownMaker = "two-groups-unknown-maker.txt";
const char* const rich = "intel-thermal.txt"; // has MSRs, memory, ports and a time-stamp counter

std::string of(const char* name, const std::string& command) {
    return "--machine " + quoted(machine(name)) + " " + command;
}

void replaceAll(std::string& text, const std::string& what, const std::string& by) {
    for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + by.size())) {
        text.replace(at, what.size(), by);
    }
}

// transcript.txt, to the letter.
TEST(Tool, AnswersAsInTheTranscript) {
    std::istringstream transcript(contentOf(QUARROW_SOURCE_DIR "/tests/tool/transcript.txt"));
    std::string command;
    std::string expected;
    unsigned int commands = 0;
    const auto check = [&] {
        if (commands++ == 0) {
            return; // the comment at the top
        }
        std::string arguments = command;
        replaceAll(arguments, "MACHINES/", machine(""));
        const ToolRun run = runTool(arguments);
        std::string shown = run.out + run.err + (run.status == 0 ? "" : "[" + std::to_string(run.status) + "]\n");
        replaceAll(shown, machine(""), "MACHINES/");
        replaceAll(shown, "\r\n", "\n");
        EXPECT_EQ(shown, expected) << command;
    };
    const std::string prompt = "$ quarrow ";
    for (std::string line; std::getline(transcript, line);) {
        if (line.substr(0, prompt.size()) == prompt) {
            check();
            command = line.substr(prompt.size());
            expected.clear();
        } else {
            expected += line + "\n";
        }
    }
    check();
    EXPECT_GT(commands, 40u);
}

// Two packages of 64 cores of two threads; four cores share an L2 cache, sixteen an L3 cache.
std::string largeMachine() {
    std::vector<testing_support::IntelProcessor> processors;
    for (std::uint32_t n = 0; n < 256; ++n) {
        auto& processor = processors.emplace_back(0x806F8, "<&>").maxLeaf(0xB).leaf(1, {0x806F8, n << 24, 0, 1 << 28});
        processor.leaf(4, {0xFC004121, 0x1C0003F, 63, 0});      // L1d for 2 threads
        processor.leaf(4, {0xFC01C143, 0x1C0003F, 1023, 0}, 1); // L2 for 8
        processor.leaf(4, {0xFC07C163, 0x1C0003F, 8191, 0}, 2); // L3 for 32
        processor.leaf(0xB, {1, 2, 0x100, n}).leaf(0xB, {7, 128, 0x201, n}, 1);
    }
    return testing_support::written(testing_support::CurrentMachine::recording(processors));
}

TEST(Picture, ShowsHundredsOfProcessorsEachOnce) {
    const std::string path = scratch("large.txt");
    const std::string svgPath = scratch("large.svg");
    writeContent(path, largeMachine());
    for (const std::size_t columns : {40U, 80U, 120U}) {
        std::istringstream rows(
            runTool("picture --width " + std::to_string(columns) + " --machine " + quoted(path)).out);
        std::set<int> seen;
        std::size_t count = 0;
        for (std::string row; std::getline(rows, row); ++count) {
            const auto isFirstOfCharacter = [](char byte) { return (byte & 0xC0) != 0x80; };
            EXPECT_LE(static_cast<std::size_t>(std::count_if(row.begin(), row.end(), isFirstOfCharacter)), columns);
            const std::regex core("\\[ *([0-9]+) ([0-9]+)\\]");
            for (std::sregex_iterator found(row.begin(), row.end(), core), end; found != end; ++found) {
                EXPECT_TRUE(seen.insert(std::stoi((*found)[1])).second);
                EXPECT_TRUE(seen.insert(std::stoi((*found)[2])).second);
            }
        }
        EXPECT_EQ(seen.size(), 256u) << columns;
        EXPECT_LT(count, 260u) << columns;
    }
    EXPECT_EQ(runTool("picture --svg " + quoted(svgPath) + " --machine " + quoted(path)).status, 0);
    std::string svg = contentOf(svgPath);
    EXPECT_THAT(svg, HasSubstr(">Package 1: &lt;&amp;&gt;</text>"));
    EXPECT_THAT(svg, HasSubstr(">64 cores of 2 threads, each with L1d 32 KB</text>"));
    const std::pair<const char*, int> elements[] = {
        {"thread", 256}, {"core", 128}, {"l2", 32}, {"l3", 8}, {"package", 2}};
    for (const auto& [kind, count] : elements) {
        const std::regex element(std::string("<rect class=\"") + kind + "\"");
        EXPECT_EQ(std::distance(std::sregex_iterator(svg.begin(), svg.end(), element), {}), count) << kind;
    }
}

// As many lines as the document has fields, none wider than the terminal, which here is 80 columns.
TEST(Leaves, FitTheTerminal) {
    const std::string path = scratch("large leaves.txt");
    writeContent(path, largeMachine());
    for (const std::string& file : {path, machine(intel), machine(amd), machine("guest-epyc-2cpu-a10f11.txt")}) {
        const std::regex field("^  e[a-d]x ([0-9]{1,2}(:[0-9]+)? |  )");
        std::size_t shown = 0;
        std::istringstream lines(runTool("leaves --machine " + quoted(file)).out);
        for (std::string line; std::getline(lines, line);) {
            EXPECT_LE(line.size(), 80u) << line;
            shown += std::regex_search(line, field) ? 1 : 0;
        }
        std::size_t expected = 0;
        const json document = runToolForJson("leaves --json --machine " + quoted(file));
        for (const json& leaf : document["leaves"]) {
            expected += leaf["fields"].size() + leaf["unknown"].size();
        }
        EXPECT_EQ(shown, expected) << file;
        EXPECT_GT(shown, 90u) << file;
    }
    EXPECT_THAT(runTool("leaves 1 --machine " + quoted(path)).out, HasSubstr("256 values, 0 to 255; --all tells each"));
}

TEST(Tool, ShowsNoProgressButOnATerminal) {
    const ToolRun run = runTool("speed");
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err, "");
    EXPECT_THAT(run.out, StartsWith("Logical CPUs        : "));
    EXPECT_THAT(run.out, HasSubstr("\nTime-stamp counter  : "));
}

TEST(Tool, KeepsTheControlCharactersOfARecordingFromTheTerminal) {
    for (const char* command : {"", "tree", "cpus", "--classic tree", "--classic caches", "--log 1 --classic cpus"}) {
        const ToolRun run = runTool(of(unknownMaker, command));
        for (const char* control : {"\x1b", "\u009b", "\x07"}) {
            EXPECT_THAT(run.out + run.err, Not(HasSubstr(control))) << command;
        }
        EXPECT_THAT(run.out, HasSubstr("Bad \uFFFD31m name")) << command;
    }
    EXPECT_THAT(runTool(of(unknownMaker, "--classic cpus")).out,
                HasSubstr("\nVendor Name         : Evil\uFFFD[1m\uFFFDBy\n"));
}

TEST(Tool, TakesOptionsBeforeAndAfterTheCommandAndAMachineFromStandardInput) {
    const std::string before = runTool(of(intel, "--json cpus 1")).out;
    EXPECT_THAT(before, StartsWith("{"));
    EXPECT_EQ(runTool("cpus 1 --json --machine " + quoted(machine(intel))).out, before);
    EXPECT_EQ(runTool("cpus --json 1 --machine " + quoted(machine(intel))).out, before);
    EXPECT_EQ(runTool(of(intel, "tree --classic")).out, runTool(of(intel, "--classic")).out);
    EXPECT_EQ(runTool("--machine - cpus", machine(amd)).out, runTool(of(amd, "cpus")).out);
}

TEST(Tool, LogsToStandardErrorWhatThePriorityAdmits) {
    EXPECT_THAT(runTool(of(intel, "--log 2 --classic cpus 0")).err, HasSubstr("2 libQuarrow.cpu_x86.x86_intel_info: "));
    EXPECT_EQ(runTool(of(intel, "--log 4 --classic cpus 0")).err, "");
}

TEST(Tool, TellsAffinitiesSpeedsAndLimitsInJson) {
    const json all = runToolForJson(of(intel, "affinity --json"));
    EXPECT_TRUE(all["system"]["count"] == 8 && all["process"]["count"] == 8 && all["thread"]["count"] == 8);
    EXPECT_EQ(runToolForJson(of(rich, "speed --json"))["processors"][1]["speed"], json::parse(R"(
        {"tscHertz": 3696000000, "busClockHertz": 100000000,
         "multiplier": {"current": 8, "effective": null, "lowest": 8, "highest": 37},
         "hertz": {"current": 800000000, "effective": null, "lowest": 800000000, "highest": 3700000000},
         "turbo": {"ratio": 40, "hertz": 4000000000}, "performanceStates": null,
         "system": {"lowestHertz": 800000000, "baseHertz": null, "highestHertz": 4000000000}})"));
    EXPECT_EQ(runToolForJson(of(rich, "limits --json"))["processors"][1]["limits"], json::parse(R"(
        {"tccActivationCelsius": 100, "tccOffsetCelsius": null, "performanceLevels": null,
         "turboRatios": [{"activeCores": 1, "ratio": 40}, {"activeCores": 2, "ratio": 39}]})"));
    for (const char* section : {"speed", "limits"}) {
        json classic = runToolForJson(of(rich, std::string("--classic --json ") + section))["processors"][1][section];
        json today = runToolForJson(of(rich, std::string("--json ") + section))["processors"][1][section];
        for (const char* added : {"performanceStates", "system", "tccOffsetCelsius", "performanceLevels"}) {
            EXPECT_FALSE(classic.contains(added)) << section;
            today.erase(added);
        }
        EXPECT_EQ(today, classic);
    }
    EXPECT_EQ(runToolForJson(of(amd, "speed 0 --json"))["processors"][0]["speed"]["tscHertz"], nullptr);
    EXPECT_EQ(runToolForJson(of(amd, "limits --json"))["processors"][0]["limits"],
              json::parse(R"({"tccActivationCelsius": null, "tccOffsetCelsius": null, "turboRatios": null,
                               "performanceLevels": null})"));

    for (const char* command : {"limits 1", "speed 1", "--classic limits 1"}) {
        EXPECT_EQ(runToolForJson(of(rich, std::string("--json ") + command))["processors"].size(), 1U) << command;
        const std::string text = runTool(of(rich, command)).out;
        EXPECT_TRUE(std::regex_search(text, std::regex("^Logical CPUs? *: 1\n"))) << text;
        EXPECT_EQ(text.find("Logical", 1), std::string::npos) << text;
    }

    std::string levels = contentOf(machine(amd)); // with those of collaborative performance control
    levels.replace(levels.find("ebx=0x00000007 ecx=0x00002003"), 14, "ebx=0x08000007");
    levels.insert(levels.find("CPU 1:"), "   msr 0xc00102b0: 0x00000000c4842a10\n");
    writeContent(scratch("levels.txt"), levels);
    const json limited = runToolForJson("limits --json --machine " + quoted(scratch("levels.txt")));
    EXPECT_EQ(limited["processors"][0]["limits"]["performanceLevels"],
              json::parse(R"({"highest": 196, "guaranteed": 132, "efficient": 42, "lowest": 16})"));
}

TEST(Tool, SaysNullForWhatIsNotKnown) {
    const json family17 = runToolForJson(of(amd, "--classic --json"))["processors"][0];
    EXPECT_EQ(family17["amd"],
              json::parse(R"({"family": 23, "coreCode": null, "revisionCode": null, "packageType": 16, "bsp": null})"));
    EXPECT_EQ(family17["intel"], nullptr);

    const json document = runToolForJson(of(unknownMaker, "--classic --json"));
    const json& cpu = document["processors"][2];
    EXPECT_EQ(cpu["vendor"], "Evil\x1b[1m\nBy");
    EXPECT_EQ(cpu["name"], "Bad \u009b31m name\x07");
    for (const char* name : {"apicId", "revision", "technology", "socketType", "caches", "intel", "amd"}) {
        EXPECT_TRUE(cpu.contains(name) && cpu[name].is_null()) << name;
    }
    EXPECT_EQ(cpu["signature"]["displayFamily"], nullptr);
    EXPECT_EQ(document["packages"][0]["caches"], nullptr);

    const json today = runToolForJson(of(unknownMaker, "--json"))["processors"][2];
    EXPECT_EQ(today["vendor"], "Evil\x1b[1m\nBy");
    for (const char* name : {"apicId", "die", "complex", "module", "numaNode", "kind", "microarchitecture", "level"}) {
        EXPECT_TRUE(today.contains(name) && today[name].is_null()) << name;
    }
}

// A file may be called as this machine is.
TEST(Tool, TellsAFileCalledNativeFromThisMachine) {
    const std::string file = QUARROW_TOOL_FOLDER "/native-" + std::to_string(std::random_device()());
    std::filesystem::copy_file(machine(rich), file);
    std::filesystem::rename(file, QUARROW_TOOL_FOLDER "/native"); // and left there: another run may be reading it
    for (const char* command : {"cpus", "msr 0x1A2", "port 0x70", "affinity"}) {
        const json document = runToolForJson(std::string("--json --machine native ") + command);
        EXPECT_TRUE(document["machine"] == "native" && document["recorded"] == true) << command;
    }
    EXPECT_FALSE(runToolForJson("affinity --json").contains("recorded"));
    EXPECT_FALSE(runToolForJson(of(rich, "affinity --json")).contains("recorded"));
}

// What nobody asked an MSR for, no driver would tell.
TEST(Tool, AdvisesWhereFollowingItTellsMore) {
    using testing_support::IntelProcessor;
    const struct {
        IntelProcessor processor;
        const char* throttles;
        bool advice;
    } cases[] = {
        {IntelProcessor(0x506E3, "").msr(0x1A2, 0x640000), "100 °C", false},
        {IntelProcessor(0x506E3, "").msr(0x1A2, 0), "not known", false}, // a guest's register that was left empty
        {IntelProcessor(0x506E3, ""), "not known", true},
        {IntelProcessor(0x6B1, ""), "not known", false}, // a Pentium III, which has no such registers
    };
    const std::string path = scratch("advice.txt");
    for (const auto& row : cases) {
        writeContent(path,
                     testing_support::written(testing_support::CurrentMachine::recording(std::vector{row.processor})));
        const std::string limits = runTool("limits --machine " + quoted(path)).out;
        EXPECT_THAT(limits, HasSubstr(std::string("Throttles at        : ") + row.throttles + "\n"));
        EXPECT_EQ(limits.find("MSRs might tell more") != std::string::npos, row.advice) << limits;
        const std::string speed = runTool("speed --machine " + quoted(path)).out;
        EXPECT_THAT(speed, HasSubstr("Not known           : "));
        EXPECT_EQ(speed.find("MSRs might tell more") != std::string::npos, row.advice) << speed;
    }
}

TEST(Tool, CountsTheMicroOperationsOfATraceCacheInJson) {
    const std::string path = scratch("trace cache.txt");
    writeContent(path, testing_support::written(testing_support::CurrentMachine::recording(
                           std::vector{testing_support::IntelProcessor(0xF12).maxLeaf(2).leaf(2, {0x7001, 0, 0, 0})})));
    EXPECT_EQ(runToolForJson("--json --machine " + quoted(path))["caches"][0]["sizeMicroOps"], 12288);
    const json trace = runToolForJson("--json --classic --machine " + quoted(path))["processors"][0]["caches"][0];
    EXPECT_TRUE(trace["sizeBytes"].is_null() && trace["sizeMicroOps"] == 12288) << trace;
}

// Every processor stands in exactly one core, and the core's affinity is that of its threads.
TEST(Tool, PartitionsTheProcessorsInJson) {
    const json document = runToolForJson(of(intel, "caches --classic --json"));
    json cores;
    for (const json& package : document["packages"]) {
        EXPECT_EQ(package["caches"][3]["instances"], 1);
        cores.push_back(package["cores"]);
    }
    EXPECT_EQ(cores, json::parse(R"([
        [{"location": "CPU:0:0:0:0:*", "affinity": "0:0000000000000003h", "threads": [0, 1]},
         {"location": "CPU:0:0:0:1:*", "affinity": "0:000000000000000Ch", "threads": [2, 3]}],
        [{"location": "CPU:0:0:1:0:*", "affinity": "0:0000000000000030h", "threads": [4, 5]},
         {"location": "CPU:0:0:1:1:*", "affinity": "0:00000000000000C0h", "threads": [6, 7]}]])"));
    EXPECT_EQ(document["packages"][1]["affinity"], "0:00000000000000F0h");
    for (const char* command : {"tree --classic --json", "features --classic --json", "cpus --classic --json"}) {
        EXPECT_EQ(runToolForJson(of(intel, command)), document) << command;
    }
    const json named = runToolForJson(of(intel, "cpus 5 --classic --json"));
    EXPECT_EQ(named["processors"], json::array({document["processors"][5]}));
    EXPECT_EQ(named["packages"], nullptr);
}

// All commands tell the same document, and the named processors are those of the whole.
TEST(Tool, TellsTheMachineOfTodayInOneDocument) {
    const json document = runToolForJson(of(intel, "--json"));
    EXPECT_EQ(document["document"], 2);
    EXPECT_EQ(document["summary"]["packages"], 2);
    EXPECT_EQ(document["summary"]["cores"], 4);
    EXPECT_EQ(document["caches"][3]["sharedBy"], json::parse("[[0, 1, 2, 3], [4, 5, 6, 7]]"));
    for (const char* command : {"tree --json", "features --json", "cpus --json", "caches --json"}) {
        EXPECT_EQ(runToolForJson(of(intel, command)), document) << command;
    }
    const json guest = runToolForJson(of("guest-kvm-as-hyperv.txt", "--json"));
    EXPECT_EQ(guest["summary"]["hypervisor"]["interfaces"][1]["name"], "KVM");
    EXPECT_EQ(guest["caches"][0], json::parse(R"(
        {"level": "L1", "type": "data", "sizeBytes": 49152, "sizeMicroOps": null, "ways": 12, "lineSizeBytes": 64,
         "sets": 64, "inclusive": false, "instances": 2, "sharedBy": [[0], [1]]})"));
    json processor = guest["processors"][1];
    EXPECT_TRUE(processor["features"].size() == 72 && processor["usable"].size() == 50);
    processor.erase("features");
    processor.erase("usable");
    EXPECT_EQ(processor, json::parse(R"(
        {"logicalCpuNumber": 1, "affinity": "0:0000000000000002h", "apicId": 1, "package": 0, "die": null,
         "complex": null, "module": null, "core": 1, "thread": 0, "numaNode": null, "kind": null,
         "vendor": "GenuineIntel", "name": "Hand-made Xeon 6 guest", "family": 6, "model": 173, "stepping": 1,
         "signature": 657105, "revision": "B0/H0", "packageName": null, "microcode": 1,
         "signatureFields": {"family": 6, "extFamily": 0, "model": 13, "extModel": 10, "stepping": 1},
         "microarchitecture": "Redwood Cove", "codename": "Granite Rapids", "process": "Intel 3", "level": 4,
         "avx10": {"version": 2, "vectorBits": [128, 256, 512]}, "physicalAddressBits": 46, "linearAddressBits": 48,
         "caches": [0, 1, 2, 3]})"));
    const json smt = runToolForJson(of(amd, "--json"));
    EXPECT_EQ(smt["summary"]["kinds"],
              json::parse(R"([{"kind": null, "microarchitecture": "Zen", "cores": 2, "threads": 4}])"));
    EXPECT_TRUE(smt["processors"][1]["complex"] == 0 && smt["processors"][1]["module"].is_null());
    // A processor that could not be visited is told of.
    const std::string whole = contentOf(machine(amd)), visited = scratch("visited.txt"), page = scratch("visited.html");
    writeContent(visited, whole.substr(0, whole.rfind("CPU 3:")) + "CPU 3: group 0 bit 3\nend of recording\n");
    EXPECT_EQ(runToolForJson("--json --machine " + quoted(visited))["summary"]["leftOut"],
              json::parse(R"([{"logicalCpuNumber": 3, "reason": "it has no CPUID instruction"}])"));
    EXPECT_EQ(runTool("picture --html " + quoted(page) + " --machine " + quoted(visited)).status, 0);
    EXPECT_THAT(contentOf(page), HasSubstr("processor 3: it has no CPUID instruction"));
    const json& all = document["processors"];
    EXPECT_EQ(runToolForJson(of(intel, "cpus 5,0-1 --json"))["processors"], json::array({all[0], all[1], all[5]}));
}

TEST(Tool, RecordsReplaysAndRecordsTheSame) {
    const ToolRun recorded = runTool("record");
    ASSERT_EQ(recorded.status, 0) << recorded.err;
    const std::string path = scratch("this machine.txt");
    EXPECT_EQ(runTool("record " + quoted(path)).status, 0);
    EXPECT_EQ(runTool("record --machine " + quoted(path)).out, contentOf(path));
    const auto withoutRate = [](const std::string& text) { // which is measured anew each time
        return std::regex_replace(text, std::regex("\ntsc [0-9]+(?=\n)"), "");
    };
    EXPECT_EQ(withoutRate(contentOf(path)), withoutRate(recorded.out));
    EXPECT_NE(withoutRate(recorded.out), recorded.out);
    for (const char* command : {"tree", "features"}) {
        EXPECT_EQ(runTool(std::string(command) + " --machine " + quoted(path)).out, runTool(command).out) << command;
    }
    using std::filesystem::perms;
    std::filesystem::permissions(path, perms::owner_read | perms::owner_write);
    const perms own = std::filesystem::status(path).permissions();
    EXPECT_EQ(runTool(of(rich, "record " + quoted(path))).status, 0);
    EXPECT_EQ(std::filesystem::status(path).permissions(), own);
    for (const char* command : {"limits", "speed", "msr 0x1AD --cpu 1"}) {
        const ToolRun run = runTool(std::string(command) + " --machine " + quoted(path));
        EXPECT_EQ(run.status, 0) << run.err;
        EXPECT_EQ(run.out, runTool(of(rich, command)).out) << "the MSRs behind it and the rate are recorded too";
    }
}

// What it writes for the cpuid program is the same machine, but for what that format does not hold, and the program
// reads it as it stands.
TEST(Tool, RecordsForTheCpuidProgram) {
    const std::string path = scratch("raw.txt");
    EXPECT_EQ(runTool(of(amd, "record --format cpuid-r " + quoted(path))).status, 0);
    EXPECT_EQ(runTool("record --machine " + quoted(path)).out, runTool(of(amd, "record --format quarrow")).out);
    EXPECT_EQ(runTool("cpus --machine " + quoted(path)).out, runTool(of(amd, "cpus")).out);
    EXPECT_THAT(runTool("record --format cpuid-r --machine " + quoted(machine(unknownMaker))).out,
                HasSubstr("CPU 65:"));
    if (std::filesystem::exists("/usr/bin/cpuid") && std::system("cpuid --version > /dev/null") == 0) {
        const std::string back = scratch("back.txt");
        ASSERT_EQ(std::system(("cpuid -r -f " + quoted(path) + " > " + quoted(back)).c_str()), 0);
        EXPECT_EQ(contentOf(back), contentOf(path));
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

// Each wrong file: exit status 2 and one line that says what is wrong.
TEST(Tool, RefusesWrongFilesInOneLine) {
    const std::string broken = scratch("broken.txt");
    const std::string text = contentOf(machine(amd));
    writeContent(broken, text.substr(0, text.size() / 2));
    const std::string binary = scratch("binary.bin");
    writeContent(binary, std::string("\x7f\0\xff\n\n\x80", 6));
    const std::string empty = scratch("nothing.txt");
    writeContent(empty, "");
    const std::pair<std::string, const char*> cases[] = {
        {"--machine " + quoted(scratch("no such file.txt")), "no such file.txt"},
        {"--machine " + quoted(QUARROW_SOURCE_DIR), "folder"},
        {"--machine " + quoted(broken), "broken.txt"},
        {"--machine " + quoted(binary) + " cpus", "binary.bin"},
        {"cpus --machine " + quoted(empty), "nothing.txt"},
        {"record " + quoted(scratch("no such folder/a.txt")), "no such folder"},
        {"picture --svg " + quoted(scratch("no such folder/a.svg")), "no such folder"},
    };
    for (const auto& [arguments, says] : cases) {
        const ToolRun run = runTool(arguments);
        EXPECT_EQ(run.status, 2) << arguments;
        EXPECT_EQ(run.out, "") << arguments;
        EXPECT_THAT(run.err, StartsWith("quarrow: ")) << arguments;
        EXPECT_THAT(run.err, HasSubstr(says)) << arguments;
        EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << arguments << "\n" << run.err;
    }
}

TEST(Tool, NoticesThatItsOutputIsLost) {
    if (!std::filesystem::exists("/dev/full")) {
        GTEST_SKIP() << "there is no /dev/full";
    }
    for (const char* arguments :
         {"--version >/dev/full", "tree >/dev/full", "record /dev/full", "picture --svg /dev/full"}) {
        const ToolRun run = runTool(arguments);
        EXPECT_EQ(run.status, 1) << arguments;
        EXPECT_THAT(run.err, StartsWith("quarrow: cannot write ")) << arguments;
    }
}

TEST(Tool, HelpsWithEveryCommand) {
    const std::string help = runTool("--help").out;
    for (const char* command : {"tree", "cpus", "features", "caches", "picture", "limits", "speed", "affinity",
                                "record", "msr", "mem", "port"}) {
        EXPECT_THAT(help, HasSubstr(std::string("\n  ") + command + " "));
        const ToolRun run = runTool(std::string(command) + " --help");
        EXPECT_EQ(run.status, 0) << command;
        EXPECT_THAT(run.out, HasSubstr(std::string("Usage: quarrow ") + command)) << command;
        std::istringstream lines(help + run.out);
        for (std::string line; std::getline(lines, line);) {
            EXPECT_LE(line.size(), 80u) << line;
        }
    }
}

// The example in the manual is the one that is compiled and run.
TEST(Readme, ShowsTheExampleProgram) {
    const std::string example = contentOf(QUARROW_SOURCE_DIR "/examples/print_tree.cpp");
    ASSERT_FALSE(example.empty());
    EXPECT_THAT(contentOf(QUARROW_SOURCE_DIR "/README.md"), HasSubstr("```cpp\n" + example + "```\n"));
}

} // namespace
