// Windows lets only a kernel-mode driver reach the hardware. PawnIO is one for MSRs; there is none for the rest.
#include <libKernelMode/DriverBackend.h>

#include <libKernelMode/os/windows/PawnIO.h>

#include <mutex>

namespace libKernelMode {

namespace {

class WindowsDriverBackend : public DriverBackend {
  public:
    std::unique_ptr<MsrAccess> openMsr(std::string& reason) override {
        const std::lock_guard lock(m_mutex);
        if (m_pawnIO == nullptr) {
            m_pawnIO = PawnIO::bind(PawnIOFolders::ofThisMachine(), reason);
        }
        return m_pawnIO != nullptr ? m_pawnIO->openMsr(reason) : nullptr;
    }
    std::unique_ptr<MemoryAccess> openMemory(std::string& reason) override {
        reason =
            "cannot open physical memory: no driver for Windows gives access to it; use Linux or a recorded machine";
        return nullptr;
    }
    std::unique_ptr<PortAccess> openPorts(std::string& reason) override {
        reason =
            "cannot open the I/O ports: no driver for Windows gives access to them; use Linux or a recorded machine";
        return nullptr;
    }

  private:
    std::mutex m_mutex;
    std::shared_ptr<const PawnIO> m_pawnIO; // bound by the first success and kept
};

} // namespace

DriverBackend& nativeDriverBackend() {
    // Never destroyed: that would unload PawnIO's library while the process ends, which Windows forbids.
    static auto* const backend = new WindowsDriverBackend();
    return *backend;
}

} // namespace libKernelMode
