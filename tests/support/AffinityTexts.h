#pragma once

#include <libQuarrow/cpu/AffinityMask.h>

#include <string>
#include <vector>

using AffinityGroups = boost::optional<std::vector<libQuarrow::cpu::GroupAffinity>>;

// An affinity in few characters, the masks hexadecimal and the groups as they stand: "0:ff 1:3"; "none" when absent.
inline std::string brief(const AffinityGroups& groups) {
    zel::Array<zel::String> pieces;
    for (const auto& entry : groups.value_or(AffinityGroups::value_type())) {
        pieces.append(zel::String::SprintfFormat("%u:%I64x", entry.group, entry.mask));
    }
    return groups ? zel::String::join(pieces, " ").toUtf8() : "none";
}
inline std::string brief(const libQuarrow::cpu::WinAffinity& affinity) {
    return brief(affinity.groups());
}
inline std::string brief(const libQuarrow::cpu::AffinityMask& mask) {
    return brief(mask.getAffinityData());
}
template <class T>
std::string brief(const boost::optional<T>& affinity) {
    return affinity ? brief(*affinity) : "none";
}
