// The drivers of the Linux kernel.
#include <libKernelMode/DriverBackend.h>

#include <libKernelMode/os/linux/Device.h>
#include <libKernelMode/os/linux/IoPorts.h>
#include <libKernelMode/os/linux/MemoryDevice.h>

#include <cerrno>
#include <sched.h>
#include <system_error>
#include <unistd.h>

namespace libKernelMode {

namespace {

// An open msr device, whose file offset is the number of the MSR.
class MsrDevice : public MsrAccess {
  public:
    explicit MsrDevice(int file) : m_file(file) {}
    ~MsrDevice() override { ::close(m_file); }
    MsrDevice(const MsrDevice&) = delete;
    MsrDevice& operator=(const MsrDevice&) = delete;

    bool read(std::uint32_t msr, std::uint64_t& value) override {
        return ::pread(m_file, &value, sizeof value, off_t{msr}) == static_cast<ssize_t>(sizeof value);
    }
    bool write(std::uint32_t msr, std::uint64_t value) override {
        return ::pwrite(m_file, &value, sizeof value, off_t{msr}) == static_cast<ssize_t>(sizeof value);
    }

  private:
    int m_file;
};

class LinuxDriverBackend : public DriverBackend {
  public:
    std::unique_ptr<MsrAccess> openMsr(std::string& reason) override {
        const int processor = ::sched_getcpu();
        if (processor < 0) {
            reason = "cannot tell which processor the thread is on: " + std::generic_category().message(errno);
            return nullptr;
        }
        const std::string device = "/dev/cpu/" + std::to_string(processor) + "/msr";
        bool writable = false; // where it is not, writing fails
        const int file = openDevice(device, 0, writable);
        if (file < 0) {
            const char* const denied = "permission denied; MSR access needs root and the msr module";
            const char* const absent = "the processor is offline or has no MSRs";
            reason = describeFailure(device, errno,
                                     {{EACCES, denied},
                                      {EPERM, denied},
                                      {ENOENT, "no such device; the msr module is not loaded, try 'modprobe msr'"},
                                      {ENXIO, absent},
                                      {EIO, absent}});
            return nullptr;
        }
        return std::make_unique<MsrDevice>(file);
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
