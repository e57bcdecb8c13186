#include <tools/quarrow/Processors.h>

#include <tools/quarrow/Failure.h>
#include <tools/quarrow/Text.h>

#include <algorithm>
#include <cstdio>
#include <map>

namespace quarrow {

using libQuarrow::cpu::x86_cpu;

namespace {

constexpr unsigned int unknownNumber = 0xFFFFFFFF;

const x86_cpu& processorNamed(const zel::Array<x86_cpu>& processors, const std::string& operand) {
    std::uint64_t number = 0;
    if (zel::String::fromUtf8(operand).toUint64(number) != zel::String::PARSE_OK) {
        throw Failure(Failure::WrongInput, "'" + operand + "' is no logical processor number; write it as in 0 or 12");
    }
    const auto found = std::find_if(processors.begin(), processors.end(), [number](const x86_cpu& cpu) {
        return cpu.getLogicalCpuNumber() == number && number != unknownNumber;
    });
    if (found == processors.end()) {
        std::vector<const x86_cpu*> all;
        for (const x86_cpu& cpu : processors) {
            all.push_back(&cpu);
        }
        throw Failure(Failure::WrongInput,
                      "there is no logical processor " + operand + "; this machine has " + numberRanges(all));
    }
    return *found;
}

// Why processors could not be read.
std::string whyLeftOut(const Request& request) {
    if (!request.threadAffinity) {
        return "the whole process cannot be moved there; try without --process";
    }
    return request.isRecorded() ? "the recording holds nothing of them beyond CPUID leaf 0; record it anew with "
                                  "'quarrow record' or 'cpuid -r'"
                                : "no thread can be moved there; they may be offline, or forbidden to this process";
}

// A command that reports fewer processors than there are says so: once, however often it reads them.
void checkComplete(const Request& request, std::size_t read) {
    const auto system = libQuarrow::cpu::AffinityMask::systemAffinityMask();
    if (read == 0) {
        throw Failure(Failure::CannotAnswer,
                      "no logical processor could be read: " +
                          (system ? whyLeftOut(request) : "the operating system does not tell which there are"));
    }
    const std::size_t all = system ? system->getAffinityData().logicalCpuCount() : read;
    static bool said = false;
    if (read < all && !said) {
        said = true;
        std::fprintf(stderr, "quarrow: left out %zu of %zu logical processors: %s\n", all - read, all,
                     whyLeftOut(request).c_str());
    }
}

} // namespace

zel::Array<x86_cpu> readProcessors(const Request& request) {
    zel::Array<x86_cpu> processors;
    x86_cpu::findLogicalCpus(processors, request.threadAffinity);
    checkComplete(request, processors.size());
    return processors;
}

libQuarrow::cpu::x86_physical_cpus readTree(const Request& request) {
    libQuarrow::cpu::x86_physical_cpus tree(request.threadAffinity);
    checkComplete(request, tree.getThreadCount());
    return tree;
}

std::vector<const x86_cpu*> namedProcessors(const zel::Array<x86_cpu>& processors,
                                            const std::vector<std::string>& operands) {
    std::vector<const x86_cpu*> named;
    named.reserve(std::max(operands.size(), processors.size()));
    for (const std::string& operand : operands) {
        named.push_back(&processorNamed(processors, operand));
    }
    if (operands.empty()) {
        for (const x86_cpu& cpu : processors) {
            named.push_back(&cpu);
        }
    }
    return named;
}

std::string describedTogether(const zel::Array<x86_cpu>& processors,
                              const std::function<std::string(const x86_cpu&)>& describe) {
    struct Group {
        std::string description;
        std::vector<const x86_cpu*> processors;
    };
    std::vector<Group> groups;
    std::map<std::string, std::size_t> places;
    for (const x86_cpu& cpu : processors) {
        const auto [place, isNew] = places.emplace(describe(cpu), groups.size());
        if (isNew) {
            groups.push_back({place->first, {}});
        }
        groups[place->second].processors.push_back(&cpu);
    }
    std::string text;
    for (const Group& group : groups) {
        text += (text.empty() ? "" : "\n") + line("Logical CPUs", numberRanges(group.processors)) + group.description;
    }
    return text;
}

std::string numberRanges(const std::vector<const x86_cpu*>& processors) {
    std::vector<unsigned int> numbers;
    std::string others;
    for (const x86_cpu* cpu : processors) {
        if (cpu->getLogicalCpuNumber() != unknownNumber) {
            numbers.push_back(cpu->getLogicalCpuNumber());
        } else {
            others += ", " + cpu->getAffinityMask().toString().toUtf8();
        }
    }
    std::sort(numbers.begin(), numbers.end());
    std::string text;
    for (std::size_t first = 0; first < numbers.size();) {
        std::size_t last = first;
        while (last + 1 < numbers.size() && numbers[last + 1] == numbers[last] + 1) {
            ++last;
        }
        text += ", " + std::to_string(numbers[first]);
        if (last > first) {
            text += "-" + std::to_string(numbers[last]);
        }
        first = last + 1;
    }
    text += others;
    return text.empty() ? text : text.substr(2);
}

} // namespace quarrow
