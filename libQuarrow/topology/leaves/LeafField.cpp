#include <libQuarrow/topology/leaves/LeafField.h>

namespace libQuarrow::topology {

const char* nameOf(LeafRegister reg) {
    constexpr const char* names[] = {"eax", "ebx", "ecx", "edx"};
    return names[static_cast<std::size_t>(reg)];
}

const char* nameOf(LeafFieldKind kind) {
    constexpr const char* names[] = {"flag", "bit", "number", "text"};
    return names[static_cast<std::size_t>(kind)];
}

std::uint32_t valueOf(const CpuidAnswer& answer, LeafRegister reg) {
    const std::uint32_t values[] = {answer.eax, answer.ebx, answer.ecx, answer.edx};
    return values[static_cast<std::size_t>(reg)];
}

} // namespace libQuarrow::topology
