#include <libQuarrow/recording/formats/RecordingWriter.h>

#include <libQuarrow/recording/formats/QuarrowFormat.h>

#include <zel/String.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <ostream>
#include <string>

namespace libQuarrow::os {
namespace {

constexpr std::size_t bytesPerLine = 16;

template <class... Arguments>
void write(std::ostream& out, const char* format, Arguments... arguments) {
    out << zel::String::SprintfFormat(format, arguments...).toUtf8();
}

// At least that many hexadecimal digits. Leaves are most of a recording, so theirs are not written by a format.
std::string hex(std::uint32_t number, std::size_t digits) {
    std::array<char, 8> text;
    const auto end = std::to_chars(text.data(), text.data() + text.size(), number, 16).ptr;
    const auto length = static_cast<std::size_t>(end - text.data());
    return std::string(digits - std::min(digits, length), '0').append(text.data(), length);
}

// What is not known is left out.
void writeFrequencies(const SystemFrequencies& frequencies, std::ostream& out) {
    if (!frequencies.tellsAny()) {
        return;
    }
    out << "   frequencies";
    for (const auto& [name, hertz] :
         {std::pair("lowest", frequencies.lowestHertz), std::pair("base", frequencies.baseHertz),
          std::pair("highest", frequencies.highestHertz)}) {
        if (hertz) {
            write(out, " %s %I64u", name, *hertz);
        }
    }
    out << '\n';
}

void writeLeaves(const RecordedProcessor& processor, std::ostream& out) {
    for (const auto& [where, registers] : processor.leaves) {
        out << "   0x" << hex(where.first, 8) << " 0x" << hex(where.second, 2);
        out << ": eax=0x" << hex(registers.eax, 8) << " ebx=0x" << hex(registers.ebx, 8);
        out << " ecx=0x" << hex(registers.ecx, 8) << " edx=0x" << hex(registers.edx, 8) << '\n';
    }
}

void writeProcessor(const RecordedProcessor& processor, std::size_t number, std::ostream& out) {
    write(out, "CPU %zu: group %u bit %u\n", number, processor.group, processor.bit);
    writeLeaves(processor, out);
    if (processor.xcr0) {
        write(out, "   xcr0 0x%016I64x\n", *processor.xcr0);
    }
    if (processor.microcode) {
        write(out, "   microcode 0x%08x\n", *processor.microcode);
    }
    for (const auto& [msr, value] : processor.msrs) {
        write(out, "   msr 0x%08x: 0x%016I64x\n", msr, value);
    }
    writeFrequencies(processor.frequencies, out);
}

void writeNodes(const NumaNodes& nodes, std::ostream& out) {
    for (const auto& [node, masks] : nodes) {
        if (masks.empty()) {
            write(out, "node %u:\n", node);
        }
        for (const auto& [group, mask] : masks) {
            write(out, "node %u: group %u mask 0x%016I64x\n", node, group, mask);
        }
    }
}

// Runs of neighbouring bytes; a new line at a gap and at every 16th address. `digits`: of an address.
template <class Address>
void writeBytes(const char* what, int digits, const std::map<Address, std::uint8_t>& bytes, std::ostream& out) {
    auto next = bytes.begin();
    while (next != bytes.end()) {
        write(out, "%s 0x%0*I64x:", what, digits, next->first);
        std::uint64_t address = next->first;
        do {
            write(out, " %02x", next->second);
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
        write(out, "tsc %I64u\n", *recording.tscHertz);
    }
    writeNodes(recording.numaNodes, out);
    std::size_t number = 0;
    for (const RecordedProcessor& processor : recording.processors) {
        writeProcessor(processor, number++, out);
    }
    writeBytes("memory", 16, recording.memory, out);
    writeBytes("port", 4, recording.ports, out);
    for (const auto& [where, value] : recording.pci) {
        write(out, "pci %02x:%02x.%x 0x%04x: 0x%08x\n", where.first >> 8, where.first >> 3 & 0x1F, where.first & 7,
              where.second, value);
    }
    out << quarrowClosingLine << '\n';
}

void writeCpuidRaw(const Recording& recording, std::ostream& out) {
    for (const RecordedProcessor& processor : recording.processors) {
        write(out, "CPU %u:\n", processor.group * 64U + processor.bit);
        writeLeaves(processor, out);
    }
}

} // namespace libQuarrow::os
