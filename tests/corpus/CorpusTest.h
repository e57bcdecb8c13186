#pragma once

#include <tests/corpus/Table.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <sstream>
#include <string>
#include <vector>

// A folder of dumps with what other programs say of its machines.
struct CorpusFolder {
    explicit CorpusFolder(const std::string& folder)
        : path(folder), expected(readTable(folder + "/expected.tsv")), topology(readTable(folder + "/topology.tsv")),
          flags(readTable(folder + "/flags.tsv")), today(readTable(folder + "/today.tsv")),
          sources(readTable(folder + "/sources.tsv")) {
        for (const auto& entry : std::filesystem::directory_iterator(folder)) {
            if (entry.path().extension() == ".txt") {
                files.insert(entry.path().filename().string());
            }
        }
    }
    // The dump has all processors, so counts and places can be compared.
    bool hasWholeMachine(const std::string& file) const {
        const std::vector<Row> source = rowsOf(sources, file);
        return !source.empty() && source.front().at("all_cpus_of_machine") == "yes";
    }

    std::string path;
    std::set<std::string> files;
    std::vector<Row> expected, topology, flags, today, sources;
};

// Tests over the folders that QUARROW_CORPUS names, blanks between them.
class Corpus : public testing::Test {
  protected:
    void SetUp() override {
        std::istringstream paths(QUARROW_CORPUS);
        for (std::string path; paths >> path;) {
            ASSERT_FALSE(folders.emplace_back(path).files.empty()) << path << " holds no .txt file";
        }
        if (folders.empty()) {
            GTEST_SKIP() << "no folder of dumps given: make test CORPUS=FOLDER";
        }
    }

    std::vector<CorpusFolder> folders;
};

// A row's pattern: a * at its end stands for any rest.
inline bool matches(const std::string& pattern, const std::string& text) {
    if (!pattern.empty() && pattern.back() == '*') {
        return text.compare(0, pattern.size() - 1, pattern, 0, pattern.size() - 1) == 0;
    }
    return pattern == text;
}
