#include <libQuarrow/recording/formats/ReportTextReader.h>

#include <libQuarrow/recording/formats/LineCursor.h>

namespace libQuarrow::os {
namespace {

constexpr const char* expectedCpuid =
    "expected \"CPUID LEAF: EAX-EBX-ECX-EDX\" with 8 hexadecimal digits each, and the "
    "sub-leaf, where there is one, as \"[SL NN]\"";
constexpr const char* expectedMsr =
    "expected \"MSR NUMBER: XXXX-XXXX-XXXX-XXXX\" in hexadecimal digits, or \"< FAILED >\" in place of the value";

// Whether what follows the keyword looks like a number: comments such as "CPUID Features" go on with a word.
bool numberBegins(std::string_view text) {
    std::size_t digits = 0;
    bool decimal = false;
    while (digits < text.size() && isHexDigit(text[digits])) {
        decimal = decimal || isDecimalDigit(text[digits]);
        ++digits;
    }
    return digits >= 2 && decimal;
}

bool isWordCharacter(char c) {
    return isHexDigit(c) || (c >= 'g' && c <= 'z') || (c >= 'G' && c <= 'Z') || c == '_' || c == '-';
}

class ReportTextReader : public FormatReader {
  public:
    LineKind read(std::string_view line) override;
    bool breaksOff(std::string_view line) const override;

  private:
    LineKind readCpuid(LineCursor cursor);
    LineKind readMsr(LineCursor cursor);
    void readBracketHeading(std::string_view line);
    void readRegistersHeading(LineCursor cursor);
    void readMaskHeading(LineCursor cursor);
    void readGroupHeading(LineCursor cursor);
    void readTscRate(LineCursor cursor);

    boost::optional<std::uint32_t> m_msrProcessor; // whose MSRs follow; none: the first one's
};

LineKind ReportTextReader::read(std::string_view line) {
    LineCursor cursor(line);
    cursor.skipBlanks(); // AIDA64's own reports indent what stands below a heading
    line = cursor.rest();
    if (cursor.accept("CPUID") && cursor.skipBlanks()) {
        if (numberBegins(cursor.rest())) {
            return readCpuid(cursor);
        }
        readRegistersHeading(cursor);
    } else if (startsWith(line, "MSR")) {
        cursor = LineCursor(line.substr(3));
        if (cursor.skipBlanks() && numberBegins(cursor.rest())) {
            return readMsr(cursor);
        }
    } else if (startsWith(line, "---")) {
        readBracketHeading(line);
    } else if (cursor.accept("CPU#")) {
        readMaskHeading(cursor);
    } else if (cursor.accept("Group:")) {
        readGroupHeading(cursor);
    } else if (cursor.accept("CPU Clock (TSC):")) {
        readTscRate(cursor);
    }
    return LineKind::other;
}

LineKind ReportTextReader::readCpuid(LineCursor cursor) {
    std::uint32_t leaf = 0;
    cpu::cpuid_args registers;
    if (!cursor.hex(leaf)) {
        return malformed(expectedCpuid);
    }
    boost::optional<std::uint32_t> subleaf;
    std::uint8_t labelled = 0;
    LineCursor label = cursor;
    if (label.accept(":") && label.hex(labelled) && label.accept(" =")) { // CPUID 00000004:01 = ..., of tycho's cpuid
        cursor = label;
        subleaf = labelled;
    }
    cursor.skipBlanks();
    cursor.accept(":");
    cursor.skipBlanks();
    if (!cursor.fourRegisters(registers, '-', ' ') || (!cursor.atEnd() && isWordCharacter(cursor.rest().front()))) {
        return malformed(expectedCpuid);
    }
    const std::size_t bracket = cursor.rest().find("[SL ");
    if (bracket != std::string_view::npos) {
        LineCursor number(cursor.rest().substr(bracket + 4));
        std::uint32_t value = 0;
        if (!number.hex(value, 1, 8) || !number.accept("]")) {
            return malformed(expectedCpuid);
        }
        subleaf = value;
    }
    builder().addLeaf(leaf, subleaf, registers);
    return LineKind::decisive;
}

LineKind ReportTextReader::readMsr(LineCursor cursor) {
    std::uint32_t msr = 0;
    std::uint16_t words[4] = {};
    if (!cursor.hex(msr)) {
        return malformed(expectedMsr);
    }
    cursor.skipBlanks();
    cursor.accept(":");
    cursor.skipBlanks();
    if (cursor.accept("< FAILED >")) {
        return LineKind::other;
    }
    if (!cursor.hex(words[0]) || !cursor.accept("-") || !cursor.hex(words[1]) || !cursor.accept("-") ||
        !cursor.hex(words[2]) || !cursor.accept("-") || !cursor.hex(words[3]) ||
        (!cursor.atEnd() && isWordCharacter(cursor.rest().front()))) {
        return malformed(expectedMsr);
    }
    std::uint64_t value = 0;
    for (const std::uint16_t word : words) {
        value = value << 16 | word;
    }
    builder().addMsr(m_msrProcessor, msr, value);
    return LineKind::other;
}

// ------[ CPUID Registers / Logical CPU #0 ]------, ------[ Logical CPU #1 Virtual ]------,
// ------[ MSR Registers ]------
void ReportTextReader::readBracketHeading(std::string_view line) {
    LineCursor cursor(afterRuling(line, '-'));
    if (!cursor.accept("[ ")) {
        return;
    }
    const bool msrs = cursor.accept("MSR Registers");
    if (msrs && cursor.accept(" ]")) {
        m_msrProcessor = boost::none;
        return;
    }
    if (msrs ? !cursor.accept(" / ") : (cursor.accept("CPUID Registers") && !cursor.accept(" / "))) {
        return;
    }
    std::uint32_t number = 0;
    if (!cursor.accept("Logical CPU #") || !cursor.decimal(number)) {
        return;
    }
    if (msrs) {
        m_msrProcessor = number;
    } else {
        builder().heading({number, boost::none});
    }
}

// CPUID Registers (CPU #1):, the only heading that counts from 1
void ReportTextReader::readRegistersHeading(LineCursor cursor) {
    std::uint32_t number = 0;
    if (cursor.accept("Registers (CPU #") && cursor.decimal(number) && number != 0) {
        builder().heading({number - 1, boost::none});
    }
}

// CPU#000 AffMask: 0x0000000000000001, with several groups 0x..:..:..
void ReportTextReader::readMaskHeading(LineCursor cursor) {
    std::uint32_t number = 0;
    if (!cursor.decimal(number) || !cursor.accept(" AffMask: ") || !(cursor.accept("0x") || cursor.accept("0X"))) {
        return;
    }
    RecordingBuilder::Heading heading{number, boost::none};
    std::size_t fields = 0;
    unsigned int bits = 0;
    std::uint64_t mask = 0;
    do {
        cursor.accept("0x") || cursor.accept("0X");
        if (!cursor.hex(mask, 1, 16)) {
            break;
        }
        for (std::uint8_t bit = 0; bit < 64; ++bit) {
            if ((mask >> bit & 1) != 0) {
                heading.place = RecordingBuilder::Heading::Place{fields, bit, 0};
                ++bits;
            }
        }
        ++fields;
    } while (cursor.accept(":"));
    if (bits == 1) {
        heading.place->maskFields = fields;
    } else {
        heading.place = boost::none; // not one processor's mask: its number has to do
    }
    builder().heading(heading);
}

// Group: 0x00 Affinity mask: 0x0000000000000002
void ReportTextReader::readGroupHeading(LineCursor cursor) {
    std::uint16_t group = 0;
    std::uint64_t mask = 0;
    cursor.skipBlanks();
    if (!cursor.accept("0x") || !cursor.hex(group, 1, 4) || !cursor.skipBlanks() ||
        !cursor.accept("Affinity mask: 0x") || !cursor.hex(mask, 1, 16) || mask == 0 || (mask & (mask - 1)) != 0) {
        return;
    }
    std::uint8_t bit = 0;
    while ((mask >> bit & 1) == 0) {
        ++bit;
    }
    builder().heading({boost::none, RecordingBuilder::Heading::Place{group, bit, 0}});
}

// CPU Clock (TSC): 2500 MHz, as the recording program measured it; the first one counts
void ReportTextReader::readTscRate(LineCursor cursor) {
    std::uint32_t megahertz = 0;
    cursor.skipBlanks();
    if (!builder().recording().tscHertz && cursor.decimal(megahertz) && megahertz != 0 && cursor.accept(" MHz")) {
        builder().recording().tscHertz = std::uint64_t{megahertz} * 1'000'000;
    }
}

bool ReportTextReader::breaksOff(std::string_view line) const {
    LineCursor indented(line);
    indented.skipBlanks();
    line = indented.rest();
    if (startsWith(line, "---")) {
        const std::string_view heading = afterRuling(line, '-');
        return startsWith(heading, "[") &&
               (heading.find(']') == std::string_view::npos || startsWith(heading, "[ MSR Registers") ||
                heading.find("Logical CPU #") != std::string_view::npos);
    }
    for (const std::string_view heading : {"CPUID Registers (CPU #9", "CPU#9 AffMask: 0", "Group: 0x"}) {
        if (beginsLike(line, heading)) {
            return true;
        }
    }
    for (const std::string_view keyword : {"CPUID", "MSR"}) {
        if (!line.empty() && startsWith(keyword, line)) {
            return true;
        }
        LineCursor cursor(line);
        if (cursor.accept(keyword) && (cursor.skipBlanks() || cursor.atEnd())) {
            std::uint64_t number = 0;
            const bool digits = cursor.hex(number, 1, 8);
            const std::size_t bracket = cursor.rest().rfind('[');
            return cursor.atEnd() || (digits && bracket != std::string_view::npos &&
                                      cursor.rest().find(']', bracket) == std::string_view::npos);
        }
    }
    return false;
}

} // namespace

std::unique_ptr<FormatReader> makeReportTextReader() {
    return std::make_unique<ReportTextReader>();
}

} // namespace libQuarrow::os
