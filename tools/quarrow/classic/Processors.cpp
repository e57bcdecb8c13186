#include <tools/quarrow/classic/Processors.h>

#include <tools/quarrow/Failure.h>
#include <tools/quarrow/Progress.h>
#include <tools/quarrow/Text.h>
#include <tools/quarrow/TopologyReading.h>

#include <algorithm>
#include <cstdio>
#include <map>

namespace quarrow {

using libQuarrow::cpu::x86_cpu;

namespace {

constexpr unsigned int unknownNumber = 0xFFFFFFFF;

bool isNumber(const x86_cpu& cpu, std::uint64_t number) {
    return cpu.getLogicalCpuNumber() == number && number != unknownNumber;
}

void appendNamed(const Processors& processors, const std::string& operand, Processors& named) {
    for (const std::uint32_t number : numbersIn(operand)) {
        const auto found = std::find_if(processors.begin(), processors.end(),
                                        [number](const x86_cpu* cpu) { return isNumber(*cpu, number); });
        if (found == processors.end()) {
            throw Failure(Failure::WrongInput, "there is no logical processor " + std::to_string(number) +
                                                   "; this machine has " + numberRanges(processors));
        }
        named.push_back(*found);
    }
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

// Of the system; none where the operating system does not tell.
boost::optional<std::size_t> processorCount() {
    const auto system = libQuarrow::cpu::AffinityMask::systemAffinityMask();
    return system ? boost::make_optional<std::size_t>(system->getAffinityData().logicalCpuCount()) : boost::none;
}

// A command that reports fewer processors than there are says so: once, however often it reads them.
void checkComplete(const Request& request, const boost::optional<std::size_t>& system, std::size_t read) {
    if (read == 0) {
        throw Failure(Failure::CannotAnswer,
                      "no logical processor could be read: " +
                          (system ? whyLeftOut(request) : "the operating system does not say which there are"));
    }
    const std::size_t all = system.value_or(read);
    static bool said = false;
    if (read < all && !said) {
        said = true;
        std::fprintf(stderr, "quarrow: left out %zu of %zu logical processors: %s\n", all - read, all,
                     whyLeftOut(request).c_str());
    }
}

} // namespace

Machine readMachine(const Request& request, const libQuarrow::cpu::x86_physical_cpus::Visitor& visit,
                    const char* doing) {
    const boost::optional<std::size_t> count = processorCount();
    Processors processors;
    boost::optional<Progress> progress;
    if (doing != nullptr) {
        progress.emplace(doing, count.value_or(0));
    }
    libQuarrow::cpu::x86_physical_cpus tree(request.threadAffinity, [&](const x86_cpu& cpu) {
        processors.push_back(&cpu);
        if (visit) {
            visit(cpu);
        }
        if (progress) {
            progress->step();
        }
    });
    progress = boost::none;
    checkComplete(request, count, processors.size());
    return {std::move(tree), std::move(processors)};
}

bool isNamed(const x86_cpu& cpu, const std::vector<std::string>& operands) {
    return operands.empty() || std::any_of(operands.begin(), operands.end(), [&cpu](const std::string& operand) {
               return cpu.getLogicalCpuNumber() != unknownNumber &&
                      numbersIn(operand).contains(cpu.getLogicalCpuNumber());
           });
}

Processors namedProcessors(const Processors& processors, const std::vector<std::string>& operands) {
    if (operands.empty()) {
        return processors;
    }
    Processors named;
    for (const std::string& operand : operands) {
        appendNamed(processors, operand, named);
    }
    return named;
}

std::string describedTogether(const Processors& processors,
                              const std::function<std::string(const x86_cpu&)>& describe) {
    struct Group {
        std::string description;
        Processors processors;
    };
    std::vector<Group> groups;
    std::map<std::string, std::size_t> places;
    for (const x86_cpu* cpu : processors) {
        const auto [place, isNew] = places.emplace(describe(*cpu), groups.size());
        if (isNew) {
            groups.push_back({place->first, {}});
        }
        groups[place->second].processors.push_back(cpu);
    }
    std::string text;
    for (const Group& group : groups) {
        text += (text.empty() ? "" : "\n") + line("Logical CPUs", numberRanges(group.processors)) + group.description;
    }
    return text;
}

std::string numberRanges(const Processors& processors) {
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
