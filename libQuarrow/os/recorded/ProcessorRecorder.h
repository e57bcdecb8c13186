#pragma once

#include <libQuarrow/machine/Machine.h>
#include <libQuarrow/recording/Recording.h>

namespace libQuarrow::os {

// Private to the library: writes down what CPUID and XGETBV answer on the processor that the thread is pinned to.
class ProcessorRecorder {
  public:
    // Its leaves and XCR0, its place left at 0. To be called once.
    RecordedProcessor record();

  private:
    cpu::cpuid_args read(std::uint32_t leaf, std::uint32_t subleaf);
    void add(std::uint32_t leaf, std::uint32_t subleaf, const cpu::cpuid_args& registers);
    void recordRange(std::uint32_t first);
    void recordLeaf(std::uint32_t leaf);
    void recordSubleaves(std::uint32_t leaf, const cpu::cpuid_args& subleaf0);

    Instructions& m_instructions = currentMachine().instructions();
    RecordedProcessor m_processor;
};

} // namespace libQuarrow::os
