#include <libQuarrow/recording/formats/HwlocFormatReader.h>

#include <libQuarrow/recording/formats/LineCursor.h>

namespace libQuarrow::os {
namespace {

class HwlocFormatReader : public FormatReader {
  public:
    LineKind read(std::string_view line) override;
    bool breaksOff(std::string_view line) const override;

  private:
    static bool readHeading(LineCursor& cursor, std::uint32_t& number) {
        return cursor.accept("Gathering CPUID of PU P#") && cursor.decimal(number);
    }
};

// Four registers, each with a blank before it and without leading zeros.
bool readShortRegisters(LineCursor& cursor, cpu::cpuid_args& registers) {
    for (std::uint32_t* value : {&registers.eax, &registers.ebx, &registers.ecx, &registers.edx}) {
        if (!cursor.skipBlanks() || !cursor.hex(*value, 1, 8)) {
            return false;
        }
    }
    return true;
}

LineKind HwlocFormatReader::read(std::string_view line) {
    LineCursor cursor(line);
    std::uint32_t number = 0;
    if (readHeading(cursor, number)) { // on standard output
        builder().heading({number, boost::none});
        return LineKind::other;
    }
    if (line.empty() || !isHexDigit(line.front()) ||
        (line.find("=>") == std::string_view::npos && !builder().hasProcessor())) {
        return LineKind::other;
    }
    // The mask says which registers of the question count: EAX, or EAX and ECX.
    constexpr std::uint32_t leafCounts = 1;
    constexpr std::uint32_t subleafCounts = 5;
    std::uint32_t mask = 0;
    cpu::cpuid_args question;
    cpu::cpuid_args answer;
    bool matches = cursor.hex(mask, 1, 8) && (mask == leafCounts || mask == subleafCounts) &&
                   readShortRegisters(cursor, question) && cursor.skipBlanks() && cursor.accept("=>") &&
                   readShortRegisters(cursor, answer);
    cursor.skipBlanks();
    if (!matches || !cursor.atEnd()) {
        return malformed(
            "expected \"MASK EAX EBX ECX EDX => EAX EBX ECX EDX\" in hexadecimal digits, with mask 1 or 5");
    }
    builder().addLeaf(question.eax, mask == subleafCounts ? question.ecx : 0, answer);
    return LineKind::decisive;
}

bool HwlocFormatReader::breaksOff(std::string_view line) const {
    LineCursor cursor(line);
    std::uint32_t number = 0;
    return line == "1" || line == "5" || readHeading(cursor, number);
}

} // namespace

std::unique_ptr<FormatReader> makeHwlocFormatReader() {
    return std::make_unique<HwlocFormatReader>();
}

} // namespace libQuarrow::os
