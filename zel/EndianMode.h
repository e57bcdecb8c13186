#pragma once

#include <boost/endian/conversion.hpp>

#include <cstdint>

namespace zel {

// The byte order of a device's values.
enum EndianMode : std::uint32_t {
    EndianDefault = 0, // as the processor stores them
    EndianLittle = 1,  // lowest byte first, which is how this processor stores them
    EndianBig = 2,     // highest byte first: the bytes of 16-, 32- and 64-bit values are reversed
};

// `value` carried over between the processor's byte order and the device's, in either direction. Reverses the bytes
// with EndianBig and changes nothing with any other mode. T is an unsigned integer type.
template <class T>
T applyEndianMode(EndianMode mode, T value) {
    return mode == EndianBig ? boost::endian::endian_reverse(value) : value;
}

} // namespace zel
