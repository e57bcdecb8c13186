#include <tools/quarrow/Failure.h>
#include <tools/quarrow/Numbers.h>
#include <tools/quarrow/classic/ClassicDocument.h>
#include <tools/quarrow/classic/Processors.h>
#include <tools/quarrow/commands/Access.h>
#include <tools/quarrow/commands/Commands.h>
#include <tools/quarrow/commands/MsrAccessor.h>

namespace quarrow {

std::string msrCommand(const Request& request) {
    // Wrong usage comes before what the machine has to say.
    const auto number = static_cast<std::uint32_t>(numberIn(request.operands.at(0), "ADDRESS", 0, UINT32_MAX));
    const auto toWrite = valueToWrite(request, 8);
    const Machine machine = readMachine(request);
    const auto named = request.options.find("cpu");
    std::vector<std::string> numbers;
    if (named != request.options.end()) {
        numbers.push_back(named->second);
    }
    const libQuarrow::cpu::x86_cpu& cpu = *namedProcessors(machine.processors, numbers).front();
    MsrAccessor msrs(cpu);
    if (!msrs.failureReason().empty()) {
        throw Failure(Failure::CannotAnswer, msrs.failureReason());
    }
    return access(request,
                  {"MSR " + hexadecimal(number, 4) + " of logical processor " + numberRanges({&cpu}),
                   8,
                   "msr",
                   {{"logicalCpuNumber", logicalCpuNumberJson(cpu)}, {"address", number}},
                   [&](std::uint64_t& value) { return msrs.driver().readMsr(number, value); },
                   [&](std::uint64_t value) { return msrs.driver().writeMsr(number, value); },
                   msrs.driver().isWritable()},
                  toWrite);
}

} // namespace quarrow
