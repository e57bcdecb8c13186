#include <benchmarks/SyntheticMachine.h>

#include <libQuarrow/recording/formats/RecordingFile.h>

#include <stdexcept>
#include <string>

using namespace libQuarrow;

namespace quarrow_bench {
namespace {

os::RecordedProcessor firstProcessorOf(const char* name) {
    os::RecordingError error;
    const auto recording = os::readRecording(std::string(QUARROW_SOURCE_DIR "/tests/machines/") + name, error);
    if (!recording) {
        throw std::runtime_error(error.message);
    }
    return recording->processors.front();
}

// Packages of 64 cores. The x2APIC ID is the processor's number.
void placeIntel(os::RecordedProcessor& processor, std::uint32_t number) {
    processor.leaves[{1, 0}].ebx = 0x00800800 | (number & 0xFF) << 24;
    processor.leaves[{0xB, 0}] = {1, 2, 0x100, number};
    processor.leaves[{0xB, 1}] = {7, 128, 0x201, number};
}

// Nodes of 32 cores. A model after those whose APIC ID has a layout of its own.
void placeAmd(os::RecordedProcessor& processor, std::uint32_t number) {
    processor.leaves[{1, 0}].eax = 0x00830F10;
    processor.leaves[{1, 0}].ebx = 0x00400800 | (number & 0xFF) << 24;
    processor.leaves[{0x8000001E, 0}] = {number, 0x100 | (number / 2 & 31), number / 64 & 0xFF, 0};
}

} // namespace

os::Recording syntheticMachine(Layout layout, std::size_t processors) {
    const bool intel = layout == Layout::intel;
    const os::RecordedProcessor model = firstProcessorOf(intel ? "intel-2p-smt.txt" : "amd-family17-smt.txt");
    os::Recording machine;
    machine.processors.assign(processors, model);
    for (std::size_t i = 0; i < processors; ++i) {
        os::RecordedProcessor& processor = machine.processors[i];
        processor.group = static_cast<std::uint16_t>(i / 64);
        processor.bit = static_cast<std::uint8_t>(i % 64);
        (intel ? placeIntel : placeAmd)(processor, static_cast<std::uint32_t>(i));
    }
    return machine;
}

} // namespace quarrow_bench
