#pragma once

#include <pci/PciAddress.h>
#include <pci/pci_export.h>

#include <cstdint>
#include <memory>
#include <string>

namespace pci {

// An open way to the configuration space of one function. Closed by the destructor.
class PCI_EXPORT ConfigAccess {
  public:
    virtual ~ConfigAccess();
    // The register of 32 bits at `offset`, a multiple of 4 below configSpaceBytes. False, with one line in `reason`
    // that says which register, why, and what to do, when it cannot be read.
    virtual bool read(std::uint32_t offset, std::uint32_t& value, std::string& reason) = 0;
};

// What stands behind PciFunction: the operating system, or a recorded machine's answers.
class PCI_EXPORT PciBackend {
  public:
    virtual ~PciBackend();
    // Null when there is no such function or it may not be used; then `reason` says which, why, and what to do.
    virtual std::unique_ptr<ConfigAccess> openFunction(const PciAddress& address, std::string& reason) = 0;
};

// The backend of the operating system this library was built for.
PCI_EXPORT PciBackend& nativePciBackend();
// A backend without any function.
PCI_EXPORT PciBackend& emptyPciBackend();
// The backend that PciFunction uses: the native one, or the one that a ScopedPciBackend has put in its place.
PCI_EXPORT PciBackend& currentPciBackend();

// Makes `backend` the current one until the end of the scope; then the one before is back. Scopes nest. The backend is
// not owned. To be used before other threads open functions.
class PCI_EXPORT ScopedPciBackend {
  public:
    explicit ScopedPciBackend(PciBackend& backend);
    ~ScopedPciBackend();
    ScopedPciBackend(const ScopedPciBackend&) = delete;
    ScopedPciBackend& operator=(const ScopedPciBackend&) = delete;

  private:
    PciBackend* const m_previous; // null: the native one
};

} // namespace pci
