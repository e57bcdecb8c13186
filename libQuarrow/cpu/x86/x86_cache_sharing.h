#pragma once

#include <libQuarrow/cpu/x86/x86_cache.h>
#include <libQuarrow/cpu/x86/x86_caches.h>
#include <libQuarrow/cpu/x86/x86_cpu.h>
#include <libQuarrow/cpu/x86/x86_physical_cpu.h>
#include <libQuarrow/quarrow_export.h>
#include <zel/Array.h>

#include <boost/optional.hpp>

#include <cstdint>
#include <map>
#include <vector>

namespace libQuarrow::cpu {

// The caches of one kind: of the same level, type, associativity, line size and size.
struct x86_cache_kind {
    x86_cache cache; // as the first processor that has one reported it
    // For each cache of this kind, the logical processors that use it, in the order in which they were given.
    // Incomplete unless instancesKnown.
    std::vector<std::vector<const x86_cpu*>> instances;
    // False where it is not known of all who shares them: the processors tell at most how many do
    // (cache.getThreadsSharing()), or hypervisors gave them IDs that do not fit.
    bool instancesKnown = true;
};

// Which logical processors share which cache.
//
// Each processor is asked once, on itself: when its answer is first needed, or, to save that visit, by read() while the
// thread is there anyhow (see x86_physical_cpus). Processors are remembered by their addresses and must stay where they
// are. An object is not locked.
class QUARROW_EXPORT x86_cache_sharing {
  public:
    // Asks the processor for its caches, and for its place among those that share them.
    void read(const x86_cpu& cpu) { placeOf(cpu); }

    // In ascending order of level and type. Empty where no processor tells any cache.
    std::vector<x86_cache_kind> kindsOf(const x86_physical_cpu& package);
    std::vector<x86_cache_kind> kindsOf(const zel::Array<x86_cpu>& cpus);
    std::vector<x86_cache_kind> kindsOf(const std::vector<const x86_cpu*>& cpus);

    // What x86_cpu::getCaches says; empty where that is false.
    const x86_caches& cachesOf(const x86_cpu& cpu);
    // x86_physical_cpu::getCaches by what is known here.
    bool cachesOf(const x86_physical_cpu& package, x86_caches& caches);

  private:
    // A node of an AMD package: a die with memory of its own.
    struct Node {
        std::uint32_t package;
        std::uint32_t number;
        std::uint32_t threads; // how many it has
    };
    struct Place {
        boost::optional<std::uint32_t> apicId;
        boost::optional<Node> node; // in packages of several
    };
    class Sorter;

    static boost::optional<Node> nodeOf(const x86_cpu& cpu);
    const Place& placeOf(const x86_cpu& cpu);

    std::map<const x86_cpu*, x86_caches> m_caches;
    std::map<const x86_cpu*, Place> m_places;
};

} // namespace libQuarrow::cpu
