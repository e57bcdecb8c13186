#include <libQuarrow/cpu/ICpuTimeMetrics.h>

namespace libQuarrow::cpu {

ICpuTimeMetrics::~ICpuTimeMetrics() = default;

} // namespace libQuarrow::cpu
