#pragma once

#include <libKernelMode/DriverBackend.h>
#include <libQuarrow/os/recorded/RecordedMachine.h>
#include <libQuarrow/os/recorded/RecordedPins.h>

#include <atomic>
#include <memory>
#include <mutex>

// Private to the library: what a recorded machine is made of.

namespace libQuarrow::os {

class RecordedMachineState : public Instructions,
                             public Clock,
                             public libKernelMode::DriverBackend,
                             public std::enable_shared_from_this<RecordedMachineState> {
  public:
    explicit RecordedMachineState(Recording recorded)
        : recording(std::move(recorded)), holdsMsrs(anyMsr(recording)), pins(recording, faults),
          m_tscHertz(statedTscHertz().value_or(defaultTscHertz)) {}

    void cpuid(cpu::cpuid_args& registers) override;
    std::uint64_t rdtsc() override;
    std::uint64_t xgetbv(std::uint32_t index) override;
    bool cpuidBitToggles() override;

    bool frequency(std::uint64_t& countsPerSecond) override;
    bool counter(std::uint64_t& counts) override;
    bool priorityClass(std::uint32_t& value) override;
    bool setPriorityClass(std::uint32_t value) override;

    // What they open may outlive the machine.
    std::unique_ptr<libKernelMode::MsrAccess> openMsr(std::string& reason) override;
    std::unique_ptr<libKernelMode::MemoryAccess> openMemory(std::string& reason) override;
    std::unique_ptr<libKernelMode::PortAccess> openPorts(std::string& reason) override;

    // The time-stamp counter's rate, where the recording tells it.
    boost::optional<std::uint64_t> statedTscHertz() const;
    // The processor that the calling thread is on; null when the recording has none.
    RecordedProcessor* processor();

    Recording recording;
    const bool holdsMsrs; // of any processor; writing adds none
    std::mutex writing;   // guards the MSRs, memory and ports of the recording
    Faults faults;
    RecordedPins pins;

  private:
    static constexpr std::uint64_t defaultTscHertz = 1'000'000'000;
    static bool anyMsr(const Recording& recording);

    std::uint64_t m_tscHertz;
    std::atomic<std::uint64_t> m_seconds{1}; // virtual time
    std::atomic<unsigned int> m_counterReads{0};
    std::atomic<std::uint32_t> m_priorityClass{0x20}; // the value that Windows gives its normal class
};

} // namespace libQuarrow::os
