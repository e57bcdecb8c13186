#pragma once

#include <libQuarrow/cpu/AffinityAPI.h>
#include <libQuarrow/machine/Machine.h>
#include <tests/support/AffinityTexts.h>

#include <map>
#include <memory>
#include <stdexcept>
#include <utility>

// Another machine, with what it is asked to do counted.
class CountingMachine : public libQuarrow::os::Machine, private libQuarrow::os::Instructions {
  public:
    struct Counts {
        unsigned int cpuid = 0;
        std::map<std::pair<std::uint32_t, std::uint32_t>, unsigned int> cpuidOf; // by leaf and sub-leaf
        unsigned int affinityReads = 0;                                          // of the process and of threads
        unsigned int systemReads = 0;                                            // of the system's affinity
        std::vector<std::string> affinitySets;                                   // "thread 0:1", "process 0:f"
        unsigned int affinityBackends = 0;
    };

    explicit CountingMachine(libQuarrow::os::Machine& machine) : m_machine(machine) {}

    Counts counts;
    libQuarrow::os::Clock* clockInstead = nullptr;                        // null: the machine's own
    std::optional<std::pair<std::uint16_t, std::uint8_t>> currentInstead; // none: what the machine tells
    boost::optional<AffinityGroups> systemInstead; // the system's affinity, where it is not the machine's own

    libQuarrow::os::Instructions& instructions() override { return *this; }
    std::shared_ptr<libQuarrow::cpu::AffinityAPI> createAffinityAPI() override {
        ++counts.affinityBackends;
        auto api = m_machine.createAffinityAPI();
        return api ? std::make_shared<Affinities>(std::move(api), *this) : nullptr;
    }
    libQuarrow::os::Clock& clock() override { return clockInstead != nullptr ? *clockInstead : m_machine.clock(); }
    libKernelMode::DriverBackend& drivers() override { return m_machine.drivers(); }
    std::optional<libQuarrow::os::NumaNodes> numaNodes() override { return m_machine.numaNodes(); }
    libQuarrow::os::MicrocodeRevisions microcodeRevisions() override { return m_machine.microcodeRevisions(); }
    libQuarrow::os::SystemFrequencies frequencies(std::uint16_t group, std::uint8_t bit) override {
        return m_machine.frequencies(group, bit);
    }
    std::optional<std::pair<std::uint16_t, std::uint8_t>> currentProcessor() const override {
        return currentInstead ? currentInstead : m_machine.currentProcessor();
    }
    bool numbersProcessorsByGroup() const override { return m_machine.numbersProcessorsByGroup(); }
    pci::PciBackend& pciFunctions() override { return m_machine.pciFunctions(); }

  private:
    using WinAffinity = libQuarrow::cpu::WinAffinity;

    struct Affinities final : libQuarrow::cpu::AffinityAPI {
        Affinities(std::shared_ptr<AffinityAPI> counted, CountingMachine& owner)
            : api(std::move(counted)), machine(owner) {}
        bool setProcessAffinity(const WinAffinity& affinity) override {
            machine.counts.affinitySets.push_back("process " + brief(affinity));
            return api->setProcessAffinity(affinity);
        }
        bool setThreadAffinity(const WinAffinity& affinity) override {
            machine.counts.affinitySets.push_back("thread " + brief(affinity));
            return api->setThreadAffinity(affinity);
        }
        bool supportsCpuGroups() const override { return api->supportsCpuGroups(); }
        AffinityGroups systemAffinity() override {
            ++machine.counts.systemReads;
            return machine.systemInstead.value_or(api->systemAffinity());
        }
        AffinityGroups processAffinity() override { return ++machine.counts.affinityReads, api->processAffinity(); }
        AffinityGroups threadAffinity() override { return ++machine.counts.affinityReads, api->threadAffinity(); }

        std::shared_ptr<AffinityAPI> api;
        CountingMachine& machine;
    };

    void cpuid(libQuarrow::cpu::cpuid_args& registers) override {
        ++counts.cpuid;
        ++counts.cpuidOf[{registers.eax, registers.ecx}];
        m_machine.instructions().cpuid(registers);
    }
    std::uint64_t rdtsc() override { return m_machine.instructions().rdtsc(); }
    // Without OSXSAVE in leaf 1, or with another index, a processor may end the program.
    std::uint64_t xgetbv(std::uint32_t index) override {
        libQuarrow::cpu::cpuid_args leaf1{1, 0, 0, 0};
        m_machine.instructions().cpuid(leaf1);
        if ((leaf1.ecx >> 27 & 1) == 0 || index != 0) {
            throw std::logic_error("XGETBV that is not allowed");
        }
        return m_machine.instructions().xgetbv(index);
    }
    bool cpuidBitToggles() override { return m_machine.instructions().cpuidBitToggles(); }

    libQuarrow::os::Machine& m_machine;
};
