// In the place of hwloc_bench.cpp where hwloc is not installed.

#include <benchmarks/Ratios.h>

namespace quarrow_bench {

static const AddRatio notCompared{"tree build / hwloc: not compared, libhwloc-dev is not installed", "",
                                  [](const Results&) { return boost::optional<double>(); }};

} // namespace quarrow_bench
