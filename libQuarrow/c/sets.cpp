// Sets of processors.

#include <libQuarrow/c/Handles.h>

#include <libQuarrow/topology/ProcessorAffinity.h>

#include <algorithm>

using namespace libQuarrow;
using namespace libQuarrow::c;
using topology::ProcessorSet;

namespace {

const ProcessorSet& processorsOf(const quarrow_set* set) {
    return given(set, "set").processors;
}

template <class Make>
quarrow_set* makeSet(Make make) {
    return answer<quarrow_set*>(nullptr, [&] { return newSet(make()); });
}

} // namespace

quarrow_set* quarrow_set_new(void) {
    return makeSet([] { return ProcessorSet(); });
}

quarrow_set* quarrow_set_copy(const quarrow_set* set) {
    return makeSet([&] { return processorsOf(set); });
}

quarrow_set* quarrow_set_from_list(const char* list) {
    return makeSet([&] {
        auto processors = ProcessorSet::fromList(&given(list, "list"));
        if (!processors) {
            throw Failure(QUARROW_ERROR_INPUT,
                          "'" + std::string(list) + "' is not a list of logical processors; write it as in 0,4-7");
        }
        return std::move(*processors);
    });
}

quarrow_set* quarrow_set_from_affinity(const quarrow_machine* machine, const char* affinity) {
    return makeSet([&] {
        const topology::Topology& topology = topologyOf(machine);
        const std::shared_lock<std::shared_mutex> lock(currentMachineMutex()); // an affinity knows how it would be set
        cpu::AffinityMask mask;
        if (!mask.fromString(zel::String::fromUtf8(&given(affinity, "affinity")))) {
            throw Failure(QUARROW_ERROR_INPUT,
                          "'" + std::string(affinity) + "' is not an affinity; write it as in 0:Fh/1:3h");
        }
        ProcessorSet processors = topology::processorsOf(mask, topology.numbering());
        if (processors.count() != mask.getAffinityData().logicalCpuCount()) {
            throw Failure(QUARROW_ERROR_INPUT, "this machine has no group for each part of " + std::string(affinity));
        }
        return processors;
    });
}

void quarrow_set_free(quarrow_set* set) {
    delete set;
}

int quarrow_set_add(quarrow_set* set, uint32_t first, uint32_t last) {
    return attempt([&] {
        ProcessorSet& processors = given(set, "set").processors;
        if (first > last || last > ProcessorSet::highestNumber) {
            throw Failure(QUARROW_ERROR_ARGUMENT,
                          "no processors are numbered " + std::to_string(first) + " to " + std::to_string(last));
        }
        processors.insert(ProcessorSet::Range{first, last});
    });
}

quarrow_set* quarrow_set_union(const quarrow_set* a, const quarrow_set* b) {
    return makeSet([&] { return processorsOf(a) | processorsOf(b); });
}

quarrow_set* quarrow_set_intersection(const quarrow_set* a, const quarrow_set* b) {
    return makeSet([&] { return processorsOf(a) & processorsOf(b); });
}

quarrow_set* quarrow_set_difference(const quarrow_set* a, const quarrow_set* b) {
    return makeSet([&] { return processorsOf(a) - processorsOf(b); });
}

size_t quarrow_set_count(const quarrow_set* set) {
    return answer<size_t>(0, [&] { return processorsOf(set).count(); });
}

int quarrow_set_contains(const quarrow_set* set, uint32_t number) {
    return answer(0, [&] { return processorsOf(set).contains(number) ? 1 : 0; });
}

int quarrow_set_includes(const quarrow_set* set, const quarrow_set* other) {
    return answer(0, [&] { return processorsOf(set).contains(processorsOf(other)) ? 1 : 0; });
}

int quarrow_set_equal(const quarrow_set* a, const quarrow_set* b) {
    return answer(0, [&] { return processorsOf(a) == processorsOf(b) ? 1 : 0; });
}

uint32_t quarrow_set_next(const quarrow_set* set, uint32_t from) {
    return answer(QUARROW_NONE, [&] {
        const ProcessorSet::Ranges ranges = processorsOf(set).ranges();
        const auto range =
            std::lower_bound(ranges.begin(), ranges.end(), from,
                             [](const ProcessorSet::Range& a, std::uint32_t number) { return a.last < number; });
        return range != ranges.end() ? std::max(range->first, from) : QUARROW_NONE;
    });
}

char* quarrow_set_list(const quarrow_set* set) {
    return answer<char*>(nullptr, [&] { return ownedText(processorsOf(set).toList()); });
}

char* quarrow_set_affinity(const quarrow_machine* machine, const quarrow_set* set) {
    return answer<char*>(nullptr, [&] {
        const topology::ProcessorNumbering& numbering = topologyOf(machine).numbering();
        const std::shared_lock<std::shared_mutex> lock(currentMachineMutex()); // an affinity knows how it would be set
        const cpu::AffinityMask mask = affinityOf(processorsOf(set), numbering);
        if (mask.getAffinityData().logicalCpuCount() != processorsOf(set).count()) {
            throw Failure(QUARROW_ERROR_INPUT,
                          "this machine has no place for each of the logical processors " + processorsOf(set).toList());
        }
        return ownedText(mask.toString().toUtf8());
    });
}

quarrow_set* quarrow_set_of_machine(const quarrow_machine* machine) {
    return makeSet([&] { return topologyOf(machine).all(); });
}

quarrow_set* quarrow_set_of_cache(const quarrow_machine* machine, size_t cache, size_t instance) {
    return makeSet([&] {
        const topology::Cache& found = elementOf(topologyOf(machine).caches(), cache, "cache");
        if (!found.sharedBy) {
            throw Failure(QUARROW_ERROR_UNKNOWN, "the machine does not tell who shares that cache");
        }
        return elementOf(*found.sharedBy, instance, "instance of that cache");
    });
}

quarrow_set* quarrow_set_of_kind(const quarrow_machine* machine, uint32_t kind) {
    return makeSet([&] {
        if (kind > QUARROW_KIND_LOW_POWER) {
            throw Failure(QUARROW_ERROR_ARGUMENT, "there is no such constant of enum quarrow_kind");
        }
        return topologyOf(machine).ofKind(static_cast<topology::CoreKind>(kind));
    });
}

quarrow_set* quarrow_set_of_numa_node(const quarrow_machine* machine, uint32_t number) {
    return makeSet([&] { return topologyOf(machine).ofNumaNode(number); });
}

quarrow_set* quarrow_set_sharing_cache(const quarrow_machine* machine, uint32_t number, uint32_t level) {
    return makeSet([&] {
        processorOf(machine, number);
        auto sharing = machine->topology.sharingCache(number, level);
        if (!sharing) {
            throw Failure(QUARROW_ERROR_UNKNOWN, "logical processor " + std::to_string(number) +
                                                     " has no cache of level " + std::to_string(level) +
                                                     ", or does not tell who shares it");
        }
        return std::move(*sharing);
    });
}

quarrow_set* quarrow_set_one_per_core(const quarrow_machine* machine, const quarrow_set* set) {
    return makeSet([&] {
        const topology::Topology& topology = topologyOf(machine);
        return set != nullptr ? topology.oneThreadPerCore(set->processors) : topology.oneThreadPerCore();
    });
}
