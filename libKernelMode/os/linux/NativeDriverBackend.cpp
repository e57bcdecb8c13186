// The drivers of the Linux kernel.
#include <libKernelMode/DriverBackend.h>

#include <libKernelMode/os/linux/IoPorts.h>
#include <libKernelMode/os/linux/MemoryDevice.h>

#include <cerrno>
#include <fcntl.h>
#include <sched.h>
#include <system_error>
#include <unistd.h>

namespace libKernelMode {

namespace {

std::string describeFailure(const std::string& device, int error) {
    const std::string failure = "cannot open " + device + ": ";
    switch (error) {
    case EACCES:
    case EPERM:
        return failure + "permission denied; MSR access needs root and the msr module";
    case ENOENT:
        return failure + "no such device; the msr module is not loaded, try 'modprobe msr'";
    case ENXIO:
    case EIO:
        return failure + "the processor is offline or has no MSRs";
    default:
        return failure + std::generic_category().message(error);
    }
}

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
        int file = ::open(device.c_str(), O_RDWR | O_CLOEXEC);
        if (file < 0 && (errno == EACCES || errno == EPERM || errno == EROFS)) {
            file = ::open(device.c_str(), O_RDONLY | O_CLOEXEC); // reading may still be allowed
        }
        if (file < 0) {
            reason = describeFailure(device, errno);
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
