#pragma once

#include <libQuarrow/quarrow_export.h>

namespace libQuarrow::topology {

// What a core of a machine with several kinds of core is made for.
enum class CoreKind {
    performance, // Intel: leaf 0x1A, core type 0x40; AMD: leaf 0x80000026, core type 0
    efficient,   // Intel: core type 0x20; AMD: core type 1
    lowPower,    // Intel: an efficient core outside the L3 that the other cores share
};

// "performance", "efficient", "low power".
QUARROW_EXPORT const char* nameOf(CoreKind kind);

} // namespace libQuarrow::topology
