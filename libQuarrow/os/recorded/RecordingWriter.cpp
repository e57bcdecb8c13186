#include <libQuarrow/os/recorded/QuarrowFormat.h>
#include <libQuarrow/os/recorded/Recording.h>

#include <fmt/ostream.h>

#include <ostream>

namespace libQuarrow::os {
namespace {

constexpr std::size_t bytesPerLine = 16;

void writeProcessor(const RecordedProcessor& processor, std::size_t number, std::ostream& out) {
    fmt::print(out, "CPU {}: group {} bit {}\n", number, processor.group, processor.bit);
    for (const auto& [where, registers] : processor.leaves) {
        fmt::print(out, "   {:#010x} {:#04x}: eax={:#010x} ebx={:#010x} ecx={:#010x} edx={:#010x}\n", where.first,
                   where.second, registers.eax, registers.ebx, registers.ecx, registers.edx);
    }
    if (processor.xcr0) {
        fmt::print(out, "   xcr0 {:#018x}\n", *processor.xcr0);
    }
    for (const auto& [msr, value] : processor.msrs) {
        fmt::print(out, "   msr {:#010x}: {:#018x}\n", msr, value);
    }
}

// Runs of neighbouring bytes; a new line at a gap and at every 16th address. `digits`: of an address.
template <class Address>
void writeBytes(const char* what, int digits, const std::map<Address, std::uint8_t>& bytes, std::ostream& out) {
    auto next = bytes.begin();
    while (next != bytes.end()) {
        fmt::print(out, "{} 0x{:0{}x}:", what, next->first, digits);
        std::uint64_t address = next->first;
        do {
            fmt::print(out, " {:02x}", next->second);
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
        fmt::print(out, "tsc {}\n", *recording.tscHertz);
    }
    std::size_t number = 0;
    for (const RecordedProcessor& processor : recording.processors) {
        writeProcessor(processor, number++, out);
    }
    writeBytes("memory", 16, recording.memory, out);
    writeBytes("port", 4, recording.ports, out);
    out << quarrowClosingLine << '\n';
}

} // namespace libQuarrow::os
