// baseline, fleet and export as people run them.

#include "ToolRun.h"

#include <tools/quarrow/Words.h>
#include <tools/quarrow/fleet/CompilerTargets.h>

#include <gmock/gmock.h>

#include <filesystem>
#include <regex>
#include <set>
#include <sstream>

using nlohmann::json;
using testing::HasSubstr;
using testing::Not;

namespace {

const char* const names[] = {"intel-2p-smt.txt", "amd-family17-smt.txt", "guest-epyc-2cpu-a10f11.txt"};

std::string lineOf(const char* name) {
    return runTool("export jsonl --machine " + quoted(machine(name))).out;
}

// A folder with recordings, lines and what is neither.
std::string mixedFolder() {
    const std::filesystem::path folder = scratch("fleet");
    std::filesystem::create_directories(folder / "below");
    std::filesystem::create_directories(folder / ".hidden");
    for (const char* name : names) {
        writeContent((folder / "below" / name).string(), contentOf(machine(name)));
        writeContent((folder / ".hidden" / name).string(), contentOf(machine(name)));
    }
    writeContent((folder / "lines").string(),
                 lineOf(names[0]) + "\r\n{\"document\": 2}\n{\"document\"\n" + lineOf(names[0]));
    writeContent((folder / "one.json").string(), runTool("--json --machine " + quoted(machine(names[1]))).out);
    writeContent((folder / "README").string(), "no machine\n");
    return folder.string();
}

TEST(Fleet, GroupsMachinesThatAreAlikeWhateverTheyWereReadFrom) {
    const std::string folder = mixedFolder();
    const ToolRun run = runTool("fleet --json " + quoted(folder));
    EXPECT_EQ(run.status, 0) << run.err;
    std::istringstream lines(run.out);
    std::map<std::size_t, std::size_t> groups; // how many have so many machines
    for (std::string line; std::getline(lines, line);) {
        const json group = json::parse(line);
        EXPECT_EQ(group["machines"].size(), group["count"]);
        ++groups[group["count"].get<std::size_t>()];
    }
    EXPECT_EQ(groups, (std::map<std::size_t, std::size_t>{{3, 1}, {2, 1}, {1, 1}}));
    for (const char* broken : {"README: ", "lines:3: it has no summary", "lines:4: it is no JSON"}) {
        EXPECT_THAT(run.err, HasSubstr(broken));
    }
    EXPECT_THAT(run.err, Not(HasSubstr("hidden")));
    EXPECT_THAT(runTool("fleet " + quoted(folder)).out,
                HasSubstr("Machines            : 6 in 3 groups\nLeft out            : 3\n"));

    const std::string own = scratch("own.json"); // of the machine that it was made on, whichever that was
    writeContent(own, runTool("--json").out);
    EXPECT_EQ(json::parse(runTool("fleet --json " + quoted(own)).out)["machines"], json({own}));

    const std::string page = scratch("fleet.html");
    EXPECT_EQ(runTool("fleet --html " + quoted(page) + " " + quoted(folder)).status, 0);
    const std::string html = contentOf(page);
    EXPECT_THAT(html, HasSubstr("<h1>6 machines in 3 groups</h1>"));
    for (const char* outside : {"http:", "https:", "src=", "href=", "@import"}) {
        EXPECT_THAT(html, Not(HasSubstr(outside)));
    }
}

TEST(Fleet, TakesAFolderOfProcessorsForOneMachine) {
    const std::filesystem::path gathered = scratch("gathered");
    const std::string longName(70, 'm');
    for (const std::string& name : {longName, std::string("other")}) {
        std::filesystem::create_directories(gathered / name);
        writeContent((gathered / name / "hwloc-cpuid-info").string(), "Architecture: x86\n");
        for (const char* file : {"pu2", "pu3"}) {
            writeContent((gathered / name / file).string(), "1 0 0 0 0 => 1 756e6547 6c65746e 49656e69\n"
                                                            "1 1 0 0 0 => 206c2 0 0 0\n");
        }
    }
    const ToolRun run = runTool("fleet " + quoted(gathered.string()));
    EXPECT_THAT(run.out, HasSubstr("Machines            : 2 in 1 group\n"));
    EXPECT_THAT(run.out, HasSubstr(longName + "\n")); // whole, however wide that line is
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(runToolForJson("fleet --json " + quoted((gathered / "other").string()))["threads"], 2);
    EXPECT_EQ(runToolForJson("baseline --json " + quoted((gathered / "other").string()))["baseline"]["machines"], 1);
}

TEST(Paragraph, BreaksLongListsBehindCommas) {
    EXPECT_EQ(quarrow::paragraph("Allowed", "all of 100,102,104,106,108,110 here", 42),
              "Allowed             : all of\n"
              "                      100,102,104,106,108,\n"
              "                      110 here\n");
}

TEST(Fleet, SaysWhatIsWrong) {
    const std::string empty = scratch("empty-folder");
    std::filesystem::create_directories(empty);
    const std::string classic = scratch("classic.jsonl");
    writeContent(classic, runTool("--classic --json --machine " + quoted(machine(names[0]))).out);
    const std::string part = scratch("part.json");
    writeContent(part, runTool("cpus 0 --json --machine " + quoted(machine(names[0]))).out);
    const struct {
        std::string arguments;
        const char* message;
    } cases[] = {
        {"fleet", "needs a folder or files"},
        {"fleet " + quoted(empty), "there is no machine in what was named"},
        {"fleet nowhere", "nowhere: there is no such file or folder"},
        {"fleet --json --html x " + quoted(empty), "leave one out"},
        {"baseline " + quoted(empty), "there is no machine in what was named"},
        {"baseline native " + quoted(machine("nowhere.txt")), "there is no such file or folder"},
        {"baseline " + quoted(part), "it is not of all processors"},
        {"baseline " + quoted(classic), "it is JSON without the cpuid_modifiers"},
        {"baseline -", "there is no machine in what was named"},
        {"export", "FORMAT"},
        {"export yaml", "name hwloc-xml, jsonl, nfd, prometheus or slurm"},
        {"export jsonl --json", "leave out --json"},
        {"export nfd --name x", "--name applies to jsonl and slurm only"},
        {"export slurm --name \"\"", "give --name NAME"},
    };
    for (const auto& [arguments, message] : cases) {
        const ToolRun run = runTool(arguments);
        EXPECT_EQ(run.status, 2) << arguments;
        EXPECT_THAT(run.err, HasSubstr(message)) << arguments;
        EXPECT_EQ(run.out, "") << arguments;
    }
}

TEST(Baseline, IsWhatEveryMachineHas) {
    std::string files;
    for (const char* name : names) {
        files += " " + quoted(machine(name));
    }
    const json baseline = runToolForJson("baseline --json" + files)["baseline"];
    EXPECT_EQ(baseline["machines"], 3);
    EXPECT_EQ(baseline["level"], 2);
    EXPECT_TRUE(baseline["differences"].is_null());
    for (const char* name : names) {
        const json usable = runToolForJson("--json --machine " + quoted(machine(name)))["processors"][0]["usable"];
        for (const json& feature : baseline["usable"]) {
            EXPECT_THAT(usable, testing::Contains(feature)) << name;
        }
    }
    // Neither of these two has all that the other has.
    const std::string pair =
        "baseline " + quoted(machine("guest-kvm-as-hyperv.txt")) + " " + quoted(machine(names[1])) + " ";
    const json both = runToolForJson(pair + "--json")["baseline"];
    for (const char* feature : {"amx_tile", "clzero"}) { // Intel's and AMD's
        EXPECT_THAT(both["usable"], Not(testing::Contains(feature)));
    }
    EXPECT_THAT(both["differences"][0]["featuresHereOnly"], testing::Contains("amx_tile"));
    EXPECT_THAT(both["differences"][0]["featuresHereOnly"], Not(testing::Contains("avx2")));
    const std::string text = runTool(pair).out;
    EXPECT_LT(text.find("clzero", text.find("Usable in second")), text.size());
    EXPECT_EQ(baseline["heldBackBy"][0]["machines"], json({machine(names[0])}));
    EXPECT_THAT(baseline["heldBackBy"][0]["lacks"], testing::Contains("avx2"));
    // The same from lines on standard input.
    const std::string lines = scratch("lines.jsonl");
    writeContent(lines, lineOf(names[0]) + lineOf(names[1]) + lineOf(names[2]));
    const ToolRun run = runTool("baseline - --json", lines);
    EXPECT_EQ(json::parse(run.out)["baseline"], baseline);
    EXPECT_EQ(json::parse(runTool("baseline - --json", machine(names[0])).out)["baseline"],
              runToolForJson("baseline --json " + quoted(machine(names[0])))["baseline"])
        << "a recording there";
}

TEST(Baseline, TellsOfTwoMachinesInWhatTheyDiffer) {
    const std::string older = machine("guest-kvm-as-hyperv.txt");
    const std::string newer = scratch("newer-microcode.txt");
    std::string content = contentOf(older);
    for (std::size_t at = 0; (at = content.find("microcode 0x00000001", at)) != std::string::npos; ++at) {
        content.replace(at, 20, "microcode 0x0b000040");
    }
    writeContent(newer, content);
    const std::string lines = scratch("newer-microcode.jsonl");
    writeContent(lines, runTool("export jsonl --machine " + quoted(newer)).out);
    for (const std::string& second : {newer, lines}) {
        const std::string both = quoted(older) + " " + quoted(second);
        EXPECT_THAT(runTool("baseline " + both).out,
                    HasSubstr("They differ in:\nMicrocode           : 0x1\n                    : 0xb000040\n"));
        const json baseline = runToolForJson("baseline --json " + both)["baseline"];
        EXPECT_EQ(baseline["differIn"], json({"microcode"}));
        EXPECT_EQ(baseline["differences"][1]["microcode"], json({0xB000040}));
        EXPECT_THAT(runTool("fleet " + both).out, HasSubstr("2 in 1 group")); // microcode comes and goes
    }
    EXPECT_THAT(runTool("baseline " + quoted(newer) + " " + quoted(lines)).out, HasSubstr("They are alike.\n"));

    const std::string two = quoted(machine(names[0])) + " " + quoted(machine(names[1]));
    const json differences = runToolForJson("baseline --json " + two)["baseline"]["differences"];
    EXPECT_EQ(differences[0]["cores"], 4);
    EXPECT_EQ(differences[1]["caches"].back()["sizeBytes"], 4 << 20);
    EXPECT_TRUE(differences[0]["microcode"].is_null());
    EXPECT_THAT(differences[1]["usableHereOnly"], testing::Contains("avx2"));

    // Alike in short words, and yet not the same.
    const std::string ways = scratch("other-ways.jsonl");
    json document = json::parse(lineOf(names[0]));
    document["caches"][0]["ways"] = 12;
    writeContent(ways, document.dump());
    EXPECT_THAT(runTool("baseline " + quoted(machine(names[0])) + " " + quoted(ways)).out,
                HasSubstr("They differ in:\nCaches              : 4 x L1 data 32 KB (8 ways, lines of 64 bytes)"));
}

// Whichever of its processors that is, and whatever the machine was read from.
TEST(Baseline, IsWhatTheLeastProcessorOfAMachineCanUse) {
    const std::string whole = contentOf(machine(names[2]));
    const std::string state = "xcr0 0x00000000000000e7";
    for (const std::size_t place : {whole.find(state), whole.rfind(state)}) {
        const std::string recording = scratch("uneven-state.txt"), line = scratch("uneven-state.jsonl");
        writeContent(recording, std::string(whole).replace(place, state.size(), "xcr0 0x0000000000000003"));
        writeContent(line, runTool("export jsonl --machine " + quoted(recording)).out);
        EXPECT_EQ(runToolForJson("--json --machine " + quoted(recording))["summary"]["level"], 2);
        for (const std::string& file : {recording, line}) {
            const json baseline = runToolForJson("baseline --json " + quoted(file))["baseline"];
            EXPECT_EQ(baseline["level"], 2);
            EXPECT_THAT(baseline["usable"], Not(testing::Contains("avx")));
        }
    }
}

TEST(Baseline, ChoosesTheTargetThatEnablesMostOfWhatThereIs) {
    const auto flagsOf = [](const std::string& target, const std::vector<const char*>& without,
                            const std::vector<std::string>& tunings) {
        quarrow::FleetMachine machine;
        machine.usable = featuresOfTarget(quarrow::Compiler::gcc, 12, target);
        for (const char* feature : without) {
            libQuarrow::topology::FeatureSet one;
            one.insert({feature});
            machine.usable = machine.usable - one;
        }
        return choiceFor(quarrow::Compiler::gcc, 12, machine, tunings)->flags();
    };
    EXPECT_EQ(flagsOf("znver3", {}, {"znver3"}), "-march=znver3 -mtune=znver3");
    EXPECT_EQ(flagsOf("znver3", {}, {"znver3", "znver2"}), "-march=znver3 -mtune=generic");
    EXPECT_EQ(flagsOf("znver3", {}, {"znver4"}), "-march=znver3 -mtune=generic"); // which gcc 12 does not know
    EXPECT_EQ(flagsOf("cascadelake", {"sgx", "pku"}, {}), "-march=cascadelake -mno-sgx -mno-pku -mtune=generic");
    EXPECT_EQ(flagsOf("cascadelake", {"avx512_vnni"}, {}), "-march=skylake-avx512 -mtune=generic");
    EXPECT_EQ(flagsOf("x86-64-v3", {}, {}), "-march=x86-64-v3 -mtune=generic");
    EXPECT_EQ(flagsOf("x86-64-v2", {}, {"pentium-m"}), "-march=x86-64-v2 -mtune=generic");   // which is for 32 bits
    EXPECT_EQ(flagsOf("x86-64-v3", {"cmov"}, {}), "-m32 -march=pentium-mmx -mtune=generic"); // no switch leaves it out
    EXPECT_EQ(flagsOf("x86-64", {"lm"}, {"pentium-m"}), "-m32 -march=pentium-m -mtune=pentium-m");
}

TEST(Export, PutsLabelsIntoTheNamespaceOfNodeFeatures) {
    std::istringstream lines(runTool("export nfd --machine " + quoted(machine(names[0]))).out);
    const std::regex label("feature\\.node\\.kubernetes\\.io/quarrow\\.[-a-zA-Z0-9._]+=[-a-zA-Z0-9._]+");
    std::set<std::string> labels;
    for (std::string line; std::getline(lines, line);) {
        EXPECT_TRUE(std::regex_match(line, label)) << line;
        labels.insert(line.substr(line.find('/') + 1));
    }
    EXPECT_EQ(labels.count("quarrow.cores=4") + labels.count("quarrow.usable.sse4_2=true"), 2U);
}

TEST(Export, SaysWhatTheMachineHas) {
    const auto exported = [](const char* format, const char* name) {
        return runTool("export " + std::string(format) + " --machine " + quoted(machine(name))).out;
    };
    const char* const twoGroups = "two-groups-unknown-maker.txt";
    EXPECT_THAT(exported("hwloc-xml", twoGroups), HasSubstr(" cpuset=\"0x00000002,0x00000000,0x00000005\""));
    EXPECT_THAT(exported("hwloc-xml", names[1]),
                HasSubstr(" cache_size=\"32768\" depth=\"1\" cache_linesize=\"64\" cache_associativity=\"8\" "
                          "cache_type=\"1\""));
    std::string changed = contentOf(machine(names[1])); // memory without processors, and a fully associative cache
    changed.insert(changed.find("CPU 0:"), "node 0: group 0 mask 0x000000000000000f\nnode 1:\n");
    changed.replace(changed.find("eax=0x00004121"), 14, "eax=0x00004321");
    writeContent(scratch("changed.txt"), changed);
    const std::string tree = runTool("export hwloc-xml --machine " + quoted(scratch("changed.txt"))).out;
    EXPECT_THAT(tree, HasSubstr(" allowed_nodeset=\"0x00000003\""));
    EXPECT_THAT(tree, HasSubstr(" cache_associativity=\"-1\""));
    EXPECT_THAT(exported("prometheus", twoGroups), HasSubstr("\nquarrow_x86_64_level 0\n"));
    EXPECT_THAT(exported("prometheus", names[1]),
                HasSubstr("\nquarrow_caches{level=\"1\",type=\"data\",processors=\"0-3\"} 2\n"));
    const std::string labels = exported("nfd", names[1]);
    EXPECT_THAT(labels, HasSubstr("/quarrow.x86-64-v3=true\n"));
    EXPECT_THAT(labels, HasSubstr("/quarrow.usable.avx2=true\n"));
    EXPECT_THAT(labels, Not(HasSubstr("usable.apic=")));
}

TEST(Export, SaysHonestlyWhatSlurmCannotHold) {
    EXPECT_THAT(runTool("export slurm --machine " + quoted(machine(names[0]))).out,
                testing::StartsWith("NodeName=intel-2p-smt CPUs=8 Sockets=2 CoresPerSocket=2 "
                                    "ThreadsPerCore=2 Features=genuineintel,westmere_ep,westmere,x86_64_v1,x86_64_v2"));
    const std::string uneven = scratch("uneven.txt"); // the last of the four threads of two cores is missing
    const std::string whole = contentOf(machine(names[1]));
    writeContent(uneven, whole.substr(0, whole.rfind("CPU 3:")) + "end of recording\n");
    const std::string node = runTool("export slurm --name \"a b\" --machine " + quoted(uneven)).out;
    EXPECT_THAT(node, testing::StartsWith("# Cores or packages differ here (1 package, 2 cores, 3 threads)"));
    EXPECT_THAT(node, HasSubstr("\nNodeName=a-b CPUs=3 Features="));
}

} // namespace
