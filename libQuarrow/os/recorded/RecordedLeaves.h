#pragma once

#include <libQuarrow/recording/Recording.h>

// Private to the library: the leaves of a recorded processor.

namespace libQuarrow::os {

// As it stands in the recording; null when it does not.
const cpu::cpuid_args* findLeaf(const RecordedProcessor& processor, std::uint32_t leaf, std::uint32_t subleaf);
// What CPUID stores on that processor for any leaf and sub-leaf.
cpu::cpuid_args answerOf(const RecordedProcessor& processor, std::uint32_t leaf, std::uint32_t subleaf);

} // namespace libQuarrow::os
