#include <libQuarrow/os/recorded/ProcessorRecorder.h>

#include <libQuarrow/cpu/x86/decode/CpuidLeaves.h>
#include <libQuarrow/cpu/x86/decode/CpuidReader.h>
#include <libQuarrow/cpu/x86/decode/x86_registers.h>

namespace libQuarrow::os {

RecordedProcessor recordProcessor() {
    cpu::LiveCpuidReader live;
    RecordedProcessor processor;
    for (const cpu::CpuidLeaf& leaf : cpu::readAllLeaves(live)) {
        processor.leaves[{leaf.leaf, leaf.subleaf}] = leaf.registers;
    }
    const auto version = processor.leaves.find({cpu::VersionLeaf::number, 0});
    if (version != processor.leaves.end() && cpu::VersionLeaf(version->second).osxsave) {
        processor.xcr0 = live.xcr0();
    }
    return processor;
}

} // namespace libQuarrow::os
