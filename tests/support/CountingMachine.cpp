#include <tests/support/CountingMachine.h>

#include <libQuarrow/cpu/AffinityAPI.h>

using namespace libQuarrow;

namespace {

using Groups = boost::optional<std::vector<cpu::GroupAffinity>>;

class CountingAffinityAPI : public cpu::AffinityAPI {
  public:
    CountingAffinityAPI(std::shared_ptr<AffinityAPI> api, CountingMachine::Counts& counts)
        : m_api(std::move(api)), m_counts(counts) {}

    bool setProcessAffinity(const cpu::WinAffinity& affinity) override {
        ++m_counts.affinitySets;
        return m_api->setProcessAffinity(affinity);
    }
    bool setThreadAffinity(const cpu::WinAffinity& affinity) override {
        ++m_counts.affinitySets;
        return m_api->setThreadAffinity(affinity);
    }
    bool supportsCpuGroups() const override { return m_api->supportsCpuGroups(); }
    Groups systemAffinity() override { return m_api->systemAffinity(); }
    Groups processAffinity() override {
        ++m_counts.affinityReads;
        return m_api->processAffinity();
    }
    Groups threadAffinity() override {
        ++m_counts.affinityReads;
        return m_api->threadAffinity();
    }

  private:
    std::shared_ptr<AffinityAPI> m_api;
    CountingMachine::Counts& m_counts;
};

} // namespace

std::shared_ptr<cpu::AffinityAPI> CountingMachine::createAffinityAPI() {
    std::shared_ptr<cpu::AffinityAPI> api = m_machine.createAffinityAPI();
    return api ? std::make_shared<CountingAffinityAPI>(std::move(api), counts) : nullptr;
}

void CountingMachine::cpuid(cpu::cpuid_args& registers) {
    ++counts.cpuid;
    ++counts.cpuidOf[{registers.eax, registers.ecx}];
    m_machine.instructions().cpuid(registers);
}
