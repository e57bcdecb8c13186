#pragma once

#include <libQuarrow/cpu/WinAffinity.h>
#include <libQuarrow/quarrow_export.h>
#include <zel/Array.h>

#include <boost/optional.hpp>

#include <functional>
#include <utility>
#include <vector>

namespace libQuarrow::cpu {

// The library's affinity type: one WinAffinity with readers, splitting and a visitor.
class QUARROW_EXPORT AffinityMask {
  public:
    AffinityMask() = default; // empty
    AffinityMask(WinAffinity affinity) : m_affinity(std::move(affinity)) {}

    bool operator==(const AffinityMask& other) const { return m_affinity == other.m_affinity; }
    bool operator!=(const AffinityMask& other) const { return !(*this == other); }
    AffinityMask operator|(const AffinityMask& other) const;
    AffinityMask& operator|=(const AffinityMask& other);

    const WinAffinity& getAffinityData() const { return m_affinity; }

    // False, with `mask` unchanged, when the affinity cannot be read.
    static bool getSystemAffinityMask(AffinityMask& mask);
    static bool getProcessAffinityMask(AffinityMask& mask);
    static bool getThreadAffinityMask(AffinityMask& mask);
    static boost::optional<AffinityMask> systemAffinityMask();
    static boost::optional<AffinityMask> processAffinityMask();
    static boost::optional<AffinityMask> threadAffinityMask();

    bool getLogicalCpuNumber(unsigned int& number) const;
    // One value per processor, ascending group, then bit.
    void getMaskPerLogicalDevice(zel::Array<WinAffinity>& masks) const;
    std::vector<WinAffinity> maskPerLogicalCPU() const;
    // Calls `visitor` once for every processor of this mask, with the thread (or, `thread` false, the process) pinned
    // to it. It is called for a processor that could not be pinned too, and cannot tell.
    void forEachLogicalCPU(std::function<void(const AffinityMask&)> visitor, bool thread) const;

    bool setProcessAffinity() const { return m_affinity.setProcessAffinity(); }
    bool setThreadAffinity() const { return m_affinity.setThreadAffinity(); }

    zel::String toString() const { return m_affinity.toString(); }
    // False, with the value unchanged, when `text` is no affinity.
    bool fromString(const zel::String& text);

  private:
    WinAffinity m_affinity;
};

} // namespace libQuarrow::cpu
