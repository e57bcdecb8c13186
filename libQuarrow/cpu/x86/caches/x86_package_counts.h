#pragma once

#include <boost/optional.hpp>

#include <cstdint>

// Private to the library.

namespace libQuarrow::cpu {

// What a package holds: cores, and the threads of all of them. No cores: it is not known.
struct x86_package_counts {
    std::uint32_t cores = 0;
    std::uint32_t threads = 0;

    // How many threads each core has; 0 where there are fewer threads than cores. None where it is not known how many
    // cores there are.
    boost::optional<std::uint32_t> threadsPerCore() const {
        return cores == 0 ? boost::optional<std::uint32_t>() : threads / cores;
    }
};

} // namespace libQuarrow::cpu
