// What the enumerations are called, for people and for programs.

#include <libQuarrow/topology/Cache.h>
#include <libQuarrow/topology/CoreKind.h>
#include <libQuarrow/topology/Tlb.h>

namespace libQuarrow::topology {

const char* nameOf(CoreKind kind) {
    constexpr const char* names[] = {"performance", "efficient", "low power"};
    return names[static_cast<int>(kind)];
}

const char* nameOf(CacheType type) {
    constexpr const char* names[] = {"data", "instruction", "unified", "trace"};
    return names[static_cast<int>(type)];
}

const char* nameOf(TlbType type) {
    constexpr const char* names[] = {"data", "instruction", "unified", "load", "store"};
    return names[static_cast<int>(type)];
}

} // namespace libQuarrow::topology
