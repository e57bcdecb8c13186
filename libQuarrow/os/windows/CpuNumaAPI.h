#pragma once

#include <libQuarrow/machine/NumaNodes.h>
#include <zel/DynamicLibrary.h>

#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>

#include <optional>

namespace libQuarrow::os {

// The entry points of kernel32.dll that know NUMA nodes, bound at run time: Windows 7 and later have them.
class CpuNumaAPI {
  public:
    CpuNumaAPI();

    // None when an entry point is missing or refuses. The system's node numbers may have gaps; what it knows of no
    // processors of is a node with memory alone, or none.
    std::optional<NumaNodes> nodes() const;

    // May be replaced, as tests do.
    decltype(&::GetNumaHighestNodeNumber) m_pGetNumaHighestNodeNumber = nullptr;
    decltype(&::GetNumaNodeProcessorMaskEx) m_pGetNumaNodeProcessorMaskEx = nullptr;

  private:
    zel::DynamicLibrary m_kernel32;
};

} // namespace libQuarrow::os
