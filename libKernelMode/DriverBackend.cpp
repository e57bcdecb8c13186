#include <libKernelMode/DriverBackend.h>

#include <atomic>

namespace libKernelMode {

namespace {

std::atomic<DriverBackend*> replacement{nullptr};

} // namespace

MsrAccess::~MsrAccess() = default;
DriverBackend::~DriverBackend() = default;

DriverBackend& currentDriverBackend() {
    DriverBackend* const backend = replacement;
    return backend != nullptr ? *backend : nativeDriverBackend();
}

DriverBackend* setDriverBackend(DriverBackend* backend) {
    return replacement.exchange(backend);
}

} // namespace libKernelMode
