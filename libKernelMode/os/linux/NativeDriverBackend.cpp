// The drivers of the Linux kernel.
#include <libKernelMode/DriverBackend.h>

#include <libKernelMode/os/linux/IoPorts.h>
#include <libKernelMode/os/linux/MemoryDevice.h>
#include <libKernelMode/os/linux/MsrDevice.h>

#include <cerrno>
#include <sched.h>
#include <system_error>

namespace libKernelMode {

namespace {

class LinuxDriverBackend : public DriverBackend {
  public:
    std::unique_ptr<MsrAccess> openMsr(std::string& reason) override {
        const int processor = ::sched_getcpu();
        if (processor < 0) {
            reason = "cannot tell which processor the thread is on: " + std::generic_category().message(errno) +
                     "; MSR access needs getcpu";
            return nullptr;
        }
        return openMsrDevice("/dev/cpu/" + std::to_string(processor) + "/msr", reason);
    }
    std::unique_ptr<MemoryAccess> openMemory(std::string& reason) override {
        return openMemoryDevice("/dev/mem", reason);
    }
    std::unique_ptr<PortAccess> openPorts(std::string& reason) override { return openIoPorts(reason); }
};

} // namespace

DriverBackend& nativeDriverBackend() {
    static LinuxDriverBackend backend;
    return backend;
}

} // namespace libKernelMode
