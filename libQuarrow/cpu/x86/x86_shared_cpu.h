#pragma once

#include <libQuarrow/cpu/x86/x86_cpu.h>
#include <zel/SharedResource.h>

namespace libQuarrow::cpu {

// A logical processor that several lists share; it lives as long as the last of them.
using x86_shared_cpu = zel::SharedResource<zel::PointerStorage<x86_cpu>>;

} // namespace libQuarrow::cpu
