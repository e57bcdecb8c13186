#include <libKernelMode/os/linux/IoPorts.h>

#include <libKernelMode/os/linux/Device.h>

#include <cerrno>
#include <sys/io.h>

namespace libKernelMode {

namespace {

// Ports that the calling thread may use until the end of the scope. Not for longer: with two open accesses on a thread,
// closing the one would leave the other without permission, and its next instruction would end the process.
class AllowedPorts {
  public:
    AllowedPorts(std::uint16_t first, std::uint32_t count)
        : m_first(first), m_count(count), m_allowed(::ioperm(first, count, 1) == 0) {}
    ~AllowedPorts() {
        if (m_allowed) {
            ::ioperm(m_first, m_count, 0);
        }
    }
    AllowedPorts(const AllowedPorts&) = delete;
    AllowedPorts& operator=(const AllowedPorts&) = delete;

    explicit operator bool() const { return m_allowed; }

  private:
    std::uint16_t m_first;
    std::uint32_t m_count;
    bool m_allowed;
};

class IoPorts : public PortAccess {
  public:
    // The device /dev/port would split a wide access into bytes; the instructions do not.
    bool read(std::uint16_t port, std::uint32_t widthBytes, std::uint32_t& value) override {
        const AllowedPorts allowed(port, widthBytes);
        if (!allowed) {
            return false;
        }
        value = widthBytes == 1 ? ::inb(port) : widthBytes == 2 ? ::inw(port) : ::inl(port);
        return true;
    }

    bool write(std::uint16_t port, std::uint32_t widthBytes, std::uint32_t value) override {
        const AllowedPorts allowed(port, widthBytes);
        if (!allowed) {
            return false;
        }
        if (widthBytes == 1) {
            ::outb(static_cast<std::uint8_t>(value), port);
        } else if (widthBytes == 2) {
            ::outw(static_cast<std::uint16_t>(value), port);
        } else {
            ::outl(value, port);
        }
        return true;
    }
};

} // namespace

std::unique_ptr<PortAccess> openIoPorts(std::string& reason) {
    // Whether the thread may is only found out by asking for a port; asking accesses none.
    const AllowedPorts probe(0, 1);
    if (!probe) {
        const char* const denied = "permission denied; port access needs root and a kernel that is not locked down";
        const char* const absent = "this kernel has no ioperm; port access needs CONFIG_X86_IOPL_IOPERM";
        reason = describeFailure("the I/O ports", errno, {{EACCES, denied}, {EPERM, denied}, {ENOSYS, absent}});
        return nullptr;
    }
    return std::make_unique<IoPorts>();
}

} // namespace libKernelMode
