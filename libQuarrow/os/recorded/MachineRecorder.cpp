#include <libQuarrow/os/recorded/MachineRecorder.h>

#include <libQuarrow/cpu/AffinityMask.h>
#include <libQuarrow/cpu/ScopedAffinity.h>
#include <libQuarrow/cpu/x86/x86_amd_info.h>
#include <libQuarrow/cpu/x86/x86_cpu.h>
#include <libQuarrow/cpu/x86/x86_intel_info.h>
#include <libQuarrow/cpu/x86/x86_speed_metrics.h>
#include <libQuarrow/os/recorded/NotingMachine.h>
#include <libQuarrow/os/recorded/ProcessorRecorder.h>
#include <libQuarrow/os/recorded/RecordedMachine.h>
#include <libQuarrow/topology/Topology.h>

#include <libKernelMode/MsrDriver.h>

namespace libQuarrow::os {
namespace {

using cpu::x86_cpu;

// Every processor that can be pinned, with its leaves. None where the processors cannot be listed.
boost::optional<Recording> recordProcessors(bool threadAffinity) {
    const auto system = cpu::AffinityMask::systemAffinityMask();
    if (!system) {
        return boost::none;
    }
    Recording recording;
    for (const cpu::WinAffinity& processor : system->maskPerLogicalCPU()) {
        cpu::ScopedAffinity pin(processor, threadAffinity);
        if (!pin.set()) {
            continue;
        }
        const cpu::GroupAffinity& where = processor.groups().front();
        RecordedProcessor recorded = recordProcessor();
        recorded.group = where.group;
        while ((where.mask >> recorded.bit & 1) == 0) {
            ++recorded.bit;
        }
        recorded.frequencies = currentMachine().frequencies(recorded.group, recorded.bit);
        recording.processors.push_back(std::move(recorded));
    }
    return recording;
}

bool readsMsrs(const x86_cpu& cpu) {
    cpu::ScopedAffinity pin(cpu.getAffinityMask(), cpu.usesThreadAffinity());
    return pin.set() && libKernelMode::MsrDriver().openDriver();
}

// Everything that MSRs have a part in. The answers do not matter here: what was read on the way to them is noted.
void askWhatMsrsTell(const x86_cpu& cpu) {
    zel::String text;
    cpu.getTechnologyString(text);
    cpu.getSocketTypeString(text);
    cpu::x86_speed_metrics speed;
    cpu.getSpeedMetrics(speed);
    if (const auto* intel = dynamic_cast<const cpu::x86_intel_info*>(cpu.vendorInfo())) {
        std::uint32_t celsius = 0;
        intel->getTCCActivationTemperature(celsius);
        zel::Array<cpu::IntelTurboRatioLimit> limits;
        intel->getTurboRatioLimits(limits);
    } else if (const auto* amd = dynamic_cast<const cpu::x86_amd_info*>(cpu.vendorInfo())) {
        amd->isBSP();
    }
}

// The rate of the time-stamp counter, and the MSRs behind what the library tells, where they can be read.
void addRateAndMsrs(bool threadAffinity, Recording& recording) {
    NotingMachine machine(currentMachine(), recording);
    const ScopedMachine inItsPlace(machine);
    zel::Array<x86_cpu> processors;
    if (!x86_cpu::findLogicalCpus(processors, threadAffinity) || processors.isEmpty()) {
        return; // what they say is in the recording all the same
    }
    std::uint64_t hertz = 0;
    if (processors[0].calculateSpeedTSC(hertz) && hertz != 0) {
        recording.tscHertz = hertz;
    }
    if (readsMsrs(processors[0])) {
        for (const x86_cpu& cpu : processors) {
            askWhatMsrsTell(cpu);
        }
        topology::TopologyRequest request;
        request.useThreadAffinity = threadAffinity;
        request.speeds = true;
        request.measure = false;
        request.limits = true;
        topology::Topology::read(request);
    }
}

} // namespace

boost::optional<Recording> recordCurrentMachine(RecordingError& error, bool threadAffinity) {
    if (const auto* replayed = dynamic_cast<const RecordedMachine*>(&currentMachine())) {
        return replayed->recording();
    }
    boost::optional<Recording> recording = recordProcessors(threadAffinity);
    if (!recording || recording->processors.empty()) {
        error.message = recording ? "this machine cannot be recorded: no thread can be pinned to any of its processors"
                                  : "this machine cannot be recorded: its processors cannot be listed";
        return boost::none;
    }
    recording->numaNodes = currentMachine().numaNodes().value_or(NumaNodes());
    const MicrocodeRevisions microcode = currentMachine().microcodeRevisions();
    for (RecordedProcessor& processor : recording->processors) {
        const auto revision = microcode.find({processor.group, processor.bit});
        if (revision != microcode.end()) {
            processor.microcode = revision->second;
        }
    }
    addRateAndMsrs(threadAffinity, *recording);
    return recording;
}

} // namespace libQuarrow::os
