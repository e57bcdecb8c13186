// Windows lets only a kernel-mode driver reach MSRs, and there is none for this library.
#include <libKernelMode/DriverBackend.h>

namespace libKernelMode {

namespace {

class WindowsDriverBackend : public DriverBackend {
  public:
    std::unique_ptr<MsrAccess> openMsr(std::string& reason) override {
        reason = "cannot open the MSR driver: there is none for Windows; use Linux or a recorded machine";
        return nullptr;
    }
};

} // namespace

DriverBackend& nativeDriverBackend() {
    static WindowsDriverBackend backend;
    return backend;
}

} // namespace libKernelMode
