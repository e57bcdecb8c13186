#pragma once

#include <libQuarrow/cpu/x86/x86_physical_cpu.h>
#include <libQuarrow/cpu/x86/x86_shared_cpu.h>
#include <libQuarrow/quarrow_export.h>
#include <zel/Array.h>
#include <zel/String.h>

#include <cstddef>

namespace libQuarrow::cpu {

// The machine as a tree: packages, their cores, and the hardware threads of each core, all in ascending order of
// location and numbered by their place in that order. Copies share the threads.
//
// An index out of range raises the assertion "index < size()".
class QUARROW_EXPORT x86_physical_cpus {
  public:
    // Reads every logical processor of the system; see x86_cpu::findLogicalCpus for `useThreadAffinity`. Empty when the
    // system's processors cannot be read.
    explicit x86_physical_cpus(bool useThreadAffinity);

    std::size_t size() const { return m_packages.size(); }
    x86_physical_cpu& operator[](std::size_t index) { return m_packages[index]; }
    const x86_physical_cpu& operator[](std::size_t index) const { return m_packages[index]; }
    // Of the whole machine.
    std::size_t getThreadCount() const { return m_threads.size(); }
    x86_cpu& getThread(std::size_t index) const { return *m_threads[index]; }

    zel::String toString() const; // the report

  private:
    x86_physical_cpu makePackage(std::size_t begin, std::size_t end) const;
    zel::Array<x86_shared_cpu> threads(std::size_t begin, std::size_t end) const;
    std::size_t endOfRun(std::size_t begin, std::size_t end, std::uint32_t depth) const;

    zel::Array<x86_physical_cpu> m_packages;
    zel::Array<x86_shared_cpu> m_threads;
};

} // namespace libQuarrow::cpu
