#include <libQuarrow/recording/formats/KcpuidFormatReader.h>

#include <libQuarrow/recording/formats/LineCursor.h>

namespace libQuarrow::os {
namespace {

constexpr const char* expectedKcpuid =
    "expected \"0xLEAF: EAX=0x..., EBX=0x..., ECX=0x..., EDX=0x...\" with 8 hexadecimal digits each, or, after "
    "\"0xLEAF: subleafs:\", the same with a decimal sub-leaf in place of the leaf, in ascending order";

class KcpuidFormatReader : public FormatReader {
  public:
    LineKind read(std::string_view line) override;
    bool breaksOff(std::string_view line) const override;

  private:
    bool m_listsSubleaves = false; // after a heading
    std::uint32_t m_leaf = 0;
    std::uint32_t m_nextSubleaf = 0; // or above: those that are all zero are left out
};

bool readNamedRegisters(LineCursor cursor, cpu::cpuid_args& registers) {
    const bool matches = cursor.accept("EAX=0x") && cursor.hex(registers.eax) && cursor.accept(", EBX=0x") &&
                         cursor.hex(registers.ebx) && cursor.accept(", ECX=0x") && cursor.hex(registers.ecx) &&
                         cursor.accept(", EDX=0x") && cursor.hex(registers.edx);
    cursor.skipBlanks();
    return matches && cursor.atEnd();
}

LineKind KcpuidFormatReader::read(std::string_view line) {
    LineCursor cursor(line);
    cursor.skipBlanks();
    std::uint32_t leaf = 0;
    std::uint32_t subleaf = 0;
    cpu::cpuid_args registers;
    const bool namesLeaf = cursor.accept("0x");
    if (namesLeaf ? !cursor.hex(leaf) : !cursor.decimal(subleaf)) {
        return namesLeaf ? malformed(expectedKcpuid) : LineKind::other;
    }
    if (!cursor.accept(":")) {
        return namesLeaf ? malformed(expectedKcpuid) : LineKind::other;
    }
    cursor.skipBlanks();
    if (namesLeaf && cursor.accept("subleafs:")) {
        m_listsSubleaves = true;
        m_leaf = leaf;
        m_nextSubleaf = 0;
        return LineKind::other;
    }
    if (!namesLeaf && !startsWith(cursor.rest(), "EAX=")) {
        return LineKind::other;
    }
    if (!readNamedRegisters(cursor, registers) ||
        (!namesLeaf && (!m_listsSubleaves || subleaf < m_nextSubleaf || subleaf == 0xFFFFFFFF))) {
        return malformed(expectedKcpuid);
    }
    if (namesLeaf) {
        m_listsSubleaves = false;
    } else {
        m_nextSubleaf = subleaf + 1;
    }
    builder().addLeaf(namesLeaf ? leaf : m_leaf, subleaf, registers);
    return LineKind::decisive;
}

bool KcpuidFormatReader::breaksOff(std::string_view line) const {
    LineCursor cursor(line);
    cursor.skipBlanks();
    std::uint64_t number = 0;
    const bool leaf = cursor.accept("0x");
    if (leaf ? cursor.hex(number, 1, 8) : cursor.decimal(number)) {
        return cursor.atEnd() || cursor.accept(":");
    }
    return leaf && cursor.atEnd();
}

} // namespace

std::unique_ptr<FormatReader> makeKcpuidFormatReader() {
    return std::make_unique<KcpuidFormatReader>();
}

} // namespace libQuarrow::os
