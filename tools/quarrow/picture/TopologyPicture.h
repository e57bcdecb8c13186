#pragma once

#include <tools/quarrow/picture/Picture.h>

#include <libQuarrow/topology/Topology.h>

namespace quarrow {

// A box for each package, around those of its dies, complexes, modules and cores. Where there are many cores, those
// that are alike have no title and no caches; the note of the box around them tells what they have.
std::vector<PictureBox> pictureOf(const libQuarrow::topology::Topology& topology);

} // namespace quarrow
