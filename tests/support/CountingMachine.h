#pragma once

#include <libQuarrow/cpu/AffinityAPI.h>
#include <libQuarrow/os/Machine.h>

#include <map>
#include <memory>
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
    libQuarrow::os::Clock* clockInstead = nullptr; // null: the machine's own

    libQuarrow::os::Instructions& instructions() override { return *this; }
    std::shared_ptr<libQuarrow::cpu::AffinityAPI> createAffinityAPI() override {
        auto api = m_machine.createAffinityAPI();
        return api ? std::make_shared<Affinities>(std::move(api), counts) : nullptr;
    }
    libQuarrow::os::Clock& clock() override { return clockInstead != nullptr ? *clockInstead : m_machine.clock(); }
    libKernelMode::DriverBackend& drivers() override { return m_machine.drivers(); }

  private:
    using WinAffinity = libQuarrow::cpu::WinAffinity;
    using Groups = boost::optional<std::vector<libQuarrow::cpu::GroupAffinity>>;

    struct Affinities final : libQuarrow::cpu::AffinityAPI {
        Affinities(std::shared_ptr<AffinityAPI> counted, Counts& countedIn)
            : api(std::move(counted)), counts(countedIn) {}
        bool setProcessAffinity(const WinAffinity& affinity) override {
            return ++counts.affinitySets, api->setProcessAffinity(affinity);
        }
        bool setThreadAffinity(const WinAffinity& affinity) override {
            return ++counts.affinitySets, api->setThreadAffinity(affinity);
        }
        bool supportsCpuGroups() const override { return api->supportsCpuGroups(); }
        Groups systemAffinity() override { return api->systemAffinity(); }
        Groups processAffinity() override { return ++counts.affinityReads, api->processAffinity(); }
        Groups threadAffinity() override { return ++counts.affinityReads, api->threadAffinity(); }

        std::shared_ptr<AffinityAPI> api;
        Counts& counts;
    };

    void cpuid(libQuarrow::cpu::cpuid_args& registers) override {
        ++counts.cpuid;
        ++counts.cpuidOf[{registers.eax, registers.ecx}];
        m_machine.instructions().cpuid(registers);
    }
    std::uint64_t rdtsc() override { return m_machine.instructions().rdtsc(); }
    std::uint64_t xgetbv(std::uint32_t index) override { return m_machine.instructions().xgetbv(index); }
    bool cpuidBitToggles() override { return m_machine.instructions().cpuidBitToggles(); }

    libQuarrow::os::Machine& m_machine;
};
