#pragma once

#include <libQuarrow/cpu/x86/decode/MsrReader.h>
#include <libQuarrow/machine/bits.h>

#include <boost/optional.hpp>

#include <cstdint>

// Private to the library.

namespace libQuarrow::cpu {

// IA32_PLATFORM_ID (MSR 0x17), read when it is first asked for and kept from then on. A read that fails is not kept:
// the next one tries again.
class IntelPlatformId {
  public:
    // With `refresh` the register is read again; when that fails, what was read earlier still holds. None as long as no
    // read succeeded.
    const boost::optional<std::uint64_t>& get(const MsrReader& readMsr, bool refresh = false);

    // Bit 28 of Core 2's: a mobile part.
    static bool isMobile(std::uint64_t value) { return bit(value, 28); }

  private:
    boost::optional<std::uint64_t> m_value;
};

} // namespace libQuarrow::cpu
