#include <tools/quarrow/TopologyReading.h>

#include <tools/quarrow/Failure.h>
#include <tools/quarrow/Progress.h>
#include <tools/quarrow/Text.h>

#include <zel/String.h>

#include <cstdio>
#include <map>
#include <memory>

namespace quarrow {

using libQuarrow::topology::LeftOutProcessor;
using libQuarrow::topology::TopologyRequest;

namespace {

std::string advice(const Request& request) {
    if (!request.threadAffinity) {
        return "; the whole process was to be moved there, try without --process";
    }
    return request.isRecorded() ? "; record it anew with 'quarrow record' or 'cpuid -r'" : "";
}

// "quarrow: left out 2 of 8 logical processors, 3,5: they cannot be visited".
void sayWhoIsLeftOut(const Request& request, const std::vector<LeftOutProcessor>& leftOut, std::size_t visited) {
    std::map<std::string, ProcessorSet> byReason;
    for (const LeftOutProcessor& processor : leftOut) {
        byReason[processor.reason].insert(processor.number);
    }
    for (const auto& [reason, numbers] : byReason) {
        std::fprintf(stderr, "quarrow: left out %zu of %zu logical processors, %s: %s%s\n", numbers.count(),
                     visited + leftOut.size(), numbers.toList().c_str(), reason.c_str(), advice(request).c_str());
    }
}

// What was read of a machine that told its processors, some of which could be visited.
template <class Machine>
Machine checked(const Request& request, std::optional<Machine> machine) {
    if (!machine) {
        throw Failure(Failure::CannotAnswer, "no logical processor could be read: the operating system does not tell "
                                             "which there are");
    }
    if (machine->processors().empty()) {
        const auto& leftOut = machine->leftOut();
        throw Failure(Failure::CannotAnswer,
                      "no logical processor could be read: " +
                          (leftOut.empty() ? std::string("there is none") : leftOut.front().reason + advice(request)));
    }
    sayWhoIsLeftOut(request, machine->leftOut(), machine->processors().size());
    return std::move(*machine);
}

TopologyRequest requestOfNamed(const Request& request) {
    TopologyRequest asked;
    if (!request.operands.empty()) {
        asked.whose.emplace();
        for (const std::string& operand : request.operands) {
            *asked.whose |= numbersIn(operand);
        }
    }
    return asked;
}

} // namespace

Topology readTopology(const Request& request, TopologyRequest asked) {
    asked.useThreadAffinity = request.threadAffinity;
    asked.microcode = true;
    return checked(request, Topology::read(asked));
}

MachineLeaves readLeaves(const Request& request) {
    return checked(request, MachineLeaves::read(request.threadAffinity));
}

Topology readSpeeds(const Request& request) {
    TopologyRequest asked = requestOfNamed(request);
    asked.speeds = true;
    std::unique_ptr<Progress> progress;
    asked.progress = [&progress](std::size_t /*done*/, std::size_t all) {
        if (progress == nullptr) {
            progress = std::make_unique<Progress>("Measuring", all);
        }
        progress->step();
    };
    return readTopology(request, asked);
}

Topology readLimits(const Request& request) {
    TopologyRequest asked = requestOfNamed(request);
    asked.limits = true;
    return readTopology(request, asked);
}

std::string whyNoMsrs(const Topology& topology) {
    return topology.msrRefusal().empty() ? std::string()
                                         : "MSRs might tell more: " + oneLine(topology.msrRefusal()) + ".\n";
}

ProcessorSet numbersIn(const std::string& operand) {
    if (const auto list = ProcessorSet::fromList(operand)) {
        return *list;
    }
    std::uint64_t number = 0;
    if (zel::String::fromUtf8(operand).toUint64(number) != zel::String::PARSE_OK ||
        number > ProcessorSet::highestNumber) {
        throw Failure(Failure::WrongInput,
                      "'" + operand + "' is not a list of logical processors; write it as in 0,4-7");
    }
    return {static_cast<std::uint32_t>(number)};
}

ProcessorSet namedSet(const Topology& topology, const std::vector<std::string>& operands) {
    ProcessorSet all = topology.all();
    if (operands.empty()) {
        return all;
    }
    ProcessorSet named;
    for (const std::string& operand : operands) {
        const ProcessorSet list = numbersIn(operand);
        const ProcessorSet strangers = list - all;
        if (!strangers.empty()) {
            throw Failure(Failure::WrongInput,
                          "there is no logical processor " + strangers.toList() + "; this machine has " + all.toList());
        }
        named |= list;
    }
    return named;
}

std::vector<const Processor*> namedProcessors(const Topology& topology, const std::vector<std::string>& operands) {
    const ProcessorSet named = namedSet(topology, operands);
    std::vector<const Processor*> processors;
    for (const Processor& processor : topology.processors()) {
        if (named.contains(processor.number)) {
            processors.push_back(&processor);
        }
    }
    return processors;
}

std::vector<AlikeProcessors> alikeProcessors(const std::vector<const Processor*>& processors,
                                             const std::function<std::string(const Processor&)>& describe) {
    std::vector<AlikeProcessors> groups;
    std::map<std::string, std::size_t> places;
    for (const Processor* processor : processors) {
        const auto [place, isNew] = places.emplace(describe(*processor), groups.size());
        if (isNew) {
            groups.push_back({{}, place->first});
        }
        groups[place->second].numbers.insert(processor->number);
    }
    return groups;
}

} // namespace quarrow
