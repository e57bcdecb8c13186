#pragma once

#include <cstddef>
#include <cstdint>
#include <set>

namespace libQuarrow::os {

// Failures that a recorded machine plays on demand. They may be changed between calls, not during them.
struct Faults {
    static constexpr unsigned int never = 0xFFFFFFFF;

    // Processors, by their index in the recording, that no thread can be pinned to.
    std::set<std::size_t> unpinnable;
    bool noAffinityBackend = false; // createAffinityAPI is null
    bool systemAffinityUnreadable = false;
    bool threadAffinityUnreadable = false;
    bool processAffinityUnreadable = false;
    // The n-th setting of an affinity in the machine's life (counted from 0, over all threads) fails; with 1 for the
    // first pin of all: putting back fails.
    unsigned int failingAffinitySet = never;
    bool noMsrDriver = false;
    bool noMemoryDriver = false;
    bool noPortDriver = false;
    std::set<std::uint32_t> failingMsrs; // both ways
    bool counterFrequencyUnreadable = false;
    unsigned int failingCounterRead = never; // the n-th reading of the counter in the machine's life, from 0
    bool priorityClassRefused = false;
};

} // namespace libQuarrow::os
