#pragma once

#include <zel/String.h>
#include <zel/zel_export.h>

#include <cstdint>

namespace zel {

// A plain whole number.
class ZEL_EXPORT ZELValue {
  public:
    explicit ZELValue(std::uint64_t value) : m_value(value) {}
    String toString() const;

  private:
    std::uint64_t m_value;
};

// A number of bytes.
class ZEL_EXPORT DiscreteMeasurement {
  public:
    explicit DiscreteMeasurement(std::uint64_t bytes) : m_bytes(bytes) {}

    // In the largest unit (bytes, KB, MB, GB, TB; each 1024 of the one before) that gives at least 1 and shows the
    // count exactly with at most two decimals: "32 KB", "1.25 MB", "1409 KB", "512 bytes". Different counts have
    // different texts.
    String toString() const;

  private:
    std::uint64_t m_bytes;
};

// A number that is no count, with the number of decimals that it is known to.
class ZEL_EXPORT NonDiscreteMeasurement {
  public:
    // Codes for what a number is a multiple of. There is no other.
    enum : unsigned int {
        MagnitudeOne = 6,   // of 1: the value as it stands
        MagnitudeNone = 13, // printed without a unit
    };
    // Code for how a number is printed: with a fixed number of decimals. There is no other.
    enum : unsigned int { FixedDecimals = 2 };

    // `magnitude` is MagnitudeOne, or the assertion "magnitude == MagnitudeOne" is raised.
    NonDiscreteMeasurement(double value, unsigned int magnitude, unsigned int precision);

    // The value rounded to its precision. toString(FixedDecimals, MagnitudeNone) is the only form; any other raises the
    // assertion "style == FixedDecimals" or "magnitude == MagnitudeNone".
    String toString(unsigned int style, unsigned int magnitude) const;

  private:
    double m_value;
    unsigned int m_precision;
};

} // namespace zel
