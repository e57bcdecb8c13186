#include <libKernelMode/DriverBackend.h>

#include <atomic>

namespace libKernelMode {

namespace {

std::atomic<DriverBackend*> replacement{nullptr};

} // namespace

MsrAccess::~MsrAccess() = default;
MemoryAccess::~MemoryAccess() = default;
PortAccess::~PortAccess() = default;
DriverBackend::~DriverBackend() = default;

bool MsrAccess::isWritable() const {
    return true;
}

bool MemoryAccess::isWritable() const {
    return true;
}

std::unique_ptr<MemoryAccess> DriverBackend::openMemory(std::string& reason) {
    reason = "cannot open physical memory: this machine has no driver for it";
    return nullptr;
}

std::unique_ptr<PortAccess> DriverBackend::openPorts(std::string& reason) {
    reason = "cannot open the I/O ports: this machine has no driver for them";
    return nullptr;
}

DriverBackend& currentDriverBackend() {
    DriverBackend* const backend = replacement;
    return backend != nullptr ? *backend : nativeDriverBackend();
}

ScopedDriverBackend::ScopedDriverBackend(DriverBackend& backend) : m_previous(replacement.exchange(&backend)) {}

ScopedDriverBackend::~ScopedDriverBackend() {
    replacement = m_previous;
}

} // namespace libKernelMode
