#include <libQuarrow/cpu/WinAffinity.h>

#include <libQuarrow/cpu/LogicalCpuNumbers.h>
#include <zel/Array.h>

#include <algorithm>
#include <bitset>
#include <map>

namespace libQuarrow::cpu {
namespace {

constexpr unsigned int processorsPerGroup = 64;

bool inOrder(const GroupAffinity& a, const GroupAffinity& b) {
    return a.group < b.group;
}

// Most values are made of a list that is normal already.
bool isNormal(const std::vector<GroupAffinity>& groups) {
    const auto outOfOrder = [](const GroupAffinity& a, const GroupAffinity& b) { return !inOrder(a, b); };
    return std::adjacent_find(groups.begin(), groups.end(), outOfOrder) == groups.end() &&
           std::all_of(groups.begin(), groups.end(), [](const GroupAffinity& entry) { return entry.mask != 0; });
}

} // namespace

WinAffinity::WinAffinity() : m_api(getAffinityAPI()) {}

WinAffinity::WinAffinity(std::uint64_t group0Mask) : WinAffinity(std::vector{GroupAffinity(0, group0Mask)}) {}

WinAffinity::WinAffinity(std::vector<GroupAffinity> groups) : WinAffinity(std::move(groups), getAffinityAPI()) {}

WinAffinity::WinAffinity(std::vector<GroupAffinity> groups, std::shared_ptr<AffinityAPI> api)
    : m_groups(std::move(groups)), m_api(std::move(api)) {
    normalize();
}

std::shared_ptr<AffinityAPI> WinAffinity::getAffinityAPI() {
    return AffinityAPI::create();
}

void WinAffinity::normalize() {
    if (isNormal(m_groups)) {
        return;
    }
    std::sort(m_groups.begin(), m_groups.end(), inOrder);
    std::vector<GroupAffinity> merged;
    merged.reserve(m_groups.size());
    for (const GroupAffinity& entry : m_groups) {
        if (entry.mask == 0) {
            continue;
        }
        if (!merged.empty() && merged.back().group == entry.group) {
            merged.back().mask |= entry.mask;
        } else {
            merged.push_back(entry);
        }
    }
    m_groups = std::move(merged);
}

bool WinAffinity::operator==(const WinAffinity& other) const {
    return m_groups == other.m_groups;
}

WinAffinity WinAffinity::operator|(const WinAffinity& other) const {
    WinAffinity result(*this);
    result |= other;
    return result;
}

WinAffinity& WinAffinity::operator|=(const WinAffinity& other) {
    std::vector<GroupAffinity> both = m_groups;
    both.insert(both.end(), other.m_groups.begin(), other.m_groups.end());
    // In normal form before it is stored: where memory runs out on the way, this value stays as it was.
    WinAffinity joined(std::move(both), m_api);
    m_groups = std::move(joined.m_groups);
    return *this;
}

WinAffinity WinAffinity::operator&(const WinAffinity& other) const {
    std::map<std::uint16_t, std::uint64_t> masks;
    for (const GroupAffinity& entry : m_groups) {
        masks.emplace(entry.group, entry.mask);
    }
    std::vector<GroupAffinity> common;
    for (const GroupAffinity& entry : other.m_groups) {
        const auto own = masks.find(entry.group);
        if (own != masks.end()) {
            common.emplace_back(entry.group, own->second & entry.mask);
        }
    }
    return WinAffinity(std::move(common));
}

WinAffinity& WinAffinity::operator&=(const WinAffinity& other) {
    return *this = *this & other;
}

std::vector<WinAffinity> WinAffinity::split(SplitType type) const {
    std::vector<WinAffinity> parts;
    if (type == PerGroup) {
        for (const GroupAffinity& entry : m_groups) {
            parts.push_back(WinAffinity(std::vector{entry}));
        }
    } else if (type == PerLogicalCpu) {
        parts.reserve(logicalCpuCount());
        for (const GroupAffinity& entry : m_groups) {
            for (std::uint64_t rest = entry.mask; rest != 0; rest &= rest - 1) {
                parts.push_back(WinAffinity(std::vector{GroupAffinity(entry.group, rest & (~rest + 1))}));
            }
        }
    }
    return parts;
}

std::uint32_t WinAffinity::logicalCpuCount() const {
    std::uint32_t count = 0;
    for (const GroupAffinity& entry : m_groups) {
        count += static_cast<std::uint32_t>(std::bitset<processorsPerGroup>(entry.mask).count());
    }
    return count;
}

boost::optional<unsigned int> WinAffinity::getLogicalCpuNumber() const {
    return LogicalCpuNumbers(m_api).of(m_groups);
}

bool WinAffinity::supportsCpuGroups() const {
    return m_api != nullptr && m_api->supportsCpuGroups();
}

bool WinAffinity::setProcessAffinity() const {
    return m_api != nullptr && m_api->setProcessAffinity(*this);
}

bool WinAffinity::setThreadAffinity() const {
    return m_api != nullptr && m_api->setThreadAffinity(*this);
}

boost::optional<WinAffinity> WinAffinity::read(boost::optional<std::vector<GroupAffinity>> (AffinityAPI::*reader)()) {
    std::shared_ptr<AffinityAPI> api = getAffinityAPI();
    auto groups = api != nullptr ? (*api.*reader)() : boost::none;
    if (!groups) {
        return boost::none;
    }
    // A backend may remember more of what it read than the list can say, and needs that to put it back exactly.
    return WinAffinity(std::move(*groups), std::move(api));
}

boost::optional<WinAffinity> WinAffinity::systemAffinity() {
    return read(&AffinityAPI::systemAffinity);
}

boost::optional<WinAffinity> WinAffinity::processAffinity() {
    return read(&AffinityAPI::processAffinity);
}

boost::optional<WinAffinity> WinAffinity::threadAffinity() {
    return read(&AffinityAPI::threadAffinity);
}

zel::String WinAffinity::toString() const {
    static const std::vector<GroupAffinity> empty{GroupAffinity()};
    zel::Array<zel::String> pieces;
    for (const GroupAffinity& entry : m_groups.empty() ? empty : m_groups) {
        const zel::String mask = zel::String::SprintfFormat("%016I64Xh", entry.mask);
        pieces.append(zel::String::SprintfFormat("%u%s%s", entry.group, ":", mask.getLowerByteString()));
    }
    return zel::String::join(pieces, "/");
}

boost::optional<WinAffinity> WinAffinity::fromString(const zel::String& text) {
    std::vector<GroupAffinity> groups;
    for (const zel::String& piece : text.split("/")) {
        const zel::Array<zel::String> fields = piece.split(":");
        GroupAffinity entry;
        if (fields.size() != 2 || !fields[0].toUint16(entry.group) || !fields[1].toUint64(entry.mask)) {
            return boost::none;
        }
        groups.push_back(entry);
    }
    if (groups.empty()) {
        return boost::none;
    }
    return WinAffinity(std::move(groups));
}

} // namespace libQuarrow::cpu
