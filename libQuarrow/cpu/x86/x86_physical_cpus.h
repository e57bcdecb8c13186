#pragma once

#include <libQuarrow/cpu/x86/x86_physical_cpu.h>
#include <libQuarrow/cpu/x86/x86_shared_cpu.h>
#include <libQuarrow/quarrow_export.h>
#include <zel/Array.h>
#include <zel/String.h>

#include <cstddef>
#include <functional>

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
    // What is done with a processor while the thread is still there from reading it. It is given the very object that
    // getThread() gives later, so that what it learns can be kept under the object's address.
    using Visitor = std::function<void(const x86_cpu& cpu)>;
    // The same, with `visit` called for each processor, in the order of findLogicalCpus. Whatever it asks of the
    // processor (caches, speeds, registers) moves the thread no further: the whole takes one visit of each processor.
    // What it throws ends the reading, with the affinity put back.
    x86_physical_cpus(bool useThreadAffinity, const Visitor& visit);

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
