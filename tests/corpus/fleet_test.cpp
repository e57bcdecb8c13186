// A fleet of the machines of the corpus: what is chosen for a machine it can run, asked of the compilers; and what is
// read from a line of JSON is what is read from the machine.

#include <libQuarrow/recording/formats/RecordingFile.h>
#include <tests/corpus/CorpusTest.h>
#include <tests/support/Compilers.h>
#include <tools/quarrow/Request.h>
#include <tools/quarrow/commands/Commands.h>
#include <tools/quarrow/fleet/CompilerTargets.h>

#include <libQuarrow/os/recorded/RecordedMachine.h>

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
        GTEST_SKIP() << "neither gcc nor clang is installed";
    }
    std::map<std::pair<std::string, std::string>, std::set<std::string>> asked; // the same flags need asking once
    std::size_t checked = 0;
    std::map<std::string, std::size_t> targets;
    forEachMachine(folders, [&](const std::string&) {
        const FleetMachine machine = fleetMachineOf(topology::Topology::read().value());
        for (const InstalledCompiler& compiler : compilers) {
            const auto choice = choiceFor(compiler.compiler, compiler.version, machine, {tuningOf(machine)});
            ASSERT_TRUE(choice);
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

} // namespace
