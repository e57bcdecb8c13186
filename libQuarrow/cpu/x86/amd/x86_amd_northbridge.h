#pragma once

#include <boost/optional.hpp>

#include <cstdint>

// Private to the library: the northbridge of AMD families 0x10 to 0x16, device 0x18 and those after it on PCI bus 0,
// one for each node. All nodes of a machine are set up alike in what is read here, so the first one answers for all.

namespace libQuarrow::cpu {

// A register of a function of device 0x18. None when it cannot be read, or where another maker's device sits there, as
// under a hypervisor.
boost::optional<std::uint32_t> readAmdNorthbridge(std::uint8_t function, std::uint32_t offset);

} // namespace libQuarrow::cpu
