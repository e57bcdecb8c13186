#pragma once

#include <libQuarrow/os/Machine.h>

#include <map>
#include <utility>

// Another machine, with what it is asked to do counted.
class CountingMachine : public libQuarrow::os::Machine, private libQuarrow::os::Instructions {
  public:
    struct Counts {
        unsigned int cpuid = 0;
        std::map<std::pair<std::uint32_t, std::uint32_t>, unsigned int> cpuidOf; // by leaf and sub-leaf
        unsigned int affinityReads = 0; // of the process and of threads; the system's is not counted
        unsigned int affinitySets = 0;
    };

    explicit CountingMachine(libQuarrow::os::Machine& machine) : m_machine(machine) {}

    Counts counts;

    libQuarrow::os::Instructions& instructions() override { return *this; }
    std::shared_ptr<libQuarrow::cpu::AffinityAPI> createAffinityAPI() override;
    libQuarrow::os::Clock& clock() override { return m_machine.clock(); }
    libKernelMode::DriverBackend& drivers() override { return m_machine.drivers(); }

  private:
    void cpuid(libQuarrow::cpu::cpuid_args& registers) override;
    std::uint64_t rdtsc() override { return m_machine.instructions().rdtsc(); }
    std::uint64_t xgetbv(std::uint32_t index) override { return m_machine.instructions().xgetbv(index); }
    bool cpuidBitToggles() override { return m_machine.instructions().cpuidBitToggles(); }

    libQuarrow::os::Machine& m_machine;
};
