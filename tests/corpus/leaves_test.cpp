// How much of what the processors of the corpus answer has a name, and which set bits have none.

#include <libQuarrow/recording/formats/RecordingFile.h>
#include <tests/corpus/CorpusTest.h>

#include <libQuarrow/topology/leaves/ProcessorLeaves.h>

#include <cstdio>
#include <iostream>
#include <map>
#include <tuple>

using namespace libQuarrow;

namespace {

using topology::CpuidAnswer;

// A bit of a register: leaf, sub-leaf, register, number.
struct Bit {
    std::uint32_t leaf;
    std::uint32_t subleaf;
    unsigned int reg;
    unsigned int number;

    friend bool operator<(const Bit& a, const Bit& b) {
        return std::tie(a.leaf, a.subleaf, a.reg, a.number) < std::tie(b.leaf, b.subleaf, b.reg, b.number);
    }
};

std::string textOf(const Bit& bit) {
    char text[64];
    std::snprintf(text, sizeof text, "0x%X.%u %s %u", bit.leaf, bit.subleaf,
                  topology::nameOf(static_cast<topology::LeafRegister>(bit.reg)), bit.number);
    return text;
}

struct Counted {
    std::size_t set = 0;
    std::map<Bit, std::set<std::string>> unknown; // and the files that have it
    std::size_t unknownCount = 0;
};

void count(const std::string& file, const topology::ProcessorLeaves& leaves, Counted& counted) {
    for (const CpuidAnswer& answer : leaves.answers()) {
        const auto unknown = leaves.describe(answer).unknown;
        for (unsigned int reg = 0; reg < 4; ++reg) {
            const std::uint32_t value = valueOf(answer, static_cast<topology::LeafRegister>(reg));
            for (unsigned int bit = 0; bit < 32; ++bit) {
                counted.set += value >> bit & 1;
                if ((unknown[reg] >> bit & 1) != 0) {
                    ++counted.unknownCount;
                    counted.unknown[{answer.leaf, answer.subleaf, reg, bit}].insert(file);
                }
            }
        }
    }
}

topology::ProcessorLeaves leavesOf(const os::RecordedProcessor& processor) {
    std::vector<CpuidAnswer> answers;
    for (const auto& [place, registers] : processor.leaves) {
        answers.push_back({place.first, place.second, registers.eax, registers.ebx, registers.ecx, registers.edx});
    }
    return {0, std::move(answers)};
}

TEST_F(Corpus, AlmostEverySetBitHasAName) {
    Counted counted;
    for (const CorpusFolder& folder : folders) {
        for (const std::string& file : folder.files) {
            os::RecordingError error;
            const auto recording = os::readRecording(folder.path + "/" + file, error);
            ASSERT_TRUE(recording) << error.message;
            for (const os::RecordedProcessor& processor : recording->processors) {
                count(file, leavesOf(processor), counted);
            }
        }
    }
    for (const auto& [bit, files] : counted.unknown) {
        std::cout << "no name: " << textOf(bit) << ", in " << files.size() << " files, as in " << *files.begin()
                  << "\n";
    }
    const double share = 1 - static_cast<double>(counted.unknownCount) / static_cast<double>(counted.set);
    std::cout << counted.set << " set bits, " << counted.unknownCount << " of them without a name: " << 100 * share
              << " % named\n";
    EXPECT_GE(share, 0.99);
}

} // namespace
