#include <tools/quarrow/Processors.h>

#include <tools/quarrow/Failure.h>

#include <algorithm>

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

[[noreturn]] void failWithoutProcessors(const Request& request) {
    throw Failure(Failure::CannotAnswer,
                  request.threadAffinity
                      ? "no logical processor could be read: the system affinity is not known, or no thread can be "
                        "moved to its processors"
                      : "no logical processor could be read by moving the whole process; try without --process");
}

} // namespace

zel::Array<x86_cpu> readProcessors(const Request& request) {
    zel::Array<x86_cpu> processors;
    if (!x86_cpu::findLogicalCpus(processors, request.threadAffinity) || processors.isEmpty()) {
        failWithoutProcessors(request);
    }
    return processors;
}

libQuarrow::cpu::x86_physical_cpus readTree(const Request& request) {
    libQuarrow::cpu::x86_physical_cpus tree(request.threadAffinity);
    if (tree.size() == 0) {
        failWithoutProcessors(request);
    }
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
