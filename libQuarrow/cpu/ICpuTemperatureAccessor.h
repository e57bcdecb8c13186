#pragma once

#include <libQuarrow/cpu/CpuTemperatureInfo.h>
#include <libQuarrow/quarrow_export.h>
#include <zel/Temperature.h>

#include <boost/optional.hpp>

namespace libQuarrow::cpu {

// How a package or core tells its temperature. Programs bring their own: the library has none.
class QUARROW_EXPORT ICpuTemperatureAccessor {
  public:
    ICpuTemperatureAccessor() = default;
    ICpuTemperatureAccessor(const ICpuTemperatureAccessor&) = default;
    ICpuTemperatureAccessor& operator=(const ICpuTemperatureAccessor&) = default;
    virtual ~ICpuTemperatureAccessor();

    // A copy made with new, owned by the caller: every copy of a package or core has an accessor of its own.
    virtual ICpuTemperatureAccessor* clone() const = 0;
    // False when the temperature is not known.
    virtual bool getCurrentTemperature(zel::Temperature& temperature) const = 0;
    // Where the processor starts to throttle; false when that is not known. The base does not know it and leaves
    // `threshold` untouched.
    virtual bool getTemperatureThreshold(zel::Temperature& threshold) const;
    // Everything at once; none when neither the temperature nor the threshold is known.
    virtual boost::optional<CpuTemperatureInfo> getTemperatureInfo() const;

  protected:
    // Threshold less temperature, in whole degrees. None unless both are known, both in whole degrees, and the
    // difference is an int.
    static boost::optional<zel::Temperature> calculateThresholdOffset(const CpuTemperatureInfo& info);
};

} // namespace libQuarrow::cpu
