#include <tools/quarrow/commands/MsrNotes.h>

#include <libQuarrow/cpu/AffinityMask.h>

#include <algorithm>

namespace quarrow {

namespace os = libQuarrow::os;
using libKernelMode::MsrAccess;

namespace {

class NotingAccess final : public MsrAccess {
  public:
    NotingAccess(std::unique_ptr<MsrAccess> access, os::RecordedProcessor& processor)
        : m_access(std::move(access)), m_processor(processor) {}

    bool read(std::uint32_t msr, std::uint64_t& value) override {
        if (!m_access->read(msr, value)) {
            return false;
        }
        m_processor.msrs.emplace(msr, value);
        return true;
    }
    bool write(std::uint32_t msr, std::uint64_t value) override { return m_access->write(msr, value); }

  private:
    std::unique_ptr<MsrAccess> m_access;
    os::RecordedProcessor& m_processor;
};

} // namespace

MsrNotes::MsrNotes(os::Recording& recording)
    : m_recording(recording), m_backend(libKernelMode::currentDriverBackend()),
      m_previous(libKernelMode::setDriverBackend(this)) {}

MsrNotes::~MsrNotes() {
    libKernelMode::setDriverBackend(m_previous);
}

std::unique_ptr<MsrAccess> MsrNotes::openMsr(std::string& reason) {
    std::unique_ptr<MsrAccess> access = m_backend.openMsr(reason);
    os::RecordedProcessor* const here = access != nullptr ? processorHere() : nullptr;
    return here != nullptr ? std::make_unique<NotingAccess>(std::move(access), *here) : std::move(access);
}

// Null where the thread is on no processor in particular.
os::RecordedProcessor* MsrNotes::processorHere() const {
    const auto affinity = libQuarrow::cpu::AffinityMask::threadAffinityMask();
    if (!affinity || affinity->getAffinityData().logicalCpuCount() != 1) {
        return nullptr;
    }
    const libQuarrow::cpu::GroupAffinity& where = affinity->getAffinityData().groups().front();
    const auto found = std::find_if(
        m_recording.processors.begin(), m_recording.processors.end(), [&where](const os::RecordedProcessor& processor) {
            return processor.group == where.group && where.mask == std::uint64_t{1} << processor.bit;
        });
    return found != m_recording.processors.end() ? &*found : nullptr;
}

} // namespace quarrow
