#pragma once

#include <libQuarrow/cpu/AffinityMask.h>
#include <libQuarrow/cpu/CpuTemperatureAccessorOwner.h>
#include <libQuarrow/cpu/x86/x86_cpu_core.h>
#include <libQuarrow/cpu/x86/x86_cpu_location.h>
#include <libQuarrow/cpu/x86/x86_shared_cpu.h>
#include <libQuarrow/quarrow_export.h>

#include <cstddef>
#include <cstdint>
#include <functional>

namespace libQuarrow::cpu {

class x86_caches;

// A physical package, its cores and their threads. Copies share the threads; each has temperature accessors of its own.
//
// An index out of range, and get() of a package without threads (moved from), raise the assertion "index < size()".
class QUARROW_EXPORT x86_physical_cpu {
  public:
    // The first thread's location, core and thread unspecified.
    const x86_cpu_location& getLocation() const { return m_location; }
    std::uint32_t getChassisNumber() const { return get().getLocation().chassis; }
    std::uint32_t getNodeNumber() const { return get().getLocation().node; }
    std::uint32_t getCpuNumber() const { return get().getLocation().cpu; }

    x86_cpu& get() const { return m_cores[0].get(); } // the first thread of the first core
    std::size_t getCoreCount() const { return m_cores.size(); }
    x86_cpu_core& getCore(std::size_t index) { return m_cores[index]; } // in ascending location order
    const x86_cpu_core& getCore(std::size_t index) const { return m_cores[index]; }
    std::size_t getThreadCount() const { return m_threads.size(); }           // of all cores
    x86_cpu& getThread(std::size_t index) const { return *m_threads[index]; } // in ascending location order
    AffinityMask getAffinityMask() const;                                     // of all threads together

    // Replaces `caches` by the package's caches: one record for each kind, which counts its instances. Each core's
    // first thread is asked. False, with `caches` unchanged, when of one of them it is not known who shares it.
    bool getCaches(x86_caches& caches) const;
    // The same by what `cachesOf` says of a processor, where that was asked before.
    bool getCaches(x86_caches& caches, const std::function<x86_caches(const x86_cpu& cpu)>& cachesOf) const;

    // Null until set. The package owns what it is given and deletes the accessor that it had before; a copy of the
    // package has a clone, a move takes the accessor along.
    ICpuTemperatureAccessor* getTemperatureAccessor() const { return m_temperatureAccessor.get(); }
    void setTemperatureAccessor(ICpuTemperatureAccessor* accessor) { m_temperatureAccessor.set(accessor); }

  private:
    friend class x86_physical_cpus;
    x86_physical_cpu(zel::Array<x86_cpu_core> cores, zel::Array<x86_shared_cpu> threads);

    x86_cpu_location m_location;
    zel::Array<x86_cpu_core> m_cores;
    zel::Array<x86_shared_cpu> m_threads;
    CpuTemperatureAccessorOwner m_temperatureAccessor;
};

} // namespace libQuarrow::cpu
