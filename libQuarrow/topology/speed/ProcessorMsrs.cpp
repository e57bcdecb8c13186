#include <libQuarrow/topology/speed/ProcessorMsrs.h>

namespace libQuarrow::topology {

bool ProcessorMsrs::read(std::uint32_t msr, std::uint64_t& value) {
    if (!m_asked) {
        m_asked = true;
        if (!m_driver.openDriver()) {
            m_refusal = m_driver.failureReason();
        }
    }
    return m_driver.readMsr(msr, value);
}

} // namespace libQuarrow::topology
