#include <libQuarrow/recording/formats/RecordingFile.h>
#include <tests/corpus/Facts.h>

#include <libQuarrow/cpu/x86/x86_caches.h>
#include <libQuarrow/cpu/x86/x86_physical_cpus.h>
#include <libQuarrow/os/recorded/RecordedMachine.h>

#include <algorithm>
#include <cctype>
#include <iterator>
#include <sstream>
#include <stdexcept>

using namespace libQuarrow;
using cpu::x86_cpu;
using std::to_string;

namespace {

using Labels = std::vector<std::string>;

void addPlaces(Facts& facts, const Labels& packages, const Labels& cores) {
    facts["package of each"] = partition(packages);
    facts["core of each"] = partition(cores);
}

std::string cacheName(const cpu::x86_cache& cache) {
    const char* const type = cache.getCacheType() == cpu::x86_cache_type_data          ? "d_"
                             : cache.getCacheType() == cpu::x86_cache_type_instruction ? "i_"
                                                                                       : "_";
    return cpu::x86_cache::levelText(cache.getCacheLevel()) + std::string(type);
}

// The processors that an instance serves: those that its topology IDs match, the lowest in the last digit of a
// hexadecimal number, or, without IDs, only how many they are.
std::string sharers(const cpu::x86_cache& cache, const zel::Array<x86_cpu>& cpus) {
    std::string digits;
    for (std::size_t first = 0; first < cpus.size(); first += 4) {
        unsigned int digit = 0;
        for (std::size_t i = first; i < first + 4 && i < cpus.size(); ++i) {
            unsigned int id = 0;
            digit |= cpus[i].getApicId(id) && cache.matchesApicId(id) ? 1U << (i - first) : 0;
        }
        digits.insert(digits.begin(), "0123456789abcdef"[digit]);
    }
    const std::size_t significant = digits.find_first_not_of('0');
    if (significant == std::string::npos) {
        return to_string(cache.getThreadsSharing());
    }
    digits.erase(0, std::min(significant, digits.size() - std::min<std::size_t>(digits.size(), 8)));
    return "0x" + std::string(digits.size() < 8 ? 8 - digits.size() : 0, '0') + digits;
}

void addCaches(Facts& facts, const zel::Array<x86_cpu>& cpus, std::size_t number) {
    cpu::x86_caches caches;
    cpus[number].getCaches(caches);
    for (const cpu::x86_cache& cache : caches) {
        std::uint64_t bytes = 0;
        if (!cache.getCacheSizeBytes(bytes)) {
            continue;
        }
        const std::string name = cacheName(cache);
        const std::string of = "cpu" + to_string(number) + " " + name;
        facts[of + "KB"] = to_string(bytes / 1024);
        facts[of + "cpus"] = sharers(cache, cpus);
        if (number == 0) {
            std::uint32_t ways = 0;
            cpu::x86_cache::getNWayAssocFromConstant(cache.getAssociativity(), ways);
            facts[name + "KB"] = to_string(bytes / 1024);
            facts[name + "line"] = to_string(cache.getLineSizeBytes());
            facts[name + "ways"] = to_string(ways);
        }
    }
}

// Our names of features, each with what the quoted lists call it where that is not the same in small letters.
using FlagNames = std::vector<std::pair<std::string, std::string>>;

// By whose processors we ask for them.
FlagNames flagNames(const std::string& vendor) {
    std::string all = " FPU VME DE PSE TSC MSR PAE MCE CMPXCHG8B=cx8 APIC SEP MTRR PGE MCA CMOV PAT PSE36 CLFLUSH"
                      " ACPI MMX FXSR SSE SSE2";
    if (vendor == "GenuineIntel" || vendor == "AuthenticAMD") {
        all += " HTT=ht SSE3=pni PCLMULQDQ=pclmul MONITOR SSSE3 FMA=fma3 CMPXCHG16B=cx16 SSE4.1=sse4_1"
               " SSE4.2=sse4_2 x2APIC POPCNT AES XSAVE OSXSAVE AVX F16C BMI=bmi1 AVX2 LAHF/SAHF=lahf_lm SYSCALL";
        all += vendor == "GenuineIntel"
                   ? " PSN=pn DS=dts SS TM PBE EST VMX XD EM64T=lm BMI2 HLE RTM RDSEED ADX AVX512F AVX512CD"
                   : " x86-64=lm NX MMX(+)=mmxext 3DNow!=3dnow 3DNow!(+)=3dnowext FFXSR=fxsr_opt RDTSCP"
                     " CMPLEGACY=cmp_legacy SVM MISALIGN_SSE=misalignsse SSE4A ABM PREFETCH=3dnowprefetch OSVW XOP"
                     " SKINIT WDT FMA4 TS FID VID TTP TM=tm_amd STC 100MHZ_STEPS=100mhzsteps HW_PSTATE=hwpstate"
                     " CPB TSC_INVARIANT=constant_tsc";
    }
    FlagNames names;
    std::istringstream words(all);
    for (std::string word; words >> word;) {
        const std::size_t end = std::min(word.find('='), word.size());
        std::string flag = word.substr(std::min(end + 1, word.size()));
        if (flag.empty()) {
            std::transform(word.begin(), word.end(), std::back_inserter(flag),
                           [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
        }
        names.emplace_back(word.substr(0, end), flag);
    }
    return names;
}

// By our list, ", A, B," or by theirs, " a b ".
void addFlags(Facts& facts, const std::string& vendor, const std::string& listed, bool ours) {
    for (const auto& [name, flag] : flagNames(vendor)) {
        const bool found = listed.find(ours ? ", " + name + "," : " " + flag + " ") != std::string::npos;
        facts["flag " + flag] = found ? "yes" : "no";
    }
}

} // namespace

std::string partition(const std::vector<std::string>& labels) {
    std::map<std::string, std::size_t> numbers;
    std::string text;
    for (const std::string& label : labels) {
        text += (text.empty() ? "" : " ") + to_string(numbers.emplace(label, numbers.size()).first->second);
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
    const cpu::x86_physical_cpus tree(true);
    const x86_cpu& first = cpus[0];
    const cpu::x86_cpu_signature& signature = first.getSignature();
    Facts facts = {
        {"logical_cpus", to_string(cpus.size())},
        {"vendor", first.getVendorName().toUtf8()},
        {"signature", zel::String::SprintfFormat("%X", signature.signature).toUtf8()},
        {"family", to_string(signature.displayValid ? signature.displayFamily : signature.family)},
        {"model", to_string(signature.displayValid ? signature.displayModel : signature.model)},
        {"stepping", to_string(signature.stepping)},
        {"brand", first.getCpuName().toUtf8()},
        {"packages", to_string(tree.size())},
        {"cores_per_package", to_string(tree[0].getCoreCount())},
        {"threads_per_package", to_string(tree[0].getThreadCount())},
    };
    addFlags(facts, facts["vendor"], ", " + first.supportedFeatures().toString().toUtf8() + ",", true);
    Labels packages, cores;
    for (std::size_t i = 0; i < cpus.size(); ++i) {
        const cpu::x86_cpu_location& at = cpus[i].getLocation();
        packages.push_back(to_string(at.cpu));
        cores.push_back(to_string(at.cpu) + "/" + to_string(at.core));
        addCaches(facts, cpus, i);
    }
    addPlaces(facts, packages, cores);
    return facts;
}

Facts expectedFacts(const Row& row, const std::vector<Row>& topology, const std::vector<Row>& flags,
                    bool wholeMachine) {
    Facts facts = row;
    for (const char* column : {"file", "kinds"}) {
        facts.erase(column);
    }
    for (const Row& flag : flags) {
        addFlags(facts, row.at("vendor"), " " + flag.at("linux_style_flags_of_cpu_0") + " ", false);
    }
    if (!wholeMachine) {
        for (const char* column : {"packages", "cores_per_package", "threads_per_package"}) {
            facts.erase(column);
        }
        return facts;
    }
    Labels packages, cores;
    for (const Row& place : topology) {
        packages.push_back(place.at("hwloc_package"));
        cores.push_back(place.at("hwloc_package") + "/" + place.at("hwloc_core"));
        for (const char* cache : {"L1d_KB", "L1d_cpus", "L1i_KB", "L1i_cpus", "L2_KB", "L2_cpus", "L3_KB", "L3_cpus"}) {
            facts["cpu" + place.at("cpu") + " " + cache] = place.at(std::string("hwloc_") + cache);
        }
    }
    if (!topology.empty() && !packages[0].empty()) {
        addPlaces(facts, packages, cores);
    }
    return facts;
}
