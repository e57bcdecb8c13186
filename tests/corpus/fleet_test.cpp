// A fleet of the machines of the corpus: what is chosen for a machine it can run, asked of the compilers; and what is
// read from a line of JSON is what is read from the machine.

#include <libQuarrow/recording/formats/RecordingFile.h>
#include <tests/corpus/CorpusTest.h>
#include <tests/support/Compilers.h>
#include <tools/quarrow/Request.h>
#include <tools/quarrow/commands/Commands.h>
#include <tools/quarrow/export/Exports.h>
#include <tools/quarrow/fleet/CompilerTargets.h>

#include <libQuarrow/os/recorded/RecordedMachine.h>

#include <fstream>
#include <functional>
#include <iostream>

using namespace libQuarrow;
using namespace quarrow;
using testing_support::InstalledCompiler;

namespace {

void forEachMachine(const std::vector<CorpusFolder>& folders, const std::function<void(const std::string&)>& look) {
    for (const CorpusFolder& folder : folders) {
        for (const std::string& file : folder.files) {
            SCOPED_TRACE(file);
            os::RecordingError error;
            os::RecordedMachine machine(os::readRecording(folder.path + "/" + file, error).value());
            const os::ScopedMachine scope(machine);
            look(file);
        }
    }
}

// What a program may execute, and what only a system can but the processor has.
bool has(const FleetMachine& machine, const std::string& feature, bool is32Bit) {
    static const std::set<std::string> systems = {"sgx",   "fsgsbase", "xsaves", "invpcid", "wbnoinvd", "pconfig",
                                                  "shstk", "enqcmd",   "uintr",  "hreset",  "user_msr"};
    return feature == "accepted" || machine.usable.contains(feature) ||
           (systems.count(feature) != 0 && machine.features.contains(feature)) || (is32Bit && feature == "lahf_lm");
}

TEST_F(Corpus, RunsWhatIsCompiledForTheTargetsChosen) {
    const std::vector<InstalledCompiler> compilers = testing_support::installedCompilers();
    if (compilers.empty()) {
        GTEST_SKIP() << "no compiler to ask";
    }
    std::map<std::pair<std::string, std::string>, std::set<std::string>> asked; // the same flags need asking once
    std::size_t checked = 0;
    std::map<std::string, std::size_t> targets;
    forEachMachine(folders, [&](const std::string&) {
        const FleetMachine machine = fleetMachineOf(topology::Topology::read().value());
        for (const InstalledCompiler& compiler : compilers) {
            const auto choice = choiceFor(compiler.compiler, compiler.version, machine, {tuningOf(machine)});
            ASSERT_EQ(choice.has_value(), machine.usable.contains("fpu"));
            if (!choice) {
                continue;
            }
            const std::string flags = choice->flags();
            auto& features = asked[{compiler.command, flags}];
            if (features.empty()) {
                std::set<std::string> unknown;
                features = testing_support::featuresIn(compiler, flags, unknown);
                EXPECT_TRUE(unknown.empty()) << *unknown.begin();
            }
            EXPECT_TRUE(features.count("accepted")) << compiler.command << " does not take " << flags;
            for (const std::string& feature : features) {
                EXPECT_TRUE(has(machine, feature, choice->is32Bit))
                    << compiler.command << " " << flags << " needs " << feature;
            }
            ++checked;
            ++targets[choice->march];
        }
    });
    EXPECT_GT(targets.size(), 10u);
    std::cout << checked << " choices of " << targets.size() << " targets\n";
}

TEST_F(Corpus, IsTheSameFromALineOfJson) {
    forEachMachine(folders, [](const std::string& file) {
        Request request;
        request.machineFile = file;
        request.operands = {"jsonl"};
        const std::string line = exportCommand(request);
        EXPECT_EQ(line.find('\n'), line.size() - 1);
        std::string error;
        const auto read = fleetMachineOf(nlohmann::json::parse(line), error);
        ASSERT_TRUE(read) << error;
        EXPECT_TRUE(*read == fleetMachineOf(topology::Topology::read().value()));
    });
}

std::size_t occurrences(const std::string& text, const std::string& what) {
    std::size_t count = 0;
    for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) {
        ++count;
    }
    return count;
}

// How many objects of each type hwloc should find.
std::map<std::string, std::size_t> hwlocCounts(const topology::Topology& machine) {
    std::map<std::string, std::size_t> counts = {{"Package", machine.packages().size()},
                                                 {"Die", machine.dies().size()},
                                                 {"Core", machine.cores().size()},
                                                 {"PU", machine.processors().size()},
                                                 {"NUMANode", std::max<std::size_t>(machine.numaNodes().size(), 1)}};
    for (const topology::Cache& cache : machine.caches()) {
        if (cache.figures.type != topology::CacheType::trace) {
            const bool isInstruction = cache.figures.type == topology::CacheType::instruction;
            counts["L" + std::to_string(cache.figures.level) + (isInstruction ? "iCache" : "Cache")] +=
                cache.instances().value_or(0);
        }
    }
    return counts;
}

TEST_F(Corpus, IsReadByHwlocWithTheSameCounts) {
    if (testing_support::outputOf("lstopo --version").empty()) {
        GTEST_SKIP() << "lstopo is not installed";
    }
    const std::string path = testing::TempDir() + "quarrow-hwloc.xml";
    std::size_t objects = 0;
    forEachMachine(folders, [&](const std::string&) {
        const topology::Topology machine = topology::Topology::read().value();
        std::ofstream(path) << hwlocXml(machine);
        const std::string read = testing_support::outputOf("lstopo --if xml -i " + path + " --of xml -");
        for (const auto& [type, count] : hwlocCounts(machine)) {
            EXPECT_EQ(occurrences(read, "object type=\"" + type + "\""), count) << type;
            objects += count;
        }
        std::size_t kinds = 0;
        std::size_t last = 0; // hwloc ranks the most efficient ones first
        for (const auto kind :
             {topology::CoreKind::lowPower, topology::CoreKind::efficient, topology::CoreKind::performance}) {
            if (!machine.ofKind(kind).empty()) {
                const std::size_t at = read.find(std::string("value=\"") + nameOf(kind) + "\"");
                EXPECT_TRUE(at != std::string::npos && at > last) << nameOf(kind);
                last = at;
                ++kinds;
            }
        }
        EXPECT_EQ(occurrences(read, "<cpukind "), kinds);
    });
    std::filesystem::remove(path);
    std::cout << objects << " objects\n";
}

} // namespace
