// Runs over a folder of CPUID dumps of real machines. Every dump must load and decode. Where the folder says what other
// programs make of its machines (expected.tsv, topology.tsv, flags.tsv), Quarrow must agree, but for the differences
// that known_differences.tsv lists with their reasons.

#include <libQuarrow/recording/formats/RecordingFile.h>
#include <libQuarrow/recording/formats/RecordingParser.h>
#include <tests/corpus/Facts.h>
#include <tests/support/Recordings.h>

#include <zel/String.h>

#include <gtest/gtest.h>

#include <bitset>
#include <filesystem>
#include <iostream>
#include <set>

using namespace libQuarrow::os;
using namespace testing_support;

namespace {

const std::string corpus = QUARROW_CORPUS;

bool matches(const std::string& pattern, const std::string& text) {
    if (!pattern.empty() && pattern.back() == '*') {
        return text.compare(0, pattern.size() - 1, pattern, 0, pattern.size() - 1) == 0;
    }
    return pattern == text;
}

bool agree(const std::string& fact, const std::string& ours, const std::string& theirs) {
    if (theirs == "0" && fact.find("_KB") != std::string::npos) {
        return ours == "none"; // no such cache
    }
    if (fact.find("_cpus") != std::string::npos && theirs[1] == 'x' && ours[1] != 'x') { // we know only how many
        return ours == std::to_string(std::bitset<64>(std::stoull(theirs, nullptr, 16)).count());
    }
    return ours == zel::String::fromUtf8(theirs).normalizeSpaces().toUtf8();
}

class Corpus : public testing::Test {
  protected:
    void SetUp() override {
        if (corpus.empty()) {
            GTEST_SKIP() << "no folder of dumps given: make test CORPUS=FOLDER";
        }
        for (const auto& entry : std::filesystem::directory_iterator(corpus)) {
            if (entry.path().extension() == ".txt") {
                m_files.insert(entry.path().filename().string());
            }
        }
        ASSERT_FALSE(m_files.empty()) << corpus << " holds no .txt file";
    }

    std::set<std::string> m_files;
};

// Each round-trips through our own format too, and replayed and recorded gives the same twice.
TEST_F(Corpus, EveryDumpDecodes) {
    for (const std::string& file : m_files) {
        SCOPED_TRACE(file);
        EXPECT_FALSE(quarrowFacts(corpus + "/" + file).empty()) << "no processor";
        RecordingError error;
        const Recording dump = readRecording(corpus + "/" + file, error).value();
        EXPECT_TRUE(parseRecording(written(dump), "again", error) == dump);
        const Recording first = recorded(dump);
        EXPECT_EQ(written(first), written(recorded(first)));
    }
    std::cout << m_files.size() << " dumps\n";
}

TEST_F(Corpus, AgreesWithOtherPrograms) {
    const std::vector<Row> expected = readTable(corpus + "/expected.tsv");
    const std::vector<Row> topology = readTable(corpus + "/topology.tsv");
    const std::vector<Row> flags = readTable(corpus + "/flags.tsv");
    const std::vector<Row> sources = readTable(corpus + "/sources.tsv");
    if (expected.empty()) {
        GTEST_SKIP() << corpus << " does not say what to expect";
    }
    const std::vector<Row> known = readTable(QUARROW_SOURCE_DIR "/tests/corpus/known_differences.tsv");
    std::set<const Row*> used;
    std::size_t compared = 0;
    for (const Row& row : expected) {
        const std::string& file = row.at("file");
        ASSERT_EQ(m_files.count(file), 1u) << file << " is expected and not there";
        const std::vector<Row> source = rowsOf(sources, file);
        const bool whole = !source.empty() && source.front().at("all_cpus_of_machine") == "yes";
        const Facts ours = quarrowFacts(corpus + "/" + file);
        for (const auto& [fact, theirs] : expectedFacts(row, rowsOf(topology, file), rowsOf(flags, file), whole)) {
            const auto found = ours.find(fact);
            const std::string answer = found == ours.end() ? "none" : found->second;
            compared += theirs.empty() ? 0 : 1;
            if (theirs.empty() || agree(fact, answer, theirs)) {
                continue;
            }
            bool listed = false;
            for (const Row& difference : known) {
                if (matches(difference.at("file"), file) && matches(difference.at("fact"), fact) &&
                    matches(difference.at("ours"), answer)) {
                    listed = true;
                    used.insert(&difference);
                }
            }
            EXPECT_TRUE(listed) << file << "\t" << fact << "\t" << answer << "\t" << theirs;
        }
    }
    for (const Row& difference : known) {
        EXPECT_EQ(used.count(&difference), 1u)
            << "a known difference that is none any more: " << difference.at("file") << " " << difference.at("fact");
    }
    EXPECT_GT(compared, expected.size());
    std::cout << compared << " facts of " << expected.size() << " machines compared\n";
}

} // namespace
