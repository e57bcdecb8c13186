#include <tests/corpus/TodayFacts.h>

#include <zel/String.h>

#include <algorithm>

using namespace libQuarrow::topology;
using std::to_string;

namespace {

using Labels = std::vector<std::string>;

// A bit for each place in the machine's list of processors.
std::string maskOf(const ProcessorSet& processors, const Topology& topology) {
    std::string digits;
    const std::vector<Processor>& all = topology.processors();
    for (std::size_t first = 0; first < all.size(); first += 4) {
        unsigned int digit = 0;
        for (std::size_t i = first; i < std::min(first + 4, all.size()); ++i) {
            digit |= processors.contains(all[i].number) ? 1U << (i - first) : 0;
        }
        digits.insert(digits.begin(), "0123456789abcdef"[digit]);
    }
    return withoutZeros("0x" + digits);
}

std::string cacheName(const CacheFigures& figures) {
    const char* const type = figures.type == CacheType::data          ? "d_"
                             : figures.type == CacheType::instruction ? "i_"
                             : figures.type == CacheType::trace       ? "trace_"
                                                                      : "_";
    return "L" + to_string(figures.level) + type;
}

void addCaches(Facts& facts, const Topology& topology, std::size_t index) {
    for (const Processor::CacheUse& use : topology.processors()[index].caches) {
        const Cache& cache = topology.caches()[use.cache];
        const std::string name = cacheName(cache.figures);
        const std::string of = "cpu" + to_string(index) + " " + name;
        facts[of + "KB"] = to_string(cache.figures.sizeBytes / 1024);
        facts[of + "cpus"] = use.instance ? maskOf((*cache.sharedBy)[*use.instance], topology) : "not told";
        if (index == 0) {
            facts[name + "KB"] = to_string(cache.figures.sizeBytes / 1024);
            facts[name + "line"] = to_string(cache.figures.lineSizeBytes);
            facts[name + "ways"] = cache.figures.ways ? to_string(*cache.figures.ways) : "not told";
        }
    }
}

std::string kindsOf(const Topology& topology) {
    std::string text;
    for (const CoreKind kind : {CoreKind::performance, CoreKind::efficient, CoreKind::lowPower}) {
        const std::size_t cores = topology.oneThreadPerCore(topology.ofKind(kind)).count();
        text += cores == 0 ? "" : (text.empty() ? "" : " + ") + to_string(cores) + " " + nameOf(kind);
    }
    return text;
}

std::size_t l3Groups(const Topology& topology) {
    std::size_t groups = 0;
    for (const Cache& cache : topology.caches()) {
        groups += cache.figures.level == 3 ? cache.instances().value_or(0) : 0;
    }
    return groups;
}

// "2 performance + 4 efficient": recorders do not tell the low-power cores from the efficient ones, but who gave the
// answer says how many of those have no L3.
std::string kindsIn(const Row& row) {
    std::size_t counts[3] = {}; // as in CoreKind
    for (std::string rest = row.at("hybrid_kinds"); !rest.empty();) {
        const std::size_t plus = rest.find(" + ");
        const std::string part = rest.substr(0, plus);
        rest.erase(0, plus == std::string::npos ? plus : plus + 3);
        const std::size_t kind = part.find("low-power") != std::string::npos   ? 2
                                 : part.find("efficient") != std::string::npos ? 1
                                                                               : 0;
        counts[kind] = std::stoul(part);
    }
    const std::string& givenBy = row.at("given_by");
    const std::size_t without = givenBy.find(" efficient ones have no L3");
    if (without != std::string::npos && counts[2] == 0) {
        counts[2] = std::stoul(givenBy.substr(givenBy.rfind('(', without) + 1));
        counts[1] -= counts[2];
    }
    std::string text;
    for (const CoreKind kind : {CoreKind::performance, CoreKind::efficient, CoreKind::lowPower}) {
        const std::size_t count = counts[static_cast<int>(kind)];
        text += count == 0 ? "" : (text.empty() ? "" : " + ") + to_string(count) + " " + nameOf(kind);
    }
    return text;
}

// What recorders call kinds of core.
std::string kindIn(const std::string& alias) {
    return alias == "Intel Core" || alias == "AMD P-core" || alias == "AMD P-Core" ? "performance"
           : alias == "Intel Atom LP"                                              ? "low power"
           : alias.empty()                                                         ? ""
                                                                                   : "efficient";
}

void addPlaces(Facts& facts, const Row& row, const std::string& who, std::map<std::string, Labels>& labels) {
    const std::string& package = row.at(who + "_package");
    const std::string& core = row.at(who + "_core");
    const std::string& thread = row.at(who + "_thread");
    labels[who + " package of each"].push_back(package);
    labels[who + " core of each"].push_back(core.empty() ? "" : package + "/" + core);
    if (!thread.empty()) {
        facts["cpu" + row.at("cpu") + " thread"] = thread;
    }
}

} // namespace

std::string withoutZeros(const std::string& mask) {
    const std::size_t first = mask.find_first_not_of('0', 2);
    return mask.size() < 2 ? mask : "0x" + (first == std::string::npos ? "0" : mask.substr(first));
}

Facts topologyFacts(const Topology& topology) {
    const ProcessorIdentity& first = *topology.processors().front().identity;
    Facts facts = {
        {"logical_cpus", to_string(topology.processors().size())},
        {"threads", to_string(topology.processors().size())},
        {"vendor", zel::String::fromUtf8(first.vendor).normalizeSpaces().toUtf8()},
        {"signature", zel::String::SprintfFormat("%X", first.signature).toUtf8()},
        {"family", to_string(first.family)},
        {"model", to_string(first.model)},
        {"stepping", to_string(first.stepping)},
        {"brand", zel::String::fromUtf8(first.brand).normalizeSpaces().toUtf8()},
        {"packages", to_string(topology.packages().size())},
        {"cores", to_string(topology.cores().size())},
        {"dies", to_string(topology.dies().size())},
        {"hybrid_kinds", kindsOf(topology)},
        {"L3_groups", to_string(l3Groups(topology))},
        {"hypervisor_signature", first.hypervisor ? first.hypervisor->signature : ""},
        {"cores_per_package", to_string(topology.oneThreadPerCore(topology.packages().front()).count())},
        {"threads_per_package", to_string(topology.packages().front().count())},
    };
    Labels packages, cores;
    for (std::size_t i = 0; i < topology.processors().size(); ++i) {
        const Processor& processor = topology.processors()[i];
        packages.push_back(to_string(processor.package));
        cores.push_back(to_string(processor.core));
        facts["cpu" + to_string(i) + " thread"] = to_string(processor.thread);
        facts["cpu" + to_string(i) + " kind"] = processor.kind ? nameOf(*processor.kind) : "";
        addCaches(facts, topology, i);
    }
    for (const char* who : {"hwloc", "annotated"}) {
        facts[std::string(who) + " package of each"] = partition(packages);
        facts[std::string(who) + " core of each"] = partition(cores);
    }
    return facts;
}

Facts expectedToday(const std::vector<Row>& today, const std::vector<Row>& topology, bool wholeMachine) {
    Facts facts;
    const bool hybrid = !today.empty() && !today.front().at("hybrid_kinds").empty();
    for (const Row& row : today) {
        for (const char* fact : {"packages", "cores", "threads", "L3_groups", "dies", "hypervisor_signature"}) {
            facts[fact] = row.at(fact);
        }
        facts["hybrid_kinds"] = kindsIn(row);
    }
    std::map<std::string, Labels> labels;
    for (const Row& row : topology) {
        const std::string cpu = "cpu" + row.at("cpu") + " ";
        for (const char* cache : {"L1d_KB", "L1i_KB", "L2_KB", "L3_KB"}) {
            facts[cpu + cache] = row.at(std::string("hwloc_") + cache);
        }
        for (const char* cache : {"L1d_cpus", "L1i_cpus", "L2_cpus", "L3_cpus"}) {
            facts[cpu + cache] = wholeMachine ? withoutZeros(row.at(std::string("hwloc_") + cache)) : "";
        }
        facts[cpu + "kind"] = hybrid ? kindIn(row.at("annotated_kind")) : "";
        addPlaces(facts, row, "hwloc", labels);
        addPlaces(facts, row, "annotated", labels);
    }
    for (const auto& [fact, all] : labels) {
        if (wholeMachine && std::count(all.begin(), all.end(), "") == 0) {
            facts[fact] = partition(all);
        }
    }
    return facts;
}
