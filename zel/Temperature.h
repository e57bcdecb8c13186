#pragma once

#include <zel/String.h>
#include <zel/zel_export.h>

namespace zel {

// A temperature in degrees Celsius: a whole number of steps of 10^-precision degrees. 605 with precision 1 is 60.5.
class ZEL_EXPORT Temperature {
  public:
    // 0 degrees with precision 0.
    Temperature() = default;
    // Precisions from 0 to 9; a larger one raises the assertion "precision <= 9".
    explicit Temperature(int value, unsigned int precision = 0);

    // In units of 10^-getPrecision() degrees.
    int getIntegerValue() const { return m_value; }
    // The number of decimal places.
    unsigned int getPrecision() const { return m_precision; }

    // As in "60 \u00B0C" and "60.5 \u00B0C", with all its decimal places.
    String toString() const;

  private:
    int m_value = 0;
    unsigned int m_precision = 0;
};

} // namespace zel
