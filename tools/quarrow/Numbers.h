#pragma once

#include <tools/quarrow/Request.h>

#include <boost/optional.hpp>

#include <cstdint>
#include <string>

// Numbers on the command line: decimal, or hexadecimal as 0x1A2 or 1A2h.

namespace quarrow {

// Throws Failure, naming `what`, unless `text` is a number from `least` to `most`.
std::uint64_t numberIn(const std::string& text, const std::string& what, std::uint64_t least, std::uint64_t most);
// The same of an option's value, the option named without its dashes; none when it was not given.
boost::optional<std::uint64_t> numberOption(const Request& request, const char* option, std::uint64_t least,
                                            std::uint64_t most);
// How many bytes a value has, by --size: 1, 2, 4 or 8, but at most `widest`; `usual` when it was not given.
std::uint64_t sizeOption(const Request& request, std::uint64_t usual, std::uint64_t widest);

// "0x" and two digits for each of so many bytes.
std::string hexadecimal(std::uint64_t value, std::uint64_t bytes);

} // namespace quarrow
