#include <libQuarrow/recording/formats/RecordingFile.h>
#include <tests/mutation/MachineMutator.h>
#include <tests/support/TopologyInvariants.h>

#include <libQuarrow/os/recorded/RecordedMachine.h>
#include <tools/quarrow/Failure.h>
#include <tools/quarrow/classic/ClassicCommands.h>
#include <tools/quarrow/commands/Commands.h>

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <stdexcept>

using namespace libQuarrow;

namespace {

// The choices, byte by byte; zeros when they are used up.
class Choices {
  public:
    Choices(const std::uint8_t* bytes, std::size_t size) : m_next(bytes), m_end(bytes + size) {}

    bool areLeft() const { return m_next != m_end; }
    std::uint8_t byte() { return areLeft() ? *m_next++ : std::uint8_t{0}; }
    std::uint32_t word() {
        std::uint32_t value = 0;
        for (int i = 0; i < 4; ++i) {
            value = value << 8 | byte();
        }
        return value;
    }
    std::size_t below(std::size_t count) { return byte() * std::size_t{251} % count; }

  private:
    const std::uint8_t* m_next;
    const std::uint8_t* m_end;
};

std::uint32_t& registerOf(cpu::cpuid_args& registers, std::size_t index) {
    std::uint32_t* const all[] = {&registers.eax, &registers.ebx, &registers.ecx, &registers.edx};
    return *all[index % 4];
}

constexpr std::uint32_t extremes[] = {0, 1, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFE, 0xFFFFFFFF, 0x00FF00FF, 0xFF00FF00};

// The registers that decide something.
constexpr std::uint32_t msrs[] = {0x17,       0x1B,       0x2C,       0xCD,       0xCE,       0xE7,
                                  0xE8,       0xEE,       0x198,      0x1A0,      0x1A2,      0x1AD,
                                  0x1AE,      0x1AF,      0xC0010015, 0xC0010042, 0xC0010061, 0xC0010063,
                                  0xC0010064, 0xC0010065, 0xC0010066, 0xC0010071};

void mutateOnce(os::Recording& recording, Choices& choices) {
    os::RecordedProcessor& processor = recording.processors[choices.below(recording.processors.size())];
    const unsigned int what = choices.byte() % 10;
    if (what == 8) { // another place: a hole, a further group
        processor.group = static_cast<std::uint16_t>(choices.byte() % 5);
        processor.bit = static_cast<std::uint8_t>(choices.byte() % 64);
        return;
    }
    if (what == 9) {
        std::uint64_t& value = processor.msrs[msrs[choices.byte() % std::size(msrs)]];
        value = std::uint64_t{choices.word()} << 32 | choices.word();
        return;
    }
    if (processor.leaves.empty()) {
        return;
    }
    const auto leaf =
        std::next(processor.leaves.begin(), static_cast<std::ptrdiff_t>(choices.below(processor.leaves.size())));
    switch (what) {
    case 0:
    case 1:
    case 2:
        registerOf(leaf->second, choices.byte()) ^= std::uint32_t{1} << choices.byte() % 32;
        break;
    case 3:
        registerOf(leaf->second, choices.byte()) = extremes[choices.byte() % std::size(extremes)];
        break;
    case 4:
        registerOf(leaf->second, choices.byte()) = choices.word();
        break;
    case 5:
        processor.leaves.erase(leaf);
        break;
    case 6: // an enumeration that goes on
        for (std::uint32_t i = 1; i < 40; ++i) {
            processor.leaves.insert({{leaf->first.first, leaf->first.second + i}, leaf->second});
        }
        break;
    default: // a maximum that promises more than there is
        processor.leaves[{choices.byte() % 2 == 0 ? 0 : 0x80000000, 0}].eax =
            extremes[choices.byte() % std::size(extremes)];
        break;
    }
}

void dropDoubledPlaces(os::Recording& recording) {
    std::vector<os::RecordedProcessor> kept;
    for (os::RecordedProcessor& processor : recording.processors) {
        const bool taken = std::any_of(kept.begin(), kept.end(), [&](const os::RecordedProcessor& other) {
            return other.group == processor.group && other.bit == processor.bit;
        });
        if (!taken) {
            kept.push_back(std::move(processor));
        }
    }
    recording.processors = std::move(kept);
}

} // namespace

os::Recording mutatedRecording(os::Recording recording, const std::uint8_t* bytes, std::size_t size) {
    Choices choices(bytes, size);
    while (choices.areLeft() && !recording.processors.empty()) {
        mutateOnce(recording, choices);
    }
    dropDoubledPlaces(recording);
    return recording;
}

std::vector<os::Recording> recordingsOf(const std::string& folder) {
    std::vector<std::string> files;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        if (entry.path().extension() == ".txt") {
            files.push_back(entry.path().string());
        }
    }
    std::sort(files.begin(), files.end());
    std::vector<os::Recording> recordings;
    for (const std::string& file : files) {
        os::RecordingError error;
        boost::optional<os::Recording> recording = os::readRecording(file, error);
        if (!recording) {
            throw std::runtime_error(error.message);
        }
        recordings.push_back(std::move(*recording));
    }
    return recordings;
}

void askTopology(const os::Recording& recording) {
    os::RecordedMachine machine(recording);
    const os::ScopedMachine scope(machine);
    topology::TopologyRequest request;
    request.speeds = request.limits = request.leaves = true;
    if (const auto topology = topology::Topology::read(request)) {
        const std::string wrong = testing_support::contradictionIn(*topology);
        if (!wrong.empty()) {
            throw std::logic_error("the topology contradicts itself: " + wrong);
        }
    }
}

std::size_t askEverything(const os::Recording& recording) {
    os::RecordedMachine machine(recording);
    const os::ScopedMachine scope(machine);
    std::size_t characters = 0;
    const auto ask = [&characters](std::string (*command)(const quarrow::Request&), bool json) {
        quarrow::Request request;
        request.json = json;
        try {
            characters += command(request).size();
        } catch (const quarrow::Failure&) {
            ++characters; // a machine without a processor that answers
        }
    };
    for (const auto command :
         {quarrow::summaryCommand, quarrow::treeCommand, quarrow::cpusCommand, quarrow::featuresCommand,
          quarrow::cachesCommand, quarrow::affinityCommand, quarrow::limitsCommand, quarrow::speedCommand,
          quarrow::pictureCommand, quarrow::recordCommand, quarrow::leavesCommand, quarrow::classicTreeCommand,
          quarrow::classicCpusCommand, quarrow::classicFeaturesCommand, quarrow::classicCachesCommand,
          quarrow::classicLimitsCommand, quarrow::classicSpeedCommand}) {
        ask(command, false);
    }
    // The documents with everything.
    ask(quarrow::treeCommand, true);
    ask(quarrow::classicTreeCommand, true);
    ask(quarrow::speedCommand, true);
    ask(quarrow::limitsCommand, true);
    askTopology(recording);
    return characters;
}
