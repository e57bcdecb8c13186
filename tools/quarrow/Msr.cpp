#include <tools/quarrow/Access.h>
#include <tools/quarrow/Commands.h>
#include <tools/quarrow/Document.h>
#include <tools/quarrow/Failure.h>
#include <tools/quarrow/MsrAccessor.h>
#include <tools/quarrow/Numbers.h>
#include <tools/quarrow/Processors.h>

namespace quarrow {

using libQuarrow::cpu::x86_cpu;

namespace {

class Msr : public Place {
  public:
    Msr(libKernelMode::MsrDriver& driver, std::uint32_t number) : m_driver(driver), m_number(number) {}

    bool read(std::uint64_t& value) override { return m_driver.readMsr(m_number, value); }
    bool write(std::uint64_t value) override { return m_driver.writeMsr(m_number, value); }

  private:
    libKernelMode::MsrDriver& m_driver;
    std::uint32_t m_number;
};

} // namespace

std::string msrCommand(const Request& request) {
    const auto number = static_cast<std::uint32_t>(numberOperand(request, "the MSR's number", UINT32_MAX));
    numberOption(request, "write", UINT64_MAX); // wrong usage comes before what the machine has to say
    const auto processors = readProcessors(request);
    const auto option = request.options.find("cpu");
    const x86_cpu& cpu =
        option != request.options.end() ? *namedProcessors(processors, {option->second}).front() : processors[0];
    MsrAccessor msrs(cpu);
    if (!msrs.failureReason().empty()) {
        throw Failure(Failure::CannotAnswer, msrs.failureReason());
    }
    Msr msr(msrs.driver(), number);
    msr.name = "MSR " + hexadecimal(number, 4) + " of logical processor " + numberRanges({&cpu});
    msr.key = "msr";
    msr.identity = {{"logicalCpuNumber", logicalCpuNumberJson(cpu)}, {"address", number}};
    return access(request, msr);
}

} // namespace quarrow
