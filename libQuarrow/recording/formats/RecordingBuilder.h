#pragma once

#include <libQuarrow/recording/Recording.h>

#include <boost/optional.hpp>

#include <array>
#include <string>
#include <vector>

// Private to the library: puts a recording together from the lines of a dump, in the order in which they come.

namespace libQuarrow::os {

class RecordingBuilder {
  public:
    // What a heading says of the processor whose values follow. All may be missing.
    struct Heading {
        boost::optional<std::uint32_t> number; // from 0
        struct Place {
            std::size_t group;
            std::uint8_t bit;
            // 0: the group is as it stands. Otherwise it counts the fields of an affinity mask from the left.
            std::size_t maskFields;
        };
        boost::optional<Place> place;
    };

    // The next leaf begins a processor. Two headings without values between them count as one.
    void heading(const Heading& heading);
    // Begins a processor at once, with or without values to come.
    void beginProcessor();

    // A leaf of the processor at hand; leaf 0 once more begins the next processor. Where the sub-leaf is not known, the
    // n-th line of a leaf that has sub-leaves is sub-leaf n. False when it was there already: the first one stays.
    bool addLeaf(std::uint32_t leaf, boost::optional<std::uint32_t> subleaf, const cpu::cpuid_args& registers);
    // The processor at hand.
    RecordedProcessor& processor() { return m_recording.processors.back(); }
    bool hasProcessor() const { return !m_recording.processors.empty(); }
    // An MSR of the processor with that number, or of the first one; the first value of an MSR stays.
    void addMsr(boost::optional<std::uint32_t> processorNumber, std::uint32_t msr, std::uint64_t value);
    Recording& recording() { return m_recording; }

    // Whether more processors came than are read.
    bool tooManyProcessors() const { return m_tooMany; }
    // The recording. Processors are placed as their headings say (number n: bit n % 64 of group n / 64), or, where two
    // would be at one place or a place is impossible, by their order in the file.
    Recording finish();

  private:
    struct OrdinalLeaf {
        std::uint32_t leaf;
        std::uint32_t lines; // of the processor at hand
    };
    boost::optional<std::uint32_t> nextSubleaf(std::uint32_t leaf, const boost::optional<std::uint32_t>& given);
    bool placeByHeadings();
    void placeByOrder();
    void placeMsrs();

    Recording m_recording;
    std::vector<Heading> m_headings; // of the processors, index for index
    Heading m_pending;
    bool m_processorDue = true;
    bool m_tooMany = false;
    std::map<boost::optional<std::uint32_t>, std::map<std::uint32_t, std::uint64_t>> m_msrs;
    // Leaves whose lines a dump lists in the order of their sub-leaves.
    std::array<OrdinalLeaf, 5> m_ordinals{{{0x4, 0}, {0x7, 0}, {0xB, 0}, {0x1F, 0}, {0x8000001D, 0}}};
};

// Whether there is a leaf at all.
bool hasValues(const Recording& recording);

} // namespace libQuarrow::os
