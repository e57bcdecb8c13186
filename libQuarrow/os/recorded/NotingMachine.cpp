#include <libQuarrow/os/recorded/NotingMachine.h>

#include <libQuarrow/cpu/AffinityAPI.h>

#include <algorithm>

namespace libQuarrow::os {

using libKernelMode::MsrAccess;

namespace {

class NotingAccess final : public MsrAccess {
  public:
    NotingAccess(std::unique_ptr<MsrAccess> access, RecordedProcessor& processor)
        : m_access(std::move(access)), m_processor(processor) {}

    bool read(std::uint32_t msr, std::uint64_t& value) override {
        if (!m_access->read(msr, value)) {
            return false;
        }
        m_processor.msrs.emplace(msr, value);
        return true;
    }
    bool write(std::uint32_t msr, std::uint64_t value) override { return m_access->write(msr, value); }
    bool isWritable() const override { return m_access->isWritable(); }

  private:
    std::unique_ptr<MsrAccess> m_access;
    RecordedProcessor& m_processor;
};

class NotingFunction final : public pci::ConfigAccess {
  public:
    NotingFunction(std::unique_ptr<ConfigAccess> access, std::uint16_t function, Recording& recording)
        : m_access(std::move(access)), m_function(function), m_recording(recording) {}

    bool read(std::uint32_t offset, std::uint32_t& value, std::string& reason) override {
        if (!m_access->read(offset, value, reason)) {
            return false;
        }
        m_recording.pci.emplace(std::pair(m_function, static_cast<std::uint16_t>(offset)), value);
        return true;
    }

  private:
    std::unique_ptr<ConfigAccess> m_access;
    std::uint16_t m_function;
    Recording& m_recording;
};

} // namespace

std::unique_ptr<pci::ConfigAccess> NotingMachine::openFunction(const pci::PciAddress& address, std::string& reason) {
    auto access = m_machine.pciFunctions().openFunction(address, reason);
    return access == nullptr ? nullptr
                             : std::make_unique<NotingFunction>(std::move(access), address.number(), m_recording);
}

std::unique_ptr<MsrAccess> NotingMachine::openMsr(std::string& reason) {
    std::unique_ptr<MsrAccess> access = m_machine.drivers().openMsr(reason);
    RecordedProcessor* const here = access != nullptr ? processorHere() : nullptr;
    return here != nullptr ? std::make_unique<NotingAccess>(std::move(access), *here) : std::move(access);
}

// Null where the thread is on no processor in particular.
RecordedProcessor* NotingMachine::processorHere() {
    const auto api = createAffinityAPI();
    const auto affinity = api != nullptr ? api->threadAffinity() : boost::none;
    if (!affinity || affinity->size() != 1) {
        return nullptr;
    }
    const cpu::GroupAffinity& where = affinity->front();
    const auto found = std::find_if(
        m_recording.processors.begin(), m_recording.processors.end(), [&where](const RecordedProcessor& processor) {
            return processor.group == where.group && where.mask == std::uint64_t{1} << processor.bit;
        });
    return found != m_recording.processors.end() ? &*found : nullptr;
}

} // namespace libQuarrow::os
