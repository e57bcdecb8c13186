#include <pci/PciBackend.h>

#include <atomic>

namespace pci {

namespace {

std::atomic<PciBackend*> replacement{nullptr};

class EmptyPciBackend final : public PciBackend {
  public:
    std::unique_ptr<ConfigAccess> openFunction(const PciAddress&, std::string& reason) override {
        reason = "cannot read PCI configuration space: this machine gives no access to it";
        return nullptr;
    }
};

} // namespace

ConfigAccess::~ConfigAccess() = default;
PciBackend::~PciBackend() = default;

PciBackend& emptyPciBackend() {
    static EmptyPciBackend backend;
    return backend;
}

PciBackend& currentPciBackend() {
    PciBackend* const backend = replacement;
    return backend != nullptr ? *backend : nativePciBackend();
}

ScopedPciBackend::ScopedPciBackend(PciBackend& backend) : m_previous(replacement.exchange(&backend)) {}

ScopedPciBackend::~ScopedPciBackend() {
    replacement = m_previous;
}

} // namespace pci
