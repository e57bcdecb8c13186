#pragma once

#include <libQuarrow/cpu/AffinityMask.h>
#include <libQuarrow/cpu/CpuTemperatureAccessorOwner.h>
#include <libQuarrow/cpu/x86/x86_cpu_location.h>
#include <libQuarrow/cpu/x86/x86_shared_cpu.h>
#include <libQuarrow/quarrow_export.h>

#include <cstddef>
#include <cstdint>

namespace libQuarrow::cpu {

// A core of a package and its hardware threads. Copies share the threads; each has a temperature accessor of its own.
//
// An index out of range, and get() of a core without threads (moved from), raise the assertion "index < size()".
class QUARROW_EXPORT x86_cpu_core {
  public:
    // The first thread's location, the thread unspecified.
    const x86_cpu_location& getLocation() const { return m_location; }
    std::uint32_t getCpuNumber() const { return get().getLocation().cpu; }
    std::uint32_t getCoreNumber() const { return get().getLocation().core; }

    x86_cpu& get() const { return getThread(0); }
    std::size_t getThreadCount() const { return m_threads.size(); }
    x86_cpu& getThread(std::size_t index) const { return *m_threads[index]; } // in ascending location order
    AffinityMask getAffinityMask() const;                                     // of all threads together

    // Null until set. The core owns what it is given and deletes the accessor that it had before; a copy of the core
    // has a clone, a move takes the accessor along.
    ICpuTemperatureAccessor* getTemperatureAccessor() const { return m_temperatureAccessor.get(); }
    void setTemperatureAccessor(ICpuTemperatureAccessor* accessor) { m_temperatureAccessor.set(accessor); }

  private:
    friend class x86_physical_cpu;
    friend class x86_physical_cpus;
    explicit x86_cpu_core(zel::Array<x86_shared_cpu> threads);
    static AffinityMask affinityOf(const zel::Array<x86_shared_cpu>& threads);

    x86_cpu_location m_location;
    zel::Array<x86_shared_cpu> m_threads;
    CpuTemperatureAccessorOwner m_temperatureAccessor;
};

} // namespace libQuarrow::cpu
