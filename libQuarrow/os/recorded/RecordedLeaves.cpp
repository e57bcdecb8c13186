#include <libQuarrow/os/recorded/RecordedLeaves.h>

namespace libQuarrow::os {
namespace {

// Leaves come in ranges of this size, each headed by a leaf whose EAX is the highest one.
constexpr std::uint32_t rangeMask = 0xC0000000;

bool aboveMaximum(const RecordedProcessor& processor, std::uint32_t leaf) {
    const cpu::cpuid_args* first = findLeaf(processor, leaf & rangeMask, 0);
    return first == nullptr || leaf > first->eax;
}

bool isIntel(const cpu::cpuid_args& leaf0) {
    return leaf0.ebx == 0x756E6547 && leaf0.edx == 0x49656E69 && leaf0.ecx == 0x6C65746E; // GenuineIntel
}

} // namespace

const cpu::cpuid_args* findLeaf(const RecordedProcessor& processor, std::uint32_t leaf, std::uint32_t subleaf) {
    const auto found = processor.leaves.find({leaf, subleaf});
    return found != processor.leaves.end() ? &found->second : nullptr;
}

cpu::cpuid_args answerOf(const RecordedProcessor& processor, std::uint32_t leaf, std::uint32_t subleaf) {
    const cpu::cpuid_args* answer = findLeaf(processor, leaf, subleaf);
    const cpu::cpuid_args* leaf0 = findLeaf(processor, 0, 0);
    if (answer == nullptr && leaf0 != nullptr && isIntel(*leaf0) && aboveMaximum(processor, leaf)) {
        answer = findLeaf(processor, leaf0->eax, subleaf);
        if (answer == nullptr) {
            answer = findLeaf(processor, leaf0->eax, 0);
        }
    }
    return answer != nullptr ? *answer : cpu::cpuid_args();
}

} // namespace libQuarrow::os
