#include <libQuarrow/recording/formats/CpuzReportReader.h>

#include <libQuarrow/recording/formats/LineCursor.h>

namespace libQuarrow::os {
namespace {

constexpr const char* expectedLeafLine = "expected \"0xLEAF 0xEAX 0xEBX 0xECX 0xEDX\" with 8 hexadecimal digits each";
constexpr const char* expectedMsrLine = "expected \"MSR 0xNUMBER 0xEDX 0xEAX\" with 8 hexadecimal digits each";

// Only what stands below "CPU Thread N" is values; other sections hold numbers of the same look.
class CpuzReportReader : public FormatReader {
  public:
    LineKind read(std::string_view line) override;
    bool breaksOff(std::string_view line) const override;

  private:
    LineKind readLeaf(LineCursor cursor);
    LineKind readMsr(LineCursor cursor);

    boost::optional<std::uint32_t> m_thread; // whose section this is
};

// The blanks before a number that begins with 0x, and that number.
bool readPrefixedNumber(LineCursor& cursor, std::uint32_t& value) {
    cursor.skipBlanks();
    return cursor.accept("0x") && cursor.hex(value);
}

bool endsAfterBlanks(LineCursor cursor) {
    cursor.skipBlanks();
    return cursor.atEnd();
}

LineKind CpuzReportReader::read(std::string_view line) {
    LineCursor cursor(line);
    cursor.skipBlanks();
    std::uint32_t number = 0;
    if (cursor.accept("CPU Thread ") && cursor.decimal(number)) {
        m_thread = number;
        builder().heading({number, boost::none});
        return LineKind::other;
    }
    if (startsWith(cursor.rest(), "-----")) { // under the name of another section
        m_thread = boost::none;
    }
    if (m_thread && startsWith(cursor.rest(), "0x")) {
        return readLeaf(cursor);
    }
    if (m_thread && cursor.accept("MSR ")) {
        return readMsr(cursor);
    }
    return LineKind::other;
}

LineKind CpuzReportReader::readLeaf(LineCursor cursor) {
    std::uint32_t leaf = 0;
    cpu::cpuid_args registers;
    if (!readPrefixedNumber(cursor, leaf) || !readPrefixedNumber(cursor, registers.eax) ||
        !readPrefixedNumber(cursor, registers.ebx) || !readPrefixedNumber(cursor, registers.ecx) ||
        !readPrefixedNumber(cursor, registers.edx) || !endsAfterBlanks(cursor)) {
        return malformed(expectedLeafLine);
    }
    builder().addLeaf(leaf, boost::none, registers);
    return LineKind::decisive;
}

// MSR 0x0000001B, then 0x00000000 0xFEE00900, in old versions edx = 0x00000000 eax = 0xFEE00900
LineKind CpuzReportReader::readMsr(LineCursor cursor) {
    std::uint32_t msr = 0;
    std::uint32_t high = 0;
    std::uint32_t low = 0;
    bool matches = readPrefixedNumber(cursor, msr);
    cursor.skipBlanks();
    cursor.accept("edx = ");
    matches = matches && readPrefixedNumber(cursor, high);
    cursor.skipBlanks();
    cursor.accept("eax = ");
    if (!matches || !readPrefixedNumber(cursor, low) || !endsAfterBlanks(cursor)) {
        return malformed(expectedMsrLine);
    }
    builder().addMsr(m_thread, msr, std::uint64_t{high} << 32 | low);
    return LineKind::other;
}

bool CpuzReportReader::breaksOff(std::string_view line) const {
    LineCursor cursor(line);
    cursor.skipBlanks();
    if (beginsLike(cursor.rest(), "CPU Thread 9")) {
        return true;
    }
    return m_thread && !cursor.atEnd() &&
           (cursor.rest() == "0" || startsWith("MSR ", cursor.rest()) || startsWith(cursor.rest(), "MSR 0x"));
}

} // namespace

std::unique_ptr<FormatReader> makeCpuzReportReader() {
    return std::make_unique<CpuzReportReader>();
}

} // namespace libQuarrow::os
