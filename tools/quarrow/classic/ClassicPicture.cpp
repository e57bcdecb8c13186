#include <tools/quarrow/classic/ClassicPicture.h>

#include <tools/quarrow/picture/PictureSummary.h>

namespace quarrow {

std::vector<PictureBox> classicPictureOf(const libQuarrow::cpu::x86_physical_cpus& tree,
                                         libQuarrow::cpu::x86_cache_sharing& sharing) {
    std::vector<PictureBox> packages;
    for (std::size_t i = 0; i < tree.size(); ++i) {
        packages.push_back(picturePackage(tree[i], sharing, i));
    }
    summariseCores(packages);
    return packages;
}

} // namespace quarrow
