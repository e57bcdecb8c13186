// What the topology answers of each machine of the corpus is what other programs and the recorders of the dumps say of
// it. There are no known differences but for dumps that are broken: broken_dumps.tsv names each with its reason.

#include <libQuarrow/recording/formats/RecordingFile.h>
#include <tests/corpus/CorpusTest.h>
#include <tests/corpus/TodayFacts.h>
#include <tests/support/TopologyInvariants.h>

#include <libQuarrow/os/recorded/RecordedMachine.h>
#include <zel/String.h>

#include <iostream>

using namespace libQuarrow;

namespace {

topology::Topology topologyOf(const std::string& path) {
    os::RecordingError error;
    os::RecordedMachine machine(os::readRecording(path, error).value());
    const os::ScopedMachine scope(machine);
    return topology::Topology::read().value();
}

// The recorder of this one knew two kinds of core; its efficient cores without an L3 are a third.
const char* const twoKindsTold = "intel-pantherlake-ultra7-355";

bool agree(const std::string& file, const std::string& fact, const std::string& ours, const std::string& theirs) {
    if (theirs == "0" && fact.find("_KB") != std::string::npos) {
        return ours == "none"; // no such cache
    }
    if (theirs == "efficient" && ours == "low power" && file.rfind(twoKindsTold, 0) == 0) {
        return true;
    }
    return ours == zel::String::fromUtf8(theirs).normalizeSpaces().toUtf8();
}

Facts expectedOf(const CorpusFolder& folder, const std::string& file, const std::vector<Row>& today) {
    const bool whole = folder.hasWholeMachine(file);
    Facts facts;
    for (const Row& row : rowsOf(folder.expected, file)) {
        facts = expectedFacts(row, {}, {}, whole);
    }
    for (const auto& [fact, value] : expectedToday(rowsOf(today, file), rowsOf(folder.topology, file), whole)) {
        facts[fact] = value;
    }
    return facts;
}

TEST_F(Corpus, IsUnderstoodAsItIsToday) {
    const std::vector<Row> broken = readTable(QUARROW_SOURCE_DIR "/tests/corpus/broken_dumps.tsv");
    std::vector<Row> today; // one table may be of all folders
    for (const CorpusFolder& folder : folders) {
        today.insert(today.end(), folder.today.begin(), folder.today.end());
    }
    std::size_t compared = 0;
    std::set<const Row*> used;
    for (const CorpusFolder& folder : folders) {
        for (const std::string& file : folder.files) {
            SCOPED_TRACE(file);
            const topology::Topology topology = topologyOf(folder.path + "/" + file);
            EXPECT_EQ(testing_support::contradictionIn(topology), "");
            ASSERT_FALSE(topology.processors().empty());
            const Facts ours = topologyFacts(topology);
            for (const auto& [fact, theirs] : expectedOf(folder, file, today)) {
                const auto found = ours.find(fact);
                const std::string answer = found == ours.end() ? "none" : found->second;
                compared += theirs.empty() ? 0 : 1;
                if (theirs.empty() || agree(file, fact, answer, theirs)) {
                    continue;
                }
                bool listed = false;
                for (const Row& row : broken) {
                    if (matches(row.at("file"), file) && matches(row.at("fact"), fact)) {
                        listed = true;
                        used.insert(&row);
                    }
                }
                EXPECT_TRUE(listed) << file << "\t" << fact << "\t" << answer << "\t" << theirs;
            }
        }
    }
    if (!today.empty()) {
        for (const Row& row : broken) {
            EXPECT_EQ(used.count(&row), 1u) << "not broken any more: " << row.at("file") << " " << row.at("fact");
        }
    }
    std::cout << compared << " facts compared\n";
}

} // namespace
