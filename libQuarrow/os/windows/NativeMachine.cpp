#include <libQuarrow/machine/Machine.h>

#include <libKernelMode/DriverBackend.h>
#include <libQuarrow/os/InstructionRoutines.h>
#include <libQuarrow/os/windows/CpuNumaAPI.h>
#include <libQuarrow/os/windows/cpu/x86/WinGroupAffinityAPI.h>
#include <libQuarrow/os/windows/cpu/x86/WinLegacyAffinityAPI.h>

namespace libQuarrow::os {
namespace {

class NativeClock final : public Clock {
  public:
    bool frequency(std::uint64_t& countsPerSecond) override {
        return read(&::QueryPerformanceFrequency, countsPerSecond);
    }
    bool counter(std::uint64_t& counts) override { return read(&::QueryPerformanceCounter, counts); }

    bool priorityClass(std::uint32_t& value) override {
        const DWORD current = ::GetPriorityClass(GetCurrentProcess());
        if (current != 0) {
            value = current;
        }
        return current != 0;
    }
    bool setPriorityClass(std::uint32_t value) override {
        return ::SetPriorityClass(GetCurrentProcess(), value) != FALSE;
    }

  private:
    template <class Query>
    static bool read(Query query, std::uint64_t& value) {
        LARGE_INTEGER number{};
        if (query(&number) == FALSE) {
            return false;
        }
        value = static_cast<std::uint64_t>(number.QuadPart);
        return true;
    }
};

class NativeMachine final : public Machine {
  public:
    Instructions& instructions() override { return m_instructions; }
    std::shared_ptr<cpu::AffinityAPI> createAffinityAPI() override {
        if (auto groups = cpu::CpuGroupAPI::create()) {
            return std::make_shared<cpu::WinGroupAffinityAPI>(*groups);
        }
        if (auto legacy = cpu::CpuLegacyAPI::create()) {
            return std::make_shared<cpu::WinLegacyAffinityAPI>(*legacy);
        }
        return nullptr;
    }
    Clock& clock() override { return m_clock; }
    libKernelMode::DriverBackend& drivers() override { return libKernelMode::nativeDriverBackend(); }
    std::optional<NumaNodes> numaNodes() override { return CpuNumaAPI().nodes(); }
    bool numbersProcessorsByGroup() const override { return true; }

  private:
    InstructionRoutines m_instructions;
    NativeClock m_clock;
};

} // namespace

Machine& nativeMachine() {
    static NativeMachine machine;
    return machine;
}

} // namespace libQuarrow::os
