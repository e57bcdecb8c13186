#include <libQuarrow/cpu/x86/intel/IntelPlatformId.h>

namespace libQuarrow::cpu {

const boost::optional<std::uint64_t>& IntelPlatformId::get(const MsrReader& readMsr, bool refresh) {
    constexpr std::uint32_t msrPlatformId = 0x17;
    std::uint64_t value = 0;
    if ((refresh || !m_value) && readMsr(msrPlatformId, value)) {
        m_value = value;
    }
    return m_value;
}

} // namespace libQuarrow::cpu
