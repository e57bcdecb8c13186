#pragma once

#include <libQuarrow/quarrow_export.h>
#include <libQuarrow/topology/Cache.h>
#include <libQuarrow/topology/Processor.h>
#include <libQuarrow/topology/ProcessorNumbering.h>
#include <libQuarrow/topology/ProcessorSet.h>
#include <libQuarrow/topology/Tlb.h>
#include <libQuarrow/topology/TopologyRequest.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace libQuarrow::topology {

// A NUMA node of the operating system.
struct NumaNode {
    std::uint32_t number = 0; // the operating system's own
    ProcessorSet processors;  // those that were visited; a node may have memory alone
};

// A whole machine: what its processors are, where they sit, and what they share.
//
// Taken in one visit of each processor, no CPUID leaf read twice there. From then on a value: it executes nothing, may
// be copied, and may be used by any number of threads at once. Whatever a processor or hypervisor tells, each processor
// is in one core, each core in one package, and no two processors are in one place.
class QUARROW_EXPORT Topology {
  public:
    // Of the current machine. The calling thread (or, `useThreadAffinity` false, the process) is moved to each
    // processor in turn and back. None when the processors cannot be listed. Those that cannot be visited are left out.
    static std::optional<Topology> read(bool useThreadAffinity = true);
    // The same, with what else is asked of each processor.
    static std::optional<Topology> read(const TopologyRequest& request);

    // Ascending numbers.
    const std::vector<Processor>& processors() const { return m_processors; }
    const std::vector<LeftOutProcessor>& leftOut() const { return m_leftOut; }
    // Null where there is none with that number.
    const Processor* find(std::uint32_t number) const;
    // By level, then type.
    const std::vector<Cache>& caches() const { return m_caches; }
    const std::vector<Tlb>& tlbs() const { return m_tlbs; }
    const ProcessorNumbering& numbering() const { return m_numbering; }
    // Why a model-specific register that speeds or limits needed could not be asked for, and what to do, in a line.
    // Empty where none was needed, and where they are within reach.
    const std::string& msrRefusal() const { return m_msrRefusal; }

    // The objects of each level, by number: set n is of the processors in object n. Empty where the machine does not
    // tell the level.
    const std::vector<ProcessorSet>& packages() const { return m_packages; }
    const std::vector<ProcessorSet>& dies() const { return m_dies; }
    const std::vector<ProcessorSet>& complexes() const { return m_complexes; }
    const std::vector<ProcessorSet>& modules() const { return m_modules; }
    const std::vector<ProcessorSet>& cores() const { return m_cores; }
    // Ascending numbers. Empty where the operating system does not tell.
    const std::vector<NumaNode>& numaNodes() const { return m_numaNodes; }

    // Queries. What there is not gives an empty set.
    ProcessorSet all() const;
    ProcessorSet ofKind(CoreKind kind) const;
    ProcessorSet ofNumaNode(std::uint32_t number) const;
    // The processors that share a cache of that level with this one, itself included: of the level's data or unified
    // cache, else of what else there is. None where it has no such cache or does not tell who shares it.
    std::optional<ProcessorSet> sharingCache(std::uint32_t number, std::uint32_t level) const;
    // Of `processors`, the lowest of each core: one thread of every performance core is
    // oneThreadPerCore(ofKind(CoreKind::performance)).
    ProcessorSet oneThreadPerCore(const ProcessorSet& processors) const;
    ProcessorSet oneThreadPerCore() const { return oneThreadPerCore(all()); }

  private:
    friend class TopologyBuilder;

    std::vector<Processor> m_processors;
    std::vector<LeftOutProcessor> m_leftOut;
    std::vector<Cache> m_caches;
    std::vector<Tlb> m_tlbs;
    std::vector<ProcessorSet> m_packages;
    std::vector<ProcessorSet> m_dies;
    std::vector<ProcessorSet> m_complexes;
    std::vector<ProcessorSet> m_modules;
    std::vector<ProcessorSet> m_cores;
    std::vector<NumaNode> m_numaNodes;
    ProcessorNumbering m_numbering;
    std::string m_msrRefusal;
};

} // namespace libQuarrow::topology
