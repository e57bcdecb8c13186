#pragma once

#include <libQuarrow/quarrow_export.h>

#include <boost/optional.hpp>

#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>

#include <functional>

namespace libQuarrow::cpu {

// The entry points of kernel32.dll that know one mask of 64 processors, as every Windows has them.
class QUARROW_EXPORT CpuLegacyAPI {
  public:
    // Always there.
    static boost::optional<CpuLegacyAPI> create();

    // Calls `visitor` with each record of that relationship but the last record of the system's buffer, which is never
    // visited, as callers have come to rely on. The records live during the call only.
    void walkLogicalCpuInfo(_LOGICAL_PROCESSOR_RELATIONSHIP relationship,
                            std::function<void(const _SYSTEM_LOGICAL_PROCESSOR_INFORMATION&)> visitor) const;

    // May be replaced, as tests do.
    decltype(&::GetProcessAffinityMask) m_pGetProcessAffinityMask;
    decltype(&::SetProcessAffinityMask) m_pSetProcessAffinityMask;
    decltype(&::SetThreadAffinityMask) m_pSetThreadAffinityMask;
    decltype(&::GetLogicalProcessorInformation) m_pGetLogicalProcessorInformation;

  private:
    CpuLegacyAPI();
};

} // namespace libQuarrow::cpu
