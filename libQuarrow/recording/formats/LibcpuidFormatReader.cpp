#include <libQuarrow/recording/formats/LibcpuidFormatReader.h>

#include <libQuarrow/recording/formats/LineCursor.h>

#include <algorithm>
#include <iterator>

namespace libQuarrow::os {
namespace {

// What an element n of a file's arrays holds.
struct ArrayRow {
    std::string_view name; // up to the opening bracket
    std::uint32_t leaf;    // leaf of element 0
    bool subleaves;        // element n is sub-leaf n of that leaf; otherwise sub-leaf 0 of leaf + n
};

// clang-format off
constexpr ArrayRow arrays[] = {
    {"basic_cpuid[",       0x00000000, false},
    {"ext_cpuid[",         0x80000000, false},
    {"intel_fn4[",         0x00000004, true },
    {"intel_fn11[",        0x0000000B, true },
    {"intel_fn12h[",       0x00000012, true },
    {"intel_fn14h[",       0x00000014, true },
    {"amd_fn8000001dh[",   0x8000001D, true },
    {"amd_fn80000026h[",   0x80000026, true },
};
// clang-format on

constexpr std::uint32_t indexes = 0x40000000; // more would run into the next range of leaves

class LibcpuidFormatReader : public FormatReader {
  public:
    LineKind read(std::string_view line) override;
    bool breaksOff(std::string_view line) const override;
    Recording finish() override;

  private:
    LineKind readElement(const ArrayRow& array, LineCursor cursor);
    void readHeading(std::string_view line);
};

LineKind LibcpuidFormatReader::read(std::string_view line) {
    for (const ArrayRow& array : arrays) {
        if (startsWith(line, array.name)) {
            return readElement(array, LineCursor(line.substr(array.name.size())));
        }
    }
    if (startsWith(line, "___")) {
        readHeading(line);
    }
    return LineKind::other;
}

LineKind LibcpuidFormatReader::readElement(const ArrayRow& array, LineCursor cursor) {
    std::uint32_t index = 0;
    cpu::cpuid_args registers;
    bool matches =
        cursor.decimal(index) && index < indexes && cursor.accept("]=") && cursor.fourRegisters(registers, ' ', ' ');
    cursor.skipBlanks();
    if (!matches || !cursor.atEnd()) {
        return malformed("expected \"NAME[INDEX]=EAX EBX ECX EDX\" with a decimal index and 8 hexadecimal digits each");
    }
    // Some arrays repeat what another one holds already; both say the same.
    builder().addLeaf(array.subleaves ? array.leaf : array.leaf + index, array.subleaves ? index : 0, registers);
    return LineKind::decisive;
}

// _________________ Logical CPU #0 _________________
void LibcpuidFormatReader::readHeading(std::string_view line) {
    LineCursor cursor(afterRuling(line, '_'));
    std::uint32_t number = 0;
    if (cursor.accept(" Logical CPU #") && cursor.decimal(number)) {
        builder().heading({number, boost::none});
    }
}

bool LibcpuidFormatReader::breaksOff(std::string_view line) const {
    if (startsWith(line, "___")) {
        return beginsLike(afterRuling(line, '_'), " Logical CPU #9");
    }
    return !line.empty() && std::any_of(std::begin(arrays), std::end(arrays),
                                        [&](const ArrayRow& array) { return startsWith(array.name, line); });
}

// The arrays have a fixed size: what stands above the highest leaf is no leaf of its own.
Recording LibcpuidFormatReader::finish() {
    for (RecordedProcessor& processor : builder().recording().processors) {
        auto& leaves = processor.leaves;
        for (const std::uint32_t base : {0x00000000U, 0x80000000U}) {
            const auto highest = leaves.find({base, 0});
            if (highest == leaves.end()) {
                continue;
            }
            const std::uint32_t maximum = highest->second.eax;
            // A processor without the range answers its first leaf with something else.
            const auto first =
                maximum < base || maximum - base >= indexes ? highest : leaves.lower_bound({maximum + 1, 0});
            leaves.erase(first, leaves.lower_bound({base + indexes, 0}));
        }
    }
    return FormatReader::finish();
}

} // namespace

std::unique_ptr<FormatReader> makeLibcpuidFormatReader() {
    return std::make_unique<LibcpuidFormatReader>();
}

} // namespace libQuarrow::os
