// Runs over a folder of CPUID dumps of real machines. Every dump must load and decode. Where the folder says what other
// programs make of its machines (expected.tsv, topology.tsv, flags.tsv), Quarrow must agree, but for the differences
// that known_differences.tsv lists with their reasons.

#include <tests/corpus/Facts.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <set>

namespace {

const std::string corpus = QUARROW_CORPUS;

bool matches(const std::string& pattern, const std::string& text) {
    if (!pattern.empty() && pattern.back() == '*') {
        return text.compare(0, pattern.size() - 1, pattern, 0, pattern.size() - 1) == 0;
    }
    return pattern == text;
}

// A mask of processors agrees with a mask, or with the number of its processors where we only know how many.
bool agree(const std::string& fact, const std::string& ours, const std::string& theirs) {
    if (fact.find("shared by") != std::string::npos && ours.size() != theirs.size()) {
        return ours == std::to_string(std::count(theirs.begin(), theirs.end(), '1'));
    }
    return ours == theirs;
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

TEST_F(Corpus, EveryDumpDecodes) {
    for (const std::string& file : m_files) {
        EXPECT_NO_THROW({
            const Facts facts = quarrowFacts(corpus + "/" + file);
            EXPECT_FALSE(facts.empty()) << file << ": no processor";
        }) << file;
    }
    std::cout << m_files.size() << " dumps\n";
}

TEST_F(Corpus, AgreesWithOtherPrograms) {
    const Table expected(corpus + "/expected.tsv");
    const Table topology(corpus + "/topology.tsv");
    const Table flags(corpus + "/flags.tsv");
    const Table sources(corpus + "/sources.tsv");
    if (expected.rows().empty()) {
        GTEST_SKIP() << corpus << " does not say what to expect";
    }
    const Table known(QUARROW_SOURCE_DIR "/tests/corpus/known_differences.tsv");
    std::vector<std::size_t> used(known.rows().size());
    std::size_t compared = 0;
    for (const Table::Row& row : expected.rows()) {
        const std::string& file = row.at("file");
        ASSERT_EQ(m_files.count(file), 1u) << file << " is expected and not there";
        const std::vector<Table::Row> source = sources.rowsOf(file);
        const bool whole = !source.empty() && source.front().at("all_cpus_of_machine") == "yes";
        const Facts ours = quarrowFacts(corpus + "/" + file);
        for (const auto& [fact, theirs] : expectedFacts(row, topology.rowsOf(file), flags.rowsOf(file), whole)) {
            const auto found = ours.find(fact);
            const std::string answer = found == ours.end() ? "none" : found->second;
            ++compared;
            if (agree(fact, answer, theirs)) {
                continue;
            }
            bool listed = false;
            for (std::size_t i = 0; i < known.rows().size(); ++i) {
                const Table::Row& difference = known.rows()[i];
                if (matches(difference.at("file"), file) && matches(difference.at("fact"), fact) &&
                    matches(difference.at("ours"), answer)) {
                    listed = true;
                    ++used[i];
                }
            }
            EXPECT_TRUE(listed) << file << "\t" << fact << "\t" << answer << "\t" << theirs;
        }
    }
    for (std::size_t i = 0; i < used.size(); ++i) {
        const Table::Row& difference = known.rows()[i];
        EXPECT_TRUE(used[i] != 0) << "a known difference that is none any more: " << difference.at("file") << " "
                                  << difference.at("fact");
    }
    EXPECT_GT(compared, expected.rows().size());
    std::cout << compared << " facts of " << expected.rows().size() << " machines compared\n";
}

} // namespace
