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

} // namespace

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
