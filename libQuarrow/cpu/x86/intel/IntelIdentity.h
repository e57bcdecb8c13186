#pragma once

#include <libQuarrow/cpu/x86/intel/IntelPlatformId.h>
#include <libQuarrow/cpu/x86/intel/x86_intel_name.h>
#include <libQuarrow/cpu/x86/x86_intel_info.h>

// Private to the library.

namespace libQuarrow::cpu {

// Which Intel processor it is: the product classes that decide over everything else, stepping and process. Worked out
// once, from the signature, the brand string and, for Core and Core 2, MSR 0x17.
class IntelIdentity {
  public:
    IntelIdentity(const x86_cpu_signature& signature, const zel::String& brand, const MsrReader& readMsr);

    bool isType(std::uint32_t mask) const { return (m_type & mask) != 0; }
    std::uint32_t type() const { return m_type; }
    zel::Array<zel::String> typeNames() const;
    zel::String technology() const; // empty when unknown

    const x86_cpu_signature& signature() const { return m_signature; }
    const zel::String& brand() const { return m_brand; }
    const zel::String& processorNumber() const { return m_processorNumber; } // empty when there is none
    bool numbered() const; // whether Intel gave parts of these classes a number that the brand string holds
    std::uint32_t designedMHz() const { return m_designedMHz; } // 0 when it is not known
    IntelCoreStepping stepping() const { return m_stepping; }

    const boost::optional<bool>& isMobile() const { return m_mobile; }
    const boost::optional<bool>& isServerDie() const { return m_serverDie; }
    const boost::optional<bool>& isPlatformIdBit27Clear() const { return m_platformIdBit27Clear; }

    IntelPlatformId platformId;

  private:
    void addTypesBySignature(const MsrReader& readMsr);
    void addTypesByDisplayModel();
    void addMerom();
    void report() const;
    IntelCoreStepping findStepping() const;

    x86_cpu_signature m_signature;
    zel::String m_brand;
    zel::String m_processorNumber;
    std::uint32_t m_designedMHz = 0;
    std::uint32_t m_type = 0; // x86_intel_info::TypeFlag bits
    IntelCoreStepping m_stepping = IntelStepping_unknown;
    boost::optional<bool> m_platformIdBit27Clear;
    boost::optional<bool> m_mobile;
    boost::optional<bool> m_serverDie;
};

} // namespace libQuarrow::cpu
