// What processors are called, and which flags they have, against what independent programs say (names.tsv, flags.tsv).

#include <libQuarrow/recording/formats/RecordingFile.h>
#include <tests/corpus/CorpusTest.h>

#include <libQuarrow/os/recorded/RecordedMachine.h>
#include <libQuarrow/topology/Topology.h>
#include <libQuarrow/topology/names/ProcessorNames.h>

#include <algorithm>
#include <cctype>
#include <iostream>
#include <regex>
#include <set>
#include <sstream>

using namespace libQuarrow::topology;
namespace os = libQuarrow::os;

namespace {

Processor firstOf(const std::string& path) {
    os::RecordingError error;
    os::RecordedMachine machine(os::readRecording(path, error).value());
    const os::ScopedMachine scope(machine);
    return Topology::read().value().processors().at(0);
}

// Letters and digits alone, lengths in nm: "0.18 µm" and ".18um" are 180nm. "Barceló" is Barcelo.
std::string plain(const std::string& text) {
    const std::pair<const char*, const char*> spellings[] = {
        {"0.25 \u00b5m", "250nm"}, {"0.18 \u00b5m", "180nm"}, {"0.13 \u00b5m", "130nm"}, {".25um", "250nm"},
        {".18um", "180nm"},        {".15um", "150nm"},        {".13um", "130nm"},        {"TSMC N3B", "TSMC N3B"},
        {"TSMC N4", "4nm"},        {"TSMC N5", "5nm"},        {"TSMC N6", "6nm"},        {"\u00f3", "o"}};
    std::string spelt = text;
    for (const auto& [before, after] : spellings) {
        if (const std::size_t at = spelt.find(before); at != std::string::npos) {
            spelt.replace(at, std::string(before).size(), after);
        }
    }
    std::string letters;
    for (const char c : spelt) {
        if (std::isalnum(static_cast<unsigned char>(c)) != 0) {
            letters += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        }
    }
    return letters;
}

// Where all of them are wrong or say nothing, and why ours is right.
struct Exception {
    const char* file; // its beginning
    const char* what;
    const char* reason;
};
constexpr Exception exceptions[] = {
    {"amd-k19-ryzen-7940h", "microarchitecture", "none tells; Zen 4 by libcpuid's comments and Linux"},
    {"amd-k19-threadripper-7960x", "revision", "STP-B1 in illumos"},
    {"amd-k19-ryzen-7735hs", "revision", "RMB-B1 in illumos and in XenServer's notes on microcode"},
    {"guest-firecracker-sapphirerapids", "microarchitecture", "Golden Cove, not the Sunny Cove of Ice Lake"},
    {"intel-sapphirerapids", "microarchitecture", "Golden Cove, not the Sunny Cove of Ice Lake"},
    {"intel-emeraldrapids", "microarchitecture", "they repeat the codename; the core is Raptor Cove"},
    {"intel-graniterapids", "microarchitecture", "Redwood Cove, not the Golden Cove of Sapphire Rapids"},
    {"intel-alderlaken", "microarchitecture", "it has efficient cores alone, which are Gracemont"},
    {"intel-arrowlake-ultra5", "microarchitecture", "none tells; the performance cores are Lion Cove"},
    {"intel-arrowlake-ultra7-265u", "process", "one says Intel 4, the other TSMC N3B, the press Intel 3"},
    {"intel-pantherlake", "microarchitecture", "none knows it"},
    {"intel-pantherlake", "codename", "none knows it"},
    {"hygon-k18-dhyana", "codename", "none tells; the brand string says Dhyana"},
    {"zhaoxin-zxd", "codename", "none knows it; the brand string says ZXD"},
};

// What of ours nobody says, and no row of the table explains. Notes the rows that do.
class Disagreements {
  public:
    void expectNamed(const std::string& file, const char* what, std::string_view ours,
                     const std::vector<std::string>& theirs) {
        std::vector<std::string> told;
        std::copy_if(theirs.begin(), theirs.end(), std::back_inserter(told),
                     [](const auto& text) { return !text.empty(); });
        const std::string name = plain(std::string(ours));
        const bool agrees = std::any_of(told.begin(), told.end(), [&name](const std::string& text) {
            return plain(text).find(name) != std::string::npos;
        });
        const bool right = ours.empty() ? told.size() < 2 : agrees || told.empty();
        EXPECT_TRUE(right || isException(file, what))
            << file << ": " << what << " '" << ours << "', not as " << told.size() << " programs tell it";
    }
    // The silicon's revision stands in parentheses behind the name of the core; dies that share a signature have
    // several.
    void expectRevision(const std::string& file, const std::string& ours, const std::string& synth) {
        static const std::regex word("[A-Za-z0-9]*[A-Z][0-9]");
        const auto open = synth.find('(');
        const std::string told = open != std::string::npos ? synth.substr(open) : std::string();
        std::set<std::string> theirs;
        for (std::sregex_iterator found(told.begin(), told.end(), word), end; found != end; ++found) {
            theirs.insert(found->str());
        }
        bool agrees = false;
        for (std::sregex_iterator found(ours.begin(), ours.end(), word), end; found != end; ++found) {
            const std::string mine = found->str();
            agrees = agrees || std::any_of(theirs.begin(), theirs.end(), [&mine](const std::string& text) {
                         return mine.size() >= text.size() &&
                                mine.compare(mine.size() - text.size(), text.size(), text) == 0;
                     });
        }
        m_revisions += agrees ? 1 : 0;
        EXPECT_TRUE(agrees || ours.empty() || theirs.empty() || isException(file, "revision"))
            << file << ": revision " << ours << ", " << synth;
    }
    std::size_t revisions() const { return m_revisions; }
    void expectAllNeeded() const {
        for (std::size_t i = 0; i < std::size(exceptions); ++i) {
            EXPECT_EQ(m_used.count(i), 1U)
                << "not needed any more: " << exceptions[i].file << " " << exceptions[i].what;
        }
    }

  private:
    bool isException(const std::string& file, const std::string& what) {
        for (std::size_t i = 0; i < std::size(exceptions); ++i) {
            if (file.rfind(exceptions[i].file, 0) == 0 && what == exceptions[i].what) {
                m_used.insert(i);
                return true;
            }
        }
        return false;
    }

    std::set<std::size_t> m_used;
    std::size_t m_revisions = 0;
};

// Names that flag lists have for ours.
std::string ourName(const std::string& flag) {
    const std::map<std::string, std::string> names = {{"avx512vbmi2", "avx512_vbmi2"},
                                                      {"avx512vnni", "avx512_vnni"},
                                                      {"constant_tsc", "nonstop_tsc"},
                                                      {"dts64", "dtes64"},
                                                      {"fma3", "fma"},
                                                      {"hwpstate", "hw_pstate"},
                                                      {"pa", "acc_power"},
                                                      {"pclmul", "pclmulqdq"},
                                                      {"pfi", "proc_feedback"},
                                                      {"tm_amd", "hw_tc"},
                                                      {"xd", "nx"}};
    const auto found = names.find(flag);
    return found != names.end() ? found->second : flag;
}

TEST_F(Corpus, IsCalledAsAnotherProgramCallsIt) {
    std::map<std::string, Row> table; // one file may be for the machines of all folders
    for (const CorpusFolder& folder : folders) {
        for (const Row& row : readTable(folder.path + "/names.tsv")) {
            table[row.at("file")] = row;
        }
    }
    Disagreements names;
    std::size_t compared = 0;
    for (const CorpusFolder& folder : folders) {
        for (const std::string& file : folder.files) {
            const auto row = table.find(file);
            if (row == table.end()) {
                continue;
            }
            const auto said = [&row](const char* column) { return row->second.at(column); };
            const ProcessorNames ours = namesOf(firstOf(folder.path + "/" + file));
            names.expectNamed(file, "microarchitecture", ours.microarchitecture,
                              {said("cpuid_microarchitecture"), said("cpuid_synth")});
            names.expectNamed(file, "codename", ours.codename,
                              {said("cpuid_synth"), said("libcpuid_codename"), said("recorder_alias")});
            names.expectNamed(file, "process", ours.process, {said("cpuid_process"), said("libcpuid_technology")});
            names.expectRevision(file, std::string(ours.revision), said("cpuid_synth"));
            ++compared;
        }
    }
    EXPECT_EQ(compared == 0, table.empty());
    if (compared == table.size()) { // else a part of the machines alone
        names.expectAllNeeded();
    }
    std::cout << compared << " machines' names compared, " << names.revisions() << " with the revision\n";
}

TEST_F(Corpus, HasEveryFlagThatAnotherProgramLists) {
    std::size_t compared = 0;
    for (const CorpusFolder& folder : folders) {
        for (const Row& row : readTable(folder.path + "/flags.tsv")) {
            const FeatureSet ours = firstOf(folder.path + "/" + row.at("file")).identity->features;
            std::istringstream flags(row.at("linux_style_flags_of_cpu_0"));
            for (std::string flag; flags >> flag; ++compared) {
                EXPECT_TRUE(ours.contains(ourName(flag))) << row.at("file") << ": " << flag;
            }
        }
    }
    std::cout << compared << " flags compared\n";
}

} // namespace
