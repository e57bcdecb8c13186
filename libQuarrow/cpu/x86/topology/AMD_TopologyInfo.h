#pragma once

#include <libQuarrow/cpu/WinAffinity.h>
#include <zel/String.h>

#include <boost/optional.hpp>

#include <cstdint>
#include <map>
#include <vector>

// Private to the library: where the processors of an AMD machine sit, as their topology leaves say together.

namespace libQuarrow::cpu {

class CpuidReader;

// What one logical processor says of itself: leaf 0x8000001E (topology extensions) and leaf 0x80000008.
struct AmdTopologyEntry {
    WinAffinity affinity;                  // selects exactly this processor
    std::uint32_t extendedApicId = 0;      // 0x8000001E EAX
    std::uint32_t nodeId = 0;              // 0x8000001E ECX bits 0 to 7
    std::uint32_t coreId = 0;              // 0x8000001E EBX bits 0 to 7
    std::uint32_t nodesPerProcessor = 0;   // 0x8000001E ECX bits 8 to 10, plus 1
    std::uint32_t threadsPerCore = 0;      // 0x8000001E EBX bits 8 to 15, plus 1
    std::uint32_t packageThreads = 0;      // 0x80000008 ECX bits 0 to 7, plus 1
    boost::optional<std::uint32_t> socket; // socket and thread are numbered by AMD_TopologyInfo
    boost::optional<std::uint32_t> thread;

    // The entry of the processor that `cpuid` reads.
    static AmdTopologyEntry read(CpuidReader& cpuid, const WinAffinity& affinity);
};

// The entries of a machine, with sockets and threads numbered. Only read once it is made.
class AMD_TopologyInfo {
  public:
    // Whether a processor has the leaves.
    static bool isSupported(CpuidReader& cpuid);
    // The table of the current machine, made by the first caller, whose processor `cpuid` reads: the calling thread is
    // moved over every processor of `system` (null: as it is read then) and back. Empty where the leaves are missing.
    // A processor that the thread cannot be moved to at the second attempt either has no entry.
    static const AMD_TopologyInfo& get(CpuidReader& cpuid, const std::vector<GroupAffinity>* system);

    // Sorts and numbers `entries`, which may stand in any order.
    explicit AMD_TopologyInfo(std::vector<AmdTopologyEntry> entries);

    // By the text of a processor's affinity; null when there is none.
    const AmdTopologyEntry* find(const zel::String& affinity) const;

  private:
    AMD_TopologyInfo() = default;
    static AMD_TopologyInfo collect(CpuidReader& cpuid, const std::vector<GroupAffinity>* system);
    void number(std::vector<AmdTopologyEntry>& entries);
    zel::String mappingReport() const;

    std::map<zel::String, AmdTopologyEntry> m_entries; // by the text of the affinity
};

} // namespace libQuarrow::cpu
