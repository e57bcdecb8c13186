// Configuration space through the I/O ports, where the driver gives access to them.
#include <pci/PciBackend.h>

#include <libKernelMode/IoDriver.h>
#include <pci/ConfigPorts.h>

#include <mutex>
#include <windows.h>

namespace pci {

namespace {

// The lock on the ports for the whole machine: the mutex of this name is what programs that watch the hardware agree
// on. Where it cannot be had the lock holds within this process.
class PortsLock {
  public:
    PortsLock() : m_here(mutex()), m_everywhere(::CreateMutexW(nullptr, FALSE, L"Global\\Access_PCI")) {
        if (m_everywhere != nullptr) {
            const DWORD answer = ::WaitForSingleObject(m_everywhere, longestWaitMilliseconds);
            m_held = answer == WAIT_OBJECT_0 || answer == WAIT_ABANDONED;
        }
    }
    ~PortsLock() {
        if (m_everywhere != nullptr) {
            if (m_held) {
                ::ReleaseMutex(m_everywhere);
            }
            ::CloseHandle(m_everywhere);
        }
    }
    PortsLock(const PortsLock&) = delete;
    PortsLock& operator=(const PortsLock&) = delete;

    // False when another program keeps the ports.
    bool held() const { return m_everywhere == nullptr || m_held; }

  private:
    static constexpr DWORD longestWaitMilliseconds = 100;
    static std::mutex& mutex() {
        static std::mutex instance;
        return instance;
    }

    std::lock_guard<std::mutex> m_here;
    HANDLE m_everywhere;
    bool m_held = false;
};

class PortsFunction final : public ConfigAccess {
  public:
    explicit PortsFunction(const PciAddress& address) : m_address(address) {}

    bool open(std::string& reason) {
        if (!m_ports.openDriver()) {
            reason = "cannot read PCI configuration space: " + m_ports.failureReason();
            return false;
        }
        std::uint32_t identity = 0; // of an absent function all bits are set
        if (!read(0, identity, reason)) {
            return false;
        }
        const bool isThere = (identity & 0xFFFF) != 0xFFFF;
        reason = isThere ? "" : "there is no such PCI function";
        return isThere;
    }

    bool read(std::uint32_t offset, std::uint32_t& value, std::string& reason) override {
        if (offset >= conventionalConfigSpaceBytes) {
            reason = "cannot read this PCI register: through the I/O ports only the first 256 bytes can be read";
            return false;
        }
        const PortsLock lock;
        if (lock.held() && readThroughPorts(m_ports, m_address, offset, value)) {
            return true;
        }
        reason = "cannot read this PCI register: another program uses the ports, or they may not be used; try again";
        return false;
    }

  private:
    PciAddress m_address;
    libKernelMode::IoDriver m_ports;
};

class WindowsPciBackend final : public PciBackend {
  public:
    std::unique_ptr<ConfigAccess> openFunction(const PciAddress& address, std::string& reason) override {
        auto function = std::make_unique<PortsFunction>(address);
        return function->open(reason) ? std::move(function) : nullptr;
    }
};

} // namespace

PciBackend& nativePciBackend() {
    static WindowsPciBackend backend;
    return backend;
}

} // namespace pci
