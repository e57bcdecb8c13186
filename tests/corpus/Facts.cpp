#include <tests/corpus/Facts.h>

#include <libQuarrow/cpu/x86/x86_caches.h>
#include <libQuarrow/cpu/x86/x86_physical_cpus.h>
#include <libQuarrow/os/recorded/RecordedMachine.h>
#include <tests/corpus/FlagNames.h>

#include <bitset>
#include <stdexcept>

using namespace libQuarrow;
using cpu::x86_cpu;

namespace {

std::string number(unsigned long long value) {
    return std::to_string(value);
}

void addFlags(Facts& facts, const x86_cpu& first) {
    for (const FlagName& row : flagNames) {
        const bool asked = first.isIntel() ? row.intel : first.isAmd() ? row.amd : row.others;
        if (asked) {
            facts[std::string("flag ") + row.flag] = first.supportsFeature(row.feature) ? "yes" : "no";
        } else if (first.supportsFeature(row.feature)) {
            facts[std::string("flag ") + row.flag] = "set, but not to be asked of this maker's processors";
        }
    }
}

void addTree(Facts& facts, const cpu::x86_physical_cpus& tree) {
    facts["packages"] = number(tree.size());
    facts["cores per package"] = number(tree[0].getCoreCount());
    facts["threads per package"] = number(tree[0].getThreadCount());
}

void addPlaces(Facts& facts, const zel::Array<x86_cpu>& cpus) {
    std::vector<std::string> packages;
    std::vector<std::string> cores;
    for (const x86_cpu& processor : cpus) {
        const cpu::x86_cpu_location& at = processor.getLocation();
        packages.push_back(number(at.cpu));
        cores.push_back(number(at.cpu) + "/" + number(at.core));
    }
    facts["package of each"] = partition(packages);
    facts["core of each"] = partition(cores);
}

std::string cacheName(const cpu::x86_cache& cache) {
    const std::string level = cpu::x86_cache::levelText(cache.getCacheLevel());
    switch (cache.getCacheType()) {
    case cpu::x86_cache_type_data:
        return level + "d";
    case cpu::x86_cache_type_instruction:
        return level + "i";
    default:
        return level;
    }
}

// The processors that an instance serves: those that its topology IDs match or, without IDs, only how many they are.
std::string sharers(const cpu::x86_cache& cache, const zel::Array<x86_cpu>& cpus) {
    std::string mask(cpus.size(), '0');
    for (std::size_t i = 0; i < cpus.size(); ++i) {
        unsigned int id = 0;
        mask[i] = cpus[i].getApicId(id) && cache.matchesApicId(id) ? '1' : '0';
    }
    if (mask.find('1') != std::string::npos) {
        return mask;
    }
    return cache.getThreadsSharing() == 0 ? "not known" : number(cache.getThreadsSharing());
}

void addCaches(Facts& facts, const zel::Array<x86_cpu>& cpus) {
    for (std::size_t i = 0; i < cpus.size(); ++i) {
        cpu::x86_caches caches;
        cpus[i].getCaches(caches);
        for (const cpu::x86_cache& cache : caches) {
            std::uint64_t bytes = 0;
            if (!cache.getCacheSizeBytes(bytes)) {
                continue;
            }
            const std::string name = cacheName(cache);
            const std::string of = "cpu" + number(i) + " " + name;
            facts[of + " KB"] = number(bytes / 1024);
            facts[of + " shared by"] = sharers(cache, cpus);
            if (i == 0) {
                std::uint32_t ways = 0;
                cpu::x86_cache::getNWayAssocFromConstant(cache.getAssociativity(), ways);
                facts[name + " KB"] = number(bytes / 1024);
                facts[name + " line"] = number(cache.getLineSizeBytes());
                facts[name + " ways"] = number(ways);
            }
        }
    }
}

void put(Facts& facts, const std::string& name, const std::string& value) {
    if (!value.empty()) {
        facts[name] = value;
    }
}

std::string maskText(const std::string& hexadecimal, std::size_t processors) {
    std::string text(processors, '0');
    const unsigned long long mask = std::stoull(hexadecimal, nullptr, 16);
    for (std::size_t i = 0; i < processors && i < 64; ++i) {
        text[i] = ((mask >> i) & 1) != 0 ? '1' : '0';
    }
    return text;
}

void addExpectedFlags(Facts& facts, const std::string& vendor, const std::string& flags) {
    const std::string padded = " " + flags + " ";
    for (const FlagName& row : flagNames) {
        if (vendor == "GenuineIntel" ? row.intel : vendor == "AuthenticAMD" ? row.amd : row.others) {
            const bool set = padded.find(std::string(" ") + row.flag + " ") != std::string::npos;
            facts[std::string("flag ") + row.flag] = set ? "yes" : "no";
        }
    }
}

} // namespace

std::string partition(const std::vector<std::string>& labels) {
    std::map<std::string, std::string> names;
    std::string text;
    for (const std::string& label : labels) {
        const auto found = names.emplace(label, number(names.size())).first;
        text += (text.empty() ? "" : " ") + found->second;
    }
    return text;
}

Facts quarrowFacts(const std::string& path) {
    os::RecordingError error;
    const boost::optional<os::Recording> recording = os::readRecording(path, error);
    if (!recording) {
        throw std::runtime_error(error.message);
    }
    os::RecordedMachine machine(*recording);
    const os::ScopedMachine scope(machine);

    zel::Array<x86_cpu> cpus;
    if (!x86_cpu::findLogicalCpus(cpus, true) || cpus.isEmpty()) {
        return {};
    }
    const x86_cpu& first = cpus[0];
    const cpu::x86_cpu_signature& signature = first.getSignature();
    Facts facts;
    facts["logical processors"] = number(cpus.size());
    facts["vendor"] = first.getVendorName().toUtf8();
    facts["signature"] = zel::String::SprintfFormat("%X", signature.signature).toUtf8();
    facts["family"] = number(signature.displayValid ? signature.displayFamily : signature.family);
    facts["model"] = number(signature.displayValid ? signature.displayModel : signature.model);
    facts["stepping"] = number(signature.stepping);
    facts["brand"] = first.getCpuName().toUtf8();
    addFlags(facts, first);
    addTree(facts, cpu::x86_physical_cpus(true));
    addPlaces(facts, cpus);
    addCaches(facts, cpus);
    return facts;
}

Facts expectedFacts(const Table::Row& row, const std::vector<Table::Row>& topology,
                    const std::vector<Table::Row>& flags, bool wholeMachine) {
    Facts facts;
    for (const auto& [column, fact] : std::map<std::string, std::string>{{"logical_cpus", "logical processors"},
                                                                         {"vendor", "vendor"},
                                                                         {"signature", "signature"},
                                                                         {"family", "family"},
                                                                         {"model", "model"},
                                                                         {"stepping", "stepping"}}) {
        put(facts, fact, row.at(column));
    }
    put(facts, "brand", zel::String::fromUtf8(row.at("brand")).normalizeSpaces().toUtf8());
    for (const char* cache : {"L1d", "L1i", "L2", "L3"}) {
        const std::string name = cache;
        const bool none = row.at(name + "_KB") == "0";
        for (const char* property : {"KB", "line", "ways"}) {
            put(facts, name + " " + property, none ? std::string() : row.at(name + "_" + property));
        }
        if (none) {
            facts[name + " KB"] = "none";
        }
    }
    for (const Table::Row& flag : flags) {
        addExpectedFlags(facts, row.at("vendor"), flag.at("linux_style_flags_of_cpu_0"));
    }
    if (!wholeMachine) {
        return facts;
    }
    put(facts, "packages", row.at("packages"));
    put(facts, "cores per package", row.at("cores_per_package"));
    put(facts, "threads per package", row.at("threads_per_package"));
    std::vector<std::string> packages;
    std::vector<std::string> cores;
    for (const Table::Row& place : topology) {
        packages.push_back(place.at("hwloc_package"));
        cores.push_back(place.at("hwloc_package") + "/" + place.at("hwloc_core"));
        for (const char* cache : {"L1d", "L1i", "L2", "L3"}) {
            const std::string of = "cpu" + place.at("cpu") + " " + cache;
            const std::string& shared = place.at(std::string("hwloc_") + cache + "_cpus");
            put(facts, of + " KB", place.at(std::string("hwloc_") + cache + "_KB"));
            put(facts, of + " shared by", shared.empty() ? shared : maskText(shared, topology.size()));
        }
    }
    if (!topology.empty() && !topology.front().at("hwloc_package").empty()) {
        facts["package of each"] = partition(packages);
        facts["core of each"] = partition(cores);
    }
    return facts;
}
