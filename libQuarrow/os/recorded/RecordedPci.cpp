#include <libQuarrow/os/recorded/RecordedPci.h>

namespace libQuarrow::os {
namespace {

using PciState = std::shared_ptr<const RecordedMachineState>;

class RecordedFunction : public pci::ConfigAccess {
  public:
    RecordedFunction(PciState state, std::uint16_t function) : m_state(std::move(state)), m_function(function) {}

    // Nothing writes them, so no lock is needed.
    bool read(std::uint32_t offset, std::uint32_t& value, std::string& reason) override {
        const auto& registers = m_state->recording.pci;
        const auto found = registers.find({m_function, static_cast<std::uint16_t>(offset)});
        if (found == registers.end()) {
            reason = "this recording does not hold this PCI register; docs/recordings.md tells how to add it";
            return false;
        }
        value = found->second;
        return true;
    }

  private:
    const PciState m_state;
    const std::uint16_t m_function;
};

} // namespace

std::unique_ptr<pci::ConfigAccess> RecordedPci::openFunction(const pci::PciAddress& address, std::string& reason) {
    const auto first = m_state->recording.pci.lower_bound({address.number(), std::uint16_t{0}});
    if (first == m_state->recording.pci.end() || first->first.first != address.number()) {
        reason = "this recording holds no registers of this PCI function; docs/recordings.md tells how to add some";
        return nullptr;
    }
    return std::make_unique<RecordedFunction>(m_state, address.number());
}

} // namespace libQuarrow::os
