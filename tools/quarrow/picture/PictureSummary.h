#pragma once

#include <tools/quarrow/picture/Picture.h>

#include <vector>

namespace quarrow {

// Where there are many cores, those that are alike lose their titles and caches; the note of the box around them tells
// what they have.
void summariseCores(std::vector<PictureBox>& packages);

} // namespace quarrow
