#include <libQuarrow/cpu/AffinityMask.h>

#include <libQuarrow/cpu/ScopedAffinity.h>

namespace libQuarrow::cpu {
namespace {

boost::optional<AffinityMask> wrap(boost::optional<WinAffinity> affinity) {
    return affinity ? boost::optional<AffinityMask>(std::move(*affinity)) : boost::none;
}

bool store(boost::optional<WinAffinity> affinity, AffinityMask& mask) {
    if (affinity) {
        mask = std::move(*affinity);
    }
    return affinity.has_value();
}

} // namespace

AffinityMask AffinityMask::operator|(const AffinityMask& other) const {
    return m_affinity | other.m_affinity;
}

AffinityMask& AffinityMask::operator|=(const AffinityMask& other) {
    m_affinity |= other.m_affinity;
    return *this;
}

bool AffinityMask::getSystemAffinityMask(AffinityMask& mask) {
    return store(WinAffinity::systemAffinity(), mask);
}

bool AffinityMask::getProcessAffinityMask(AffinityMask& mask) {
    return store(WinAffinity::processAffinity(), mask);
}

bool AffinityMask::getThreadAffinityMask(AffinityMask& mask) {
    return store(WinAffinity::threadAffinity(), mask);
}

boost::optional<AffinityMask> AffinityMask::systemAffinityMask() {
    return wrap(WinAffinity::systemAffinity());
}

boost::optional<AffinityMask> AffinityMask::processAffinityMask() {
    return wrap(WinAffinity::processAffinity());
}

boost::optional<AffinityMask> AffinityMask::threadAffinityMask() {
    return wrap(WinAffinity::threadAffinity());
}

bool AffinityMask::getLogicalCpuNumber(unsigned int& number) const {
    const boost::optional<unsigned int> known = m_affinity.getLogicalCpuNumber();
    if (known) {
        number = *known;
    }
    return known.has_value();
}

void AffinityMask::getMaskPerLogicalDevice(zel::Array<WinAffinity>& masks) const {
    masks.clear();
    std::vector<WinAffinity> parts = m_affinity.split(WinAffinity::PerLogicalCpu);
    masks.reserve(parts.size());
    for (WinAffinity& part : parts) {
        masks.append(std::move(part));
    }
}

std::vector<WinAffinity> AffinityMask::maskPerLogicalCPU() const {
    return m_affinity.split(WinAffinity::PerLogicalCpu);
}

void AffinityMask::forEachLogicalCPU(std::function<void(const AffinityMask&)> visitor, bool thread) const {
    for (const WinAffinity& processor : maskPerLogicalCPU()) {
        const AffinityMask mask(processor);
        ScopedAffinity pin(mask, thread);
        pin.set(); // the visitor is called all the same when this fails
        visitor(mask);
    }
}

bool AffinityMask::fromString(const zel::String& text) {
    const boost::optional<WinAffinity> affinity = WinAffinity::fromString(text);
    if (affinity) {
        m_affinity = *affinity;
    }
    return affinity.has_value();
}

} // namespace libQuarrow::cpu
