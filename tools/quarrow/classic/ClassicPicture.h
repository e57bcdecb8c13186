#pragma once

#include <tools/quarrow/picture/Picture.h>

#include <libQuarrow/cpu/x86/x86_cache_sharing.h>
#include <libQuarrow/cpu/x86/x86_physical_cpus.h>

#include <vector>

namespace quarrow {

// A package with all its cores, in groups where they share caches.
PictureBox picturePackage(const libQuarrow::cpu::x86_physical_cpu& package, libQuarrow::cpu::x86_cache_sharing& sharing,
                          std::size_t number);
// A box for each package, in order; summarised where there are many cores.
std::vector<PictureBox> classicPictureOf(const libQuarrow::cpu::x86_physical_cpus& tree,
                                         libQuarrow::cpu::x86_cache_sharing& sharing);

} // namespace quarrow
