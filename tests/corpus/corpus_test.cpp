// Runs over folders of CPUID dumps of real machines. Every dump must load and decode. Where a folder says what other
// programs make of its machines (expected.tsv, topology.tsv, flags.tsv), Quarrow must agree, but for the differences
// that known_differences.tsv lists with their reasons.

#include <libQuarrow/cpu/x86/x86_cpu.h>
#include <libQuarrow/cpu/x86/x86_intel_info.h>
#include <libQuarrow/cpu/x86/x86_speed_metrics.h>
#include <libQuarrow/os/recorded/RecordedMachine.h>
#include <libQuarrow/recording/formats/RecordingFile.h>
#include <libQuarrow/recording/formats/RecordingParser.h>
#include <tests/corpus/CorpusTest.h>
#include <tests/corpus/Facts.h>
#include <tests/support/Recordings.h>

#include <zel/String.h>

#include <bitset>
#include <iostream>
#include <set>

using namespace libQuarrow::cpu;
using namespace libQuarrow::os;
using namespace testing_support;

namespace {

// Of a hexadecimal number of any length.
std::size_t bitsIn(const std::string& mask) {
    std::size_t count = 0;
    for (const char digit : mask.substr(2)) {
        count += std::bitset<4>(std::stoul(std::string(1, digit), nullptr, 16)).count();
    }
    return count;
}

bool agree(const std::string& fact, const std::string& ours, const std::string& theirs) {
    if (theirs == "0" && fact.find("_KB") != std::string::npos) {
        return ours == "none"; // no such cache
    }
    if (fact.find("_cpus") != std::string::npos && theirs[1] == 'x' && ours[1] != 'x') { // we know only how many
        return ours == std::to_string(bitsIn(theirs));
    }
    return ours == zel::String::fromUtf8(theirs).normalizeSpaces().toUtf8();
}

// Each round-trips through our own format too, and replayed and recorded gives the same twice.
TEST_F(Corpus, EveryDumpDecodes) {
    for (const CorpusFolder& folder : folders) {
        for (const std::string& file : folder.files) {
            SCOPED_TRACE(file);
            EXPECT_FALSE(quarrowFacts(folder.path + "/" + file).empty()) << "no processor";
            RecordingError error;
            const Recording dump = readRecording(folder.path + "/" + file, error).value();
            EXPECT_TRUE(parseRecording(written(dump), "again", error) == dump);
            const Recording first = recorded(dump);
            EXPECT_EQ(written(first), written(recorded(first)));
        }
        std::cout << folder.files.size() << " dumps\n";
    }
}

// Whether this build reads a file that has that name.
bool isReadHere(const std::filesystem::path& file) {
#ifndef QUARROW_HAS_PUGIXML
    return file.extension() != ".xml";
#else
    return !file.empty();
#endif
}

// The same machine in the format of its collection and as text, where a folder has both.
TEST_F(Corpus, OtherFormatsSayTheSame) {
    std::size_t compared = 0;
    for (const CorpusFolder& folder : folders) {
        std::error_code none;
        for (const auto& entry : std::filesystem::directory_iterator(folder.path + "/other-formats", none)) {
            if (!isReadHere(entry.path())) {
                continue;
            }
            RecordingError error;
            const auto other = readRecording(entry.path().u8string(), error);
            EXPECT_TRUE(other) << error.message;
            const std::string name =
                entry.is_directory() ? entry.path().filename().u8string() : entry.path().stem().u8string();
            EXPECT_TRUE(other == readRecording(folder.path + "/" + name + ".txt", error))
                << entry.path() << error.message;
            ++compared;
        }
    }
    std::cout << compared << " dumps in other formats compared\n";
}

// Compares one machine. Adds the rows of known differences that apply to `used`; answers how many facts were compared.
std::size_t compare(const CorpusFolder& folder, const Row& row, const std::vector<Row>& known,
                    std::set<const Row*>& used) {
    const std::string& file = row.at("file");
    const Facts ours = quarrowFacts(folder.path + "/" + file);
    std::size_t compared = 0;
    for (const auto& [fact, theirs] :
         expectedFacts(row, rowsOf(folder.topology, file), rowsOf(folder.flags, file), folder.hasWholeMachine(file))) {
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
    return compared;
}

// How many processors' highest speed without turbo was held against the frequency in the name.
std::size_t compareSpeeds(const std::string& path) {
    RecordingError error;
    RecordedMachine machine(readRecording(path, error).value());
    const ScopedMachine scope(machine);
    zel::Array<x86_cpu> cpus;
    EXPECT_TRUE(x86_cpu::findLogicalCpus(cpus, true));
    std::size_t compared = 0;
    for (const x86_cpu& cpu : cpus) {
        std::uint32_t named = 0;
        x86_speed_metrics metrics;
        if (cpu.isIntel() && x86_intel_info(cpu).getCpuDesignedFrequency(named)) {
            EXPECT_TRUE(cpu.getSpeedMetrics(metrics));
            EXPECT_NEAR(static_cast<double>(metrics.highestSpeed.value_or(0)) / 1e6, named, 10) << path;
            ++compared;
        }
    }
    return compared;
}

// What registers and leaves tell is what the name says, which is rounded to hundredths of a GHz. (A configurable TDP
// would be a difference; no dump here was taken with one.)
TEST_F(Corpus, SpeedsAreThoseOfTheNames) {
    std::size_t compared = 0;
    for (const CorpusFolder& folder : folders) {
        for (const std::string& file : folder.files) {
            compared += compareSpeeds(folder.path + "/" + file);
        }
    }
    std::cout << compared << " speeds compared with names\n";
}

TEST_F(Corpus, AgreesWithOtherPrograms) {
    const std::vector<Row> known = readTable(QUARROW_SOURCE_DIR "/tests/corpus/known_differences.tsv");
    std::set<const Row*> used;
    std::set<std::string> files;
    for (const CorpusFolder& folder : folders) {
        std::size_t compared = 0;
        for (const Row& row : folder.expected) {
            ASSERT_EQ(folder.files.count(row.at("file")), 1u) << row.at("file") << " is expected and not there";
            compared += compare(folder, row, known, used);
            files.insert(row.at("file"));
        }
        EXPECT_TRUE(folder.expected.empty() || compared > folder.expected.size());
        std::cout << compared << " facts of " << folder.expected.size() << " machines compared\n";
    }
    for (const Row& difference : known) {
        EXPECT_TRUE(used.count(&difference) == 1 || files.count(difference.at("file")) == 0)
            << "a known difference that is none any more: " << difference.at("file") << " " << difference.at("fact");
    }
}

} // namespace
