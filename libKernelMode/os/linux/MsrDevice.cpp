#include <libKernelMode/os/linux/MsrDevice.h>

#include <libKernelMode/os/linux/Device.h>

#include <cerrno>
#include <unistd.h>

namespace libKernelMode {

namespace {

// Its file offset is the number of the MSR.
class MsrDevice : public MsrAccess {
  public:
    MsrDevice(int file, bool writable) : m_file(file), m_writable(writable) {}
    ~MsrDevice() override { ::close(m_file); }
    MsrDevice(const MsrDevice&) = delete;
    MsrDevice& operator=(const MsrDevice&) = delete;

    bool read(std::uint32_t msr, std::uint64_t& value) override {
        return ::pread(m_file, &value, sizeof value, off_t{msr}) == static_cast<ssize_t>(sizeof value);
    }
    bool write(std::uint32_t msr, std::uint64_t value) override {
        return m_writable && ::pwrite(m_file, &value, sizeof value, off_t{msr}) == static_cast<ssize_t>(sizeof value);
    }
    bool isWritable() const override { return m_writable; }

  private:
    int m_file;
    bool m_writable;
};

} // namespace

// What the errors mean: arch/x86/kernel/msr.c, msr_open(). A device node that outlived the module, or was made by hand,
// gives ENXIO as well.
std::unique_ptr<MsrAccess> openMsrDevice(const std::string& device, std::string& reason) {
    bool writable = false;
    const int file = openDevice(device, 0, writable);
    if (file < 0) {
        const char* const denied = "permission denied; MSR access needs root and the msr module";
        reason = describeFailure(
            device, errno,
            {{EACCES, denied},
             {EPERM, denied},
             {ENOENT, "no such device; the msr module is not loaded, try 'modprobe msr'"},
             {ENXIO, "nothing is behind it; load the msr module with 'modprobe msr', or bring the processor online"},
             {EIO, "the processor has no MSRs; there is nothing to read on it"}});
        return nullptr;
    }
    return std::make_unique<MsrDevice>(file, writable);
}

} // namespace libKernelMode
