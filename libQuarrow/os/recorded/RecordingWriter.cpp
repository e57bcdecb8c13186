#include <libQuarrow/os/recorded/QuarrowFormat.h>
#include <libQuarrow/os/recorded/Recording.h>

#include <cinttypes>
#include <cstdio>
#include <ostream>

namespace libQuarrow::os {
namespace {

constexpr std::size_t bytesPerLine = 16;

// A formatted line; none of those below comes near the size of the buffer.
template <class... Arguments>
void writeLine(std::ostream& out, const char* format, Arguments... arguments) {
    char line[160];
    out << (std::snprintf(line, sizeof line, format, arguments...), line) << '\n';
}

void writeProcessor(const RecordedProcessor& processor, std::size_t number, std::ostream& out) {
    writeLine(out, "CPU %zu: group %u bit %u", number, unsigned{processor.group}, unsigned{processor.bit});
    for (const auto& [where, registers] : processor.leaves) {
        writeLine(out,
                  "   0x%08" PRIx32 " 0x%02" PRIx32 ": eax=0x%08" PRIx32 " ebx=0x%08" PRIx32 " ecx=0x%08" PRIx32
                  " edx=0x%08" PRIx32,
                  where.first, where.second, registers.eax, registers.ebx, registers.ecx, registers.edx);
    }
    if (processor.xcr0) {
        writeLine(out, "   xcr0 0x%016" PRIx64, *processor.xcr0);
    }
    for (const auto& [msr, value] : processor.msrs) {
        writeLine(out, "   msr 0x%08" PRIx32 ": 0x%016" PRIx64, msr, value);
    }
}

// Runs of neighbouring bytes; a new line at a gap and at every 16th address.
template <class Address>
void writeBytes(const char* format, const std::map<Address, std::uint8_t>& bytes, std::ostream& out) {
    auto next = bytes.begin();
    while (next != bytes.end()) {
        char text[8];
        char line[48];
        std::snprintf(line, sizeof line, format, next->first);
        out << line;
        std::uint64_t address = next->first;
        do {
            std::snprintf(text, sizeof text, " %02x", unsigned{next->second});
            out << text;
            ++next;
            ++address;
        } while (next != bytes.end() && next->first == address && address % bytesPerLine != 0);
        out << '\n';
    }
}

} // namespace

void writeRecording(const Recording& recording, std::ostream& out) {
    out << quarrowHeader << quarrowFormatVersion << '\n';
    if (recording.tscHertz) {
        writeLine(out, "tsc %" PRIu64, *recording.tscHertz);
    }
    std::size_t number = 0;
    for (const RecordedProcessor& processor : recording.processors) {
        writeProcessor(processor, number++, out);
    }
    writeBytes("memory 0x%016" PRIx64 ":", recording.memory, out);
    writeBytes("port 0x%04" PRIx16 ":", recording.ports, out);
    out << quarrowClosingLine << '\n';
}

} // namespace libQuarrow::os
