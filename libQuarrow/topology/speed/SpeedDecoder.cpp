#include <libQuarrow/topology/speed/SpeedDecoder.h>

namespace libQuarrow::topology {

ProcessorSpeed decodeSpeed(const SpeedSources& /*sources*/, const MeasuredSpeed& measured,
                           const os::SystemFrequencies& system) {
    ProcessorSpeed speed;
    speed.tscHertz = measured.tscHertz;
    speed.system = system;
    return speed;
}

ProcessorLimits decodeLimits(const SpeedSources& /*sources*/) {
    return {};
}

} // namespace libQuarrow::topology
