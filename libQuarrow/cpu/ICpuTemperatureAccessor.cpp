#include <libQuarrow/cpu/ICpuTemperatureAccessor.h>

#include <cstdint>
#include <limits>

namespace libQuarrow::cpu {

ICpuTemperatureAccessor::~ICpuTemperatureAccessor() = default;

bool ICpuTemperatureAccessor::getTemperatureThreshold(zel::Temperature&) const {
    return false;
}

boost::optional<CpuTemperatureInfo> ICpuTemperatureAccessor::getTemperatureInfo() const {
    CpuTemperatureInfo info;
    zel::Temperature temperature;
    if (getCurrentTemperature(temperature)) {
        info.temperature = temperature;
    }
    zel::Temperature threshold;
    if (getTemperatureThreshold(threshold)) {
        info.threshold = threshold;
    }
    if (!info.temperature && !info.threshold) {
        return boost::none;
    }
    info.thresholdOffset = calculateThresholdOffset(info);
    return info;
}

boost::optional<zel::Temperature> ICpuTemperatureAccessor::calculateThresholdOffset(const CpuTemperatureInfo& info) {
    if (!info.temperature || !info.threshold || info.temperature->getPrecision() != 0 ||
        info.threshold->getPrecision() != 0) {
        return boost::none;
    }
    const std::int64_t offset =
        std::int64_t{info.threshold->getIntegerValue()} - std::int64_t{info.temperature->getIntegerValue()};
    if (offset < std::numeric_limits<int>::min() || offset > std::numeric_limits<int>::max()) {
        return boost::none;
    }
    return zel::Temperature(static_cast<int>(offset), 0);
}

} // namespace libQuarrow::cpu
