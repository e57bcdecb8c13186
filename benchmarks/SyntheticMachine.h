#pragma once

#include <libQuarrow/recording/Recording.h>

#include <cstddef>

namespace quarrow_bench {

// Which of the ways to find where a processor sits the machine takes.
enum class Layout {
    intel,    // each processor says it of itself (leaf 0xB)
    amdTable, // family 0x17: by a table of the whole machine
};

// A machine of that many processors, 64 in each group, two threads a core. Every processor has the leaves of a
// recording from tests/machines, except that it says where it sits.
libQuarrow::os::Recording syntheticMachine(Layout layout, std::size_t processors);

} // namespace quarrow_bench
