#include <libQuarrow/topology/MachineVisit.h>

#include <libQuarrow/cpu/x86/decode/CpuidReader.h>
#include <libQuarrow/machine/Machine.h>
#include <libQuarrow/topology/ProcessorTour.h>
#include <libQuarrow/topology/TopologyBuilder.h>
#include <libQuarrow/topology/decode/ProcessorDecoder.h>

#include <utility>

namespace libQuarrow::topology {

std::optional<Topology> visitMachine(bool useThreadAffinity) {
    std::vector<ProcessorFacts> visited;
    auto tour = tourProcessors(useThreadAffinity, [&visited](const ProcessorPlace& place, cpu::CpuidReader& cpuid) {
        cpu::RememberingCpuidReader remembering(cpuid);
        ProcessorFacts facts = decodeProcessor(remembering);
        facts.number = place.number;
        facts.group = place.group;
        facts.bit = place.bit;
        visited.push_back(std::move(facts));
    });
    if (!tour) {
        return std::nullopt;
    }
    TopologyBuilder builder(std::move(tour->numbering));
    for (ProcessorFacts& facts : visited) {
        builder.add(std::move(facts));
    }
    for (LeftOutProcessor& processor : tour->leftOut) {
        builder.leaveOut(std::move(processor));
    }
    if (const auto nodes = os::currentMachine().numaNodes()) {
        builder.setNumaNodes(*nodes);
    }
    return std::move(builder).build();
}

} // namespace libQuarrow::topology
