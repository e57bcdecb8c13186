#pragma once

#include <libQuarrow/quarrow_export.h>
#include <zel/DynamicLibrary.h>

#include <boost/optional.hpp>

#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>

#include <functional>
#include <vector>

namespace libQuarrow::cpu {

// The entry points of kernel32.dll that know processor groups, bound at run time: Windows 7 and later have them.
class QUARROW_EXPORT CpuGroupAPI {
  public:
    // The entry points of this system; none when one of them is missing. They are looked up once per process.
    static boost::optional<CpuGroupAPI> create();

    // Calls `visitor` with each record of that relationship, in the system's order; with none when the system cannot
    // tell. The records live during the call only.
    void walkLogicalCpuInfo(_LOGICAL_PROCESSOR_RELATIONSHIP relationship,
                            std::function<void(const _SYSTEM_LOGICAL_PROCESSOR_INFORMATION_EX&)> visitor) const;
    // The groups and masks of all packages in record order, a group once for every package that it reaches into. (Not
    // what the entry point of this name answers, which is not called.)
    std::vector<_GROUP_AFFINITY> getProcessGroupAffinity() const;

    // May be replaced, as tests do.
    decltype(&::GetLogicalProcessorInformationEx) m_pGetLogicalProcessorInformationEx = nullptr;
    decltype(&::GetProcessGroupAffinity) m_pGetProcessGroupAffinity = nullptr;
    decltype(&::GetThreadGroupAffinity) m_pGetThreadGroupAffinity = nullptr;
    decltype(&::SetThreadGroupAffinity) m_pSetThreadGroupAffinity = nullptr;
    // Keeps the module loaded as long as this object lives.
    zel::DynamicLibrary m_kernel32;

  private:
    CpuGroupAPI();
};

} // namespace libQuarrow::cpu
