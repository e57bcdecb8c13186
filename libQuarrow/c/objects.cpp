// What a machine has: counts, and the facts of each thing.

#include <libQuarrow/c/Handles.h>

#include <libQuarrow/document/MachineDocument.h>
#include <libQuarrow/topology/names/HypervisorNames.h>

#include <set>

using namespace libQuarrow;
using namespace libQuarrow::c;

std::vector<topology::CoreKind> c::kindsOf(const topology::Topology& topology) {
    std::set<topology::CoreKind> kinds;
    for (const topology::Processor& processor : topology.processors()) {
        if (processor.kind) {
            kinds.insert(*processor.kind);
        }
    }
    return {kinds.begin(), kinds.end()};
}

const topology::Processor& c::processorOf(const quarrow_machine* machine, std::uint32_t number) {
    const std::vector<topology::Processor>& processors = topologyOf(machine).processors();
    // On most machines number n is at index n; who walks a large one is spared a search for each question.
    const topology::Processor* const processor = number < processors.size() && processors[number].number == number
                                                     ? &processors[number]
                                                     : machine->topology.find(number);
    if (processor == nullptr) {
        throw Failure(QUARROW_ERROR_ARGUMENT, "there is no logical processor " + std::to_string(number) +
                                                  "; this machine has " + machine->topology.all().toList());
    }
    return *processor;
}

namespace {

// The constants of the interface are those of the library, and stay what they are.
static_assert(static_cast<int>(topology::CoreKind::performance) == QUARROW_KIND_PERFORMANCE &&
              static_cast<int>(topology::CoreKind::efficient) == QUARROW_KIND_EFFICIENT &&
              static_cast<int>(topology::CoreKind::lowPower) == QUARROW_KIND_LOW_POWER);
static_assert(static_cast<int>(topology::CacheType::data) == QUARROW_CACHE_DATA &&
              static_cast<int>(topology::CacheType::instruction) == QUARROW_CACHE_INSTRUCTION &&
              static_cast<int>(topology::CacheType::unified) == QUARROW_CACHE_UNIFIED &&
              static_cast<int>(topology::CacheType::trace) == QUARROW_CACHE_TRACE);
static_assert(static_cast<int>(topology::TlbType::data) == QUARROW_TLB_DATA &&
              static_cast<int>(topology::TlbType::instruction) == QUARROW_TLB_INSTRUCTION &&
              static_cast<int>(topology::TlbType::unified) == QUARROW_TLB_UNIFIED &&
              static_cast<int>(topology::TlbType::load) == QUARROW_TLB_LOAD &&
              static_cast<int>(topology::TlbType::store) == QUARROW_TLB_STORE);

std::size_t countOf(const topology::Topology& topology, std::uint32_t object) {
    switch (object) {
    case QUARROW_PACKAGES:
        return topology.packages().size();
    case QUARROW_DIES:
        return topology.dies().size();
    case QUARROW_COMPLEXES:
        return topology.complexes().size();
    case QUARROW_MODULES:
        return topology.modules().size();
    case QUARROW_CORES:
        return topology.cores().size();
    case QUARROW_PROCESSORS:
        return topology.processors().size();
    case QUARROW_CACHES:
        return topology.caches().size();
    case QUARROW_TLBS:
        return topology.tlbs().size();
    case QUARROW_NUMA_NODES:
        return topology.numaNodes().size();
    case QUARROW_KINDS:
        return kindsOf(topology).size();
    case QUARROW_LEFT_OUT:
        return topology.leftOut().size();
    default:
        throw Failure(QUARROW_ERROR_ARGUMENT, "there is no such constant of enum quarrow_object");
    }
}

void requireIndex(const topology::Topology& topology, std::uint32_t object, std::size_t index) {
    const std::size_t count = countOf(topology, object);
    if (index >= count) {
        throw Failure(QUARROW_ERROR_ARGUMENT,
                      "there is no object at index " + std::to_string(index) + "; there are " + std::to_string(count));
    }
}

topology::ProcessorSet processorsIn(const topology::Topology& topology, std::uint32_t object, std::size_t index) {
    requireIndex(topology, object, index);
    switch (object) {
    case QUARROW_PACKAGES:
        return topology.packages()[index];
    case QUARROW_DIES:
        return topology.dies()[index];
    case QUARROW_COMPLEXES:
        return topology.complexes()[index];
    case QUARROW_MODULES:
        return topology.modules()[index];
    case QUARROW_CORES:
        return topology.cores()[index];
    case QUARROW_PROCESSORS:
        return {topology.processors()[index].number};
    case QUARROW_CACHES:
        return topology.caches()[index].processors;
    case QUARROW_TLBS:
        return topology.tlbs()[index].processors;
    case QUARROW_NUMA_NODES:
        return topology.numaNodes()[index].processors;
    case QUARROW_KINDS:
        return topology.ofKind(kindsOf(topology)[index]);
    default: // QUARROW_LEFT_OUT
        return {topology.leftOut()[index].number};
    }
}

std::uint32_t numberOf(const topology::Topology& topology, std::uint32_t object, std::size_t index) {
    requireIndex(topology, object, index);
    switch (object) {
    case QUARROW_PROCESSORS:
        return topology.processors()[index].number;
    case QUARROW_NUMA_NODES:
        return topology.numaNodes()[index].number;
    case QUARROW_KINDS:
        return static_cast<std::uint32_t>(kindsOf(topology)[index]);
    case QUARROW_LEFT_OUT:
        return topology.leftOut()[index].number;
    default:
        return static_cast<std::uint32_t>(index);
    }
}

quarrow_processor factsOf(const topology::Processor& processor, const ProcessorTexts::Texts& texts) {
    const topology::ProcessorIdentity& identity = *processor.identity;
    quarrow_processor facts = {};
    facts.number = processor.number;
    facts.group = processor.group;
    facts.bit = processor.bit;
    facts.apic_id = orNone(processor.apicId);
    facts.package = processor.package;
    facts.die = orNone(processor.die);
    facts.complex = orNone(processor.complex);
    facts.module = orNone(processor.module);
    facts.core = processor.core;
    facts.thread = processor.thread;
    facts.numa_node = orNone(processor.numaNode);
    facts.kind = processor.kind ? static_cast<std::uint32_t>(*processor.kind) : QUARROW_NONE;
    facts.family = identity.family;
    facts.model = identity.model;
    facts.stepping = identity.stepping;
    facts.signature = identity.signature;
    facts.brand_index = identity.brandIndex;
    facts.package_type = identity.packageType;
    facts.max_leaf = identity.maxLeaf;
    facts.max_extended_leaf = identity.maxExtendedLeaf;
    facts.core_type = orNone(identity.coreType);
    facts.physical_address_bits = orNone(identity.physicalAddressBits);
    facts.linear_address_bits = orNone(identity.linearAddressBits);
    facts.level = identity.level.value_or(0);
    facts.hypervisor_interface = identity.hypervisor ? orNone(identity.hypervisor->interfaceSignature) : QUARROW_NONE;
    facts.cache_count = static_cast<std::uint32_t>(processor.caches.size());
    facts.further_hypervisor_count = static_cast<std::uint32_t>(identity.furtherHypervisors.size());
    facts.microcode = orNone(processor.microcode);
    if (identity.avx10) {
        facts.avx10_version = identity.avx10->version;
        for (const std::uint32_t bits : identity.avx10->vectorBits) {
            facts.avx10_vector_bits += bits;
        }
    }
    facts.name = texts.name.c_str();
    facts.vendor = identity.vendor.c_str();
    facts.brand = identity.brand.c_str();
    facts.microarchitecture = texts.microarchitecture;
    facts.codename = texts.codename;
    facts.process = texts.process;
    facts.hypervisor = texts.hypervisor;
    facts.hypervisor_name = texts.hypervisorName;
    facts.revision = texts.revision;
    facts.package_name = texts.packageName;
    return facts;
}

quarrow_cache factsOf(const topology::Cache& cache) {
    const topology::CacheFigures& figures = cache.figures;
    quarrow_cache facts = {};
    facts.level = figures.level;
    facts.type = static_cast<std::uint32_t>(figures.type);
    facts.size = figures.sizeBytes;
    facts.sets = figures.sets.value_or(QUARROW_NONE64);
    facts.ways = orNone(figures.ways);
    facts.line_size = figures.lineSizeBytes;
    facts.inclusive = figures.inclusive ? std::uint32_t{*figures.inclusive} : QUARROW_NONE;
    facts.instances = cache.instances() ? static_cast<std::uint32_t>(*cache.instances()) : QUARROW_NONE;
    return facts;
}

quarrow_tlb factsOf(const topology::Tlb& tlb) {
    const topology::TlbFigures& figures = tlb.figures;
    quarrow_tlb facts = {};
    facts.level = figures.level;
    facts.type = static_cast<std::uint32_t>(figures.type);
    facts.page_sizes = figures.pageSizes.sum();
    facts.entries = figures.entries;
    facts.ways = orNone(figures.ways);
    return facts;
}

} // namespace

size_t quarrow_machine_count(const quarrow_machine* machine, uint32_t object) {
    return answer<size_t>(0, [&] { return countOf(topologyOf(machine), object); });
}

uint32_t quarrow_machine_object_number(const quarrow_machine* machine, uint32_t object, size_t index) {
    return answer(QUARROW_NONE, [&] { return numberOf(topologyOf(machine), object, index); });
}

quarrow_set* quarrow_set_of_object(const quarrow_machine* machine, uint32_t object, size_t index) {
    return answer<quarrow_set*>(nullptr, [&] { return newSet(processorsIn(topologyOf(machine), object, index)); });
}

uint32_t quarrow_machine_level(const quarrow_machine* machine) {
    return answer<uint32_t>(0, [&] { return document::levelOfAll(topologyOf(machine)).value_or(0); });
}

int quarrow_machine_processor(const quarrow_machine* machine, size_t index, quarrow_processor* processor, size_t size) {
    return attempt([&] {
        const topology::Processor& found = elementOf(topologyOf(machine).processors(), index, "processor");
        fillStructure(processor, size, factsOf(found, machine->texts.of(machine->topology, index)));
    });
}

uint32_t quarrow_machine_find(const quarrow_machine* machine, uint32_t number) {
    return answer(QUARROW_NONE, [&] {
        const topology::Topology& topology = topologyOf(machine);
        const topology::Processor* const found = topology.find(number);
        return found != nullptr ? static_cast<std::uint32_t>(found - topology.processors().data()) : QUARROW_NONE;
    });
}

int quarrow_processor_further_hypervisor(const quarrow_machine* machine, uint32_t number, size_t which,
                                         quarrow_hypervisor* hypervisor, size_t size) {
    return attempt([&] {
        const topology::Hypervisor& found =
            elementOf(processorOf(machine, number).identity->furtherHypervisors, which, "further hypervisor");
        const quarrow_hypervisor facts = {orNone(found.interfaceSignature), 0, found.signature.c_str(),
                                          orNull(topology::hypervisorNamed(found.signature))};
        fillStructure(hypervisor, size, facts);
    });
}

int quarrow_machine_cache(const quarrow_machine* machine, size_t index, quarrow_cache* cache, size_t size) {
    return attempt(
        [&] { fillStructure(cache, size, factsOf(elementOf(topologyOf(machine).caches(), index, "cache"))); });
}

int quarrow_processor_cache(const quarrow_machine* machine, uint32_t number, size_t which, uint32_t* cache,
                            uint32_t* instance) {
    return attempt([&] {
        const auto& use = elementOf(processorOf(machine, number).caches, which, "cache of that processor");
        if (cache != nullptr) {
            *cache = use.cache;
        }
        if (instance != nullptr) {
            *instance = orNone(use.instance);
        }
    });
}

int quarrow_machine_tlb(const quarrow_machine* machine, size_t index, quarrow_tlb* tlb, size_t size) {
    return attempt([&] { fillStructure(tlb, size, factsOf(elementOf(topologyOf(machine).tlbs(), index, "TLB"))); });
}

int quarrow_machine_left_out(const quarrow_machine* machine, size_t index, quarrow_left_out* processor, size_t size) {
    return attempt([&] {
        const topology::LeftOutProcessor& found =
            elementOf(topologyOf(machine).leftOut(), index, "processor that was left out");
        const quarrow_left_out facts = {found.number, found.group, found.bit, 0, found.reason.c_str()};
        fillStructure(processor, size, facts);
    });
}

const char* quarrow_kind_name(uint32_t kind) {
    return wordFor(kind, topology::CoreKind::lowPower);
}

const char* quarrow_cache_type_name(uint32_t type) {
    return wordFor(type, topology::CacheType::trace);
}

const char* quarrow_tlb_type_name(uint32_t type) {
    return wordFor(type, topology::TlbType::store);
}
