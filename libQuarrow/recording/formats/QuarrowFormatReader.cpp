#include <libQuarrow/recording/formats/QuarrowFormatReader.h>

#include <libQuarrow/recording/formats/LineCursor.h>
#include <libQuarrow/recording/formats/QuarrowFormat.h>
#include <pci/PciAddress.h>

#include <set>

namespace libQuarrow::os {
namespace {

// Without the header line the file is the raw output of the cpuid program: what is not understood there is comment.
// With it every line is checked, and the closing line must come.
class QuarrowFormatReader : public FormatReader {
  public:
    LineKind read(std::string_view line) override;
    bool breaksOff(std::string_view line) const override;
    std::string missing() const override;

  private:
    LineKind readKeyword(LineCursor cursor);
    LineKind readLeaf(LineCursor cursor);
    LineKind readProcessor(LineCursor cursor);
    LineKind readXcr0(LineCursor cursor);
    LineKind readMicrocode(LineCursor cursor);
    LineKind readMsr(LineCursor cursor);
    LineKind readTsc(LineCursor cursor);
    LineKind readMemory(LineCursor cursor);
    LineKind readPort(LineCursor cursor);
    LineKind readNode(LineCursor cursor);
    LineKind readPci(LineCursor cursor);
    LineKind readFrequencies(LineCursor cursor);
    // The bytes after the address, at that address and those after it. False when they are none, or do not fit.
    template <class Address>
    static bool readBytes(LineCursor cursor, Address address, std::map<Address, std::uint8_t>& bytes);
    LineKind accepted() const { return m_headed ? LineKind::decisive : LineKind::other; }

    bool m_anyLine = false;
    bool m_headed = false;
    bool m_closed = false;
    std::set<std::pair<std::size_t, std::size_t>> m_positions; // group and bit of each processor, in a headed file
};

// Whether the rest of the line is blank.
bool lineEnds(LineCursor cursor) {
    cursor.skipBlanks();
    return cursor.atEnd();
}

LineKind QuarrowFormatReader::read(std::string_view line) {
    LineCursor cursor(line);
    cursor.skipBlanks();
    if (cursor.atEnd() || startsWith(cursor.rest(), "#")) {
        return LineKind::other;
    }
    if (m_closed) {
        return malformed("expected nothing after \"end of recording\"");
    }
    const bool first = !m_anyLine;
    m_anyLine = true;
    if (first && cursor.accept(quarrowHeader)) {
        std::uint32_t version = 0;
        m_headed = true;
        if (!cursor.decimal(version) || version != quarrowFormatVersion || !lineEnds(cursor)) {
            return malformed("expected \"Quarrow recording 1\": this Quarrow reads version 1 of the format");
        }
        return LineKind::decisive;
    }
    return readKeyword(cursor);
}

LineKind QuarrowFormatReader::readKeyword(LineCursor cursor) {
    struct Row {
        std::string_view keyword;
        LineKind (QuarrowFormatReader::*read)(LineCursor);
    };
    static constexpr Row rows[] = {
        {"0x", &QuarrowFormatReader::readLeaf},
        {"CPU", &QuarrowFormatReader::readProcessor},
        {"xcr0 0x", &QuarrowFormatReader::readXcr0},
        {"msr 0x", &QuarrowFormatReader::readMsr},
        {"tsc ", &QuarrowFormatReader::readTsc},
        {"memory 0x", &QuarrowFormatReader::readMemory},
        {"port 0x", &QuarrowFormatReader::readPort},
        {"node ", &QuarrowFormatReader::readNode},
        {"pci ", &QuarrowFormatReader::readPci},
        {"microcode 0x", &QuarrowFormatReader::readMicrocode},
        {"frequencies", &QuarrowFormatReader::readFrequencies},
    };
    for (const Row& row : rows) {
        if (cursor.accept(row.keyword)) {
            return (this->*row.read)(cursor);
        }
    }
    if (m_headed && cursor.accept(quarrowClosingLine) && lineEnds(cursor)) {
        m_closed = true;
        return LineKind::decisive;
    }
    return m_headed
               ? malformed(
                     "expected a line of a Quarrow recording (CPU, 0x, xcr0, microcode, msr, frequencies, tsc, node, "
                     "memory, port, pci, \"end of recording\") or a comment that begins with #")
               : LineKind::other;
}

// 0x00000004 0x01: eax=0x1c004122 ebx=0x01c0003f ecx=0x0000003f edx=0x00000000, from old versions without the sub-leaf
LineKind QuarrowFormatReader::readLeaf(LineCursor cursor) {
    std::uint32_t leaf = 0;
    std::uint32_t number = 0;
    boost::optional<std::uint32_t> subleaf;
    bool matches = cursor.hex(leaf);
    if (matches && cursor.skipBlanks() && cursor.accept("0x")) {
        matches = cursor.hex(number, 1, 8);
        subleaf = number;
    }
    matches = matches && cursor.accept(":");
    cpu::cpuid_args registers;
    const std::pair<std::string_view, std::uint32_t*> fields[] = {
        {"eax=0x", &registers.eax}, {"ebx=0x", &registers.ebx}, {"ecx=0x", &registers.ecx}, {"edx=0x", &registers.edx}};
    for (const auto& [name, value] : fields) {
        matches = matches && cursor.skipBlanks() && cursor.accept(name) && cursor.hex(*value);
    }
    if (!matches || !lineEnds(cursor)) {
        return malformed(
            "expected \"0xLEAF 0xSUBLEAF: eax=0x... ebx=0x... ecx=0x... edx=0x...\" with 8 hexadecimal digits "
            "each");
    }
    if (m_headed && !builder().hasProcessor()) {
        return malformed("expected \"CPU 0:\" before the values of a processor");
    }
    if (m_headed && builder().processor().leaves.count({leaf, number}) != 0) {
        return malformed("expected each leaf and sub-leaf of a processor once");
    }
    builder().addLeaf(leaf, m_headed ? number : subleaf, registers);
    return LineKind::decisive;
}

// CPU 0:, for one processor CPU:, of Quarrow's own CPU 0: group 0 bit 0
LineKind QuarrowFormatReader::readProcessor(LineCursor cursor) {
    RecordingBuilder::Heading heading;
    std::uint32_t number = 0;
    std::uint16_t group = 0;
    std::uint8_t bit = 0;
    if (cursor.accept(" ") && cursor.decimal(number)) {
        heading.number = number;
    }
    bool matches = cursor.accept(":");
    if (matches && cursor.accept(" group ")) {
        matches = cursor.decimal(group) && cursor.accept(" bit ") && cursor.decimal(bit) && bit < 64;
        heading.place = RecordingBuilder::Heading::Place{group, bit, 0};
    }
    matches = matches && lineEnds(cursor);
    if (m_headed && (!matches || number / 64 > 0xFFFF)) {
        return malformed(
            "expected \"CPU NUMBER: group GROUP bit BIT\" with groups from 0 to 65535 and bits from 0 to 63");
    }
    if (!matches) {
        return LineKind::other;
    }
    builder().heading(heading);
    if (m_headed) {
        const auto position = heading.place ? std::pair<std::size_t, std::size_t>(group, bit)
                                            : std::pair<std::size_t, std::size_t>(number / 64, number % 64);
        if (!m_positions.insert(position).second) {
            return malformed("expected a group and bit that no processor before has");
        }
        builder().beginProcessor();
    }
    return accepted();
}

LineKind QuarrowFormatReader::readXcr0(LineCursor cursor) {
    std::uint64_t value = 0;
    if (!builder().hasProcessor() || builder().processor().xcr0 || !cursor.hex(value) || !lineEnds(cursor)) {
        return malformed("expected \"xcr0 0xVALUE\" with 16 hexadecimal digits, once for each processor");
    }
    builder().processor().xcr0 = value;
    return accepted();
}

LineKind QuarrowFormatReader::readMicrocode(LineCursor cursor) {
    std::uint32_t revision = 0;
    if (!builder().hasProcessor() || builder().processor().microcode || !cursor.hex(revision) || !lineEnds(cursor)) {
        return malformed("expected \"microcode 0xREVISION\" with 8 hexadecimal digits, once for each processor");
    }
    builder().processor().microcode = revision;
    return accepted();
}

LineKind QuarrowFormatReader::readMsr(LineCursor cursor) {
    std::uint32_t msr = 0;
    std::uint64_t value = 0;
    if (!builder().hasProcessor() || !cursor.hex(msr) || !cursor.accept(": 0x") || !cursor.hex(value) ||
        !lineEnds(cursor) || !builder().processor().msrs.emplace(msr, value).second) {
        return malformed("expected \"msr 0xNUMBER: 0xVALUE\" with 8 and 16 hexadecimal digits, each MSR once for a "
                         "processor");
    }
    return accepted();
}

// frequencies lowest 800000000 base 2500000000 highest 3500000000, what is not known left out
LineKind QuarrowFormatReader::readFrequencies(LineCursor cursor) {
    if (!m_headed) {
        return LineKind::other; // words of another program
    }
    SystemFrequencies frequencies;
    bool matches = builder().hasProcessor() && !builder().processor().frequencies.tellsAny();
    for (const auto& [name, hertz] :
         {std::pair(" lowest ", &frequencies.lowestHertz), std::pair(" base ", &frequencies.baseHertz),
          std::pair(" highest ", &frequencies.highestHertz)}) {
        std::uint64_t number = 0;
        if (cursor.accept(name)) {
            matches = matches && cursor.decimal(number) && number != 0;
            *hertz = number;
        }
    }
    if (!matches || !frequencies.tellsAny() || !lineEnds(cursor)) {
        return malformed(
            "expected \"frequencies lowest HERTZ base HERTZ highest HERTZ\", or some of these in this order, "
            "in decimal digits above 0, once for each processor");
    }
    builder().processor().frequencies = frequencies;
    return LineKind::decisive;
}

LineKind QuarrowFormatReader::readTsc(LineCursor cursor) {
    std::uint64_t hertz = 0;
    const bool isNumber = cursor.decimal(hertz);
    if (!isNumber && !m_headed) {
        return LineKind::other; // words of the cpuid program's report
    }
    if (builder().recording().tscHertz || !isNumber || hertz == 0 || !lineEnds(cursor)) {
        return malformed("expected \"tsc HERTZ\" once, in decimal digits, above 0");
    }
    builder().recording().tscHertz = hertz;
    return accepted();
}

// node 1: group 0 mask 0x00000000000000f0, once for each of its groups; of a node without processors node 1:
LineKind QuarrowFormatReader::readNode(LineCursor cursor) {
    if (!m_headed) {
        return LineKind::other; // words of another program
    }
    std::uint32_t node = 0;
    std::uint16_t group = 0;
    std::uint64_t mask = 0;
    bool matches = cursor.decimal(node) && cursor.accept(":");
    NumaNodes& nodes = builder().recording().numaNodes;
    if (matches && lineEnds(cursor)) {
        matches = nodes.emplace(node, NumaNodes::mapped_type()).second;
    } else {
        matches = matches && cursor.accept(" group ") && cursor.decimal(group) && cursor.accept(" mask 0x") &&
                  cursor.hex(mask) && mask != 0 && lineEnds(cursor) && nodes[node].emplace(group, mask).second;
    }
    return matches ? LineKind::decisive
                   : malformed("expected \"node NUMBER: group GROUP mask 0xMASK\" with 16 hexadecimal digits that are "
                               "not all 0, each group of a node once");
}

template <class Address>
bool QuarrowFormatReader::readBytes(LineCursor cursor, Address address, std::map<Address, std::uint8_t>& bytes) {
    if (!cursor.accept(":")) {
        return false;
    }
    bool overflow = false;
    std::uint8_t byte = 0;
    std::size_t count = 0;
    while (cursor.skipBlanks() && !cursor.atEnd()) {
        if (overflow || !cursor.hex(byte) || bytes.size() == maxRecordedMemoryBytes ||
            !bytes.emplace(address, byte).second) {
            return false;
        }
        overflow = ++address == 0;
        ++count;
    }
    return count != 0 && cursor.atEnd();
}

LineKind QuarrowFormatReader::readMemory(LineCursor cursor) {
    std::uint64_t address = 0;
    if (!cursor.hex(address) || !readBytes(cursor, address, builder().recording().memory)) {
        return malformed(
            "expected \"memory 0xADDRESS: BYTE BYTE ...\" with 16 and 2 hexadecimal digits, each byte once and "
            "1 MiB in all at most");
    }
    return accepted();
}

LineKind QuarrowFormatReader::readPort(LineCursor cursor) {
    std::uint16_t port = 0;
    if (!cursor.hex(port) || !readBytes(cursor, port, builder().recording().ports)) {
        return malformed("expected \"port 0xNUMBER: BYTE BYTE ...\" with 4 and 2 hexadecimal digits, each port once");
    }
    return accepted();
}

// pci 00:18.4 0x015c: 0x0000000d
LineKind QuarrowFormatReader::readPci(LineCursor cursor) {
    std::uint8_t bus = 0;
    std::uint8_t device = 0;
    std::uint8_t function = 0;
    std::uint16_t offset = 0;
    std::uint32_t value = 0;
    const bool placed = cursor.hex(bus) && cursor.accept(":") && cursor.hex(device) && cursor.accept(".");
    if (!placed && !m_headed) {
        return LineKind::other; // words of the cpuid program's report
    }
    auto& registers = builder().recording().pci;
    if (!placed || !cursor.hex(function, 1, 1) || !cursor.accept(" 0x") || !cursor.hex(offset) ||
        !cursor.accept(": 0x") || !cursor.hex(value) || !lineEnds(cursor) ||
        !pci::PciAddress{bus, device, function}.isValid() || offset % 4 != 0 || offset >= pci::configSpaceBytes ||
        registers.size() == maxRecordedPciRegisters ||
        !registers.emplace(std::pair(pci::PciAddress{bus, device, function}.number(), offset), value).second) {
        return malformed("expected \"pci BUS:DEVICE.FUNCTION 0xOFFSET: 0xVALUE\" with 2, 2, 1, 4 and 8 hexadecimal "
                         "digits, offsets multiples of 4 below 0x1000, each register once, 65536 in all at most");
    }
    return accepted();
}

bool QuarrowFormatReader::breaksOff(std::string_view line) const {
    LineCursor cursor(line);
    cursor.skipBlanks();
    return cursor.rest() == "0" || beginsLike(cursor.rest(), "CPU: group 9 bit 9") ||
           beginsLike(cursor.rest(), "CPU 9: group 9 bit 9");
}

std::string QuarrowFormatReader::missing() const {
    return m_headed && !m_closed ? "the file breaks off: expected \"end of recording\" as its last line" : "";
}

} // namespace

std::unique_ptr<FormatReader> makeQuarrowFormatReader() {
    return std::make_unique<QuarrowFormatReader>();
}

} // namespace libQuarrow::os
