#include <libQuarrow/topology/MachineVisit.h>

#include <libQuarrow/cpu/x86/decode/CpuidReader.h>
#include <libQuarrow/machine/Machine.h>
#include <libQuarrow/topology/ProcessorTour.h>
#include <libQuarrow/topology/TopologyBuilder.h>
#include <libQuarrow/topology/decode/ProcessorDecoder.h>
#include <libQuarrow/topology/leaves/AllAnswers.h>
#include <libQuarrow/topology/speed/ProcessorMsrs.h>
#include <libQuarrow/topology/speed/SpeedDecoder.h>

#include <string>
#include <utility>

namespace libQuarrow::topology {
namespace {

// What else is asked of the processor that the thread is on. Why its MSRs could not be read, where one was needed.
std::string askMore(const TopologyRequest& request, cpu::CpuidReader& cpuid, ProcessorFacts& facts) {
    const FeatureSet& features = facts.model->identity.features;
    ProcessorMsrs msrs;
    const cpu::MsrReader readMsr = [&](std::uint32_t msr, std::uint64_t& value) {
        return features.contains("msr") && msrs.read(msr, value);
    };
    const SpeedSources sources{cpuid, readMsr, *facts.model};
    if (request.speeds) {
        const os::SystemFrequencies system = os::currentMachine().frequencies(facts.group, facts.bit);
        const MeasuredSpeed measured = request.measure ? measureSpeed(features, readMsr) : MeasuredSpeed();
        facts.speed = std::make_shared<const ProcessorSpeed>(decodeSpeed(sources, measured, system));
    }
    if (request.limits) {
        facts.limits = std::make_shared<const ProcessorLimits>(decodeLimits(sources));
    }
    return msrs.refusal();
}

bool asksMoreOf(const TopologyRequest& request, std::uint32_t number) {
    return (request.speeds || request.limits) && (!request.whose || request.whose->contains(number));
}

} // namespace

std::optional<Topology> visitMachine(const TopologyRequest& request) {
    TopologyBuilder builder;
    ProcessorDecoder decoder;
    std::string refusal;
    auto tour = tourProcessors(
        request.useThreadAffinity,
        [&](const ProcessorPlace& place, cpu::CpuidReader& cpuid) {
            cpu::RememberingCpuidReader remembering(cpuid);
            ProcessorFacts facts = decoder.decode(remembering);
            facts.number = place.number;
            facts.group = place.group;
            facts.bit = place.bit;
            if (asksMoreOf(request, place.number)) {
                const std::string why = askMore(request, remembering, facts);
                refusal = why.empty() ? refusal : why;
            }
            if (request.leaves) {
                facts.leaves = std::make_shared<const ProcessorLeaves>(place.number, allAnswers(remembering));
            }
            builder.add(std::move(facts));
        },
        request.progress);
    if (!tour) {
        return std::nullopt;
    }
    builder.setNumbering(std::move(tour->numbering));
    for (LeftOutProcessor& processor : tour->leftOut) {
        builder.leaveOut(std::move(processor));
    }
    builder.setMsrRefusal(std::move(refusal));
    if (request.microcode) {
        builder.setMicrocode(os::currentMachine().microcodeRevisions());
    }
    if (auto nodes = os::currentMachine().numaNodes()) {
        builder.setNumaNodes(std::move(*nodes));
    }
    return std::move(builder).build();
}

} // namespace libQuarrow::topology
