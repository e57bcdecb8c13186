#pragma once

#include <zel/DynamicLibrary.h>

#include <boost/optional.hpp>

#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>

#include <vector>

namespace libQuarrow::cpu {

// The entry points of kernel32.dll that know CPU sets by group, bound at run time: Windows 11, Windows Server 2022 and
// later have them. There a thread may run in several groups at once (Microsoft's pages "Processor Groups" and of these
// functions).
class CpuSetAPI {
  public:
    // The same for a thread and a process. Without masks, `required` is how many there are.
    using Get = BOOL(WINAPI*)(HANDLE object, PGROUP_AFFINITY masks, USHORT count, PUSHORT required);
    using Set = BOOL(WINAPI*)(HANDLE thread, PGROUP_AFFINITY masks, USHORT count);

    // The entry points of this system; none when one of them is missing, and where there is but one group to run in.
    // They are looked up once per process.
    static boost::optional<CpuSetAPI> create();

    // What is selected for the calling thread, for its process by default. Empty where nothing is, or it cannot be
    // read.
    std::vector<GROUP_AFFINITY> ofThread() const;
    std::vector<GROUP_AFFINITY> ofProcess() const;

    // May be replaced, as tests do. The compiler's headers need not declare these functions.
    Get m_pGetThreadSelectedCpuSetMasks = nullptr;
    Set m_pSetThreadSelectedCpuSetMasks = nullptr;
    Get m_pGetProcessDefaultCpuSetMasks = nullptr;
    // Keeps the module loaded as long as this object lives.
    zel::DynamicLibrary m_kernel32;
};

} // namespace libQuarrow::cpu
