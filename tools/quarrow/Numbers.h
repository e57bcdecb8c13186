#pragma once

#include <tools/quarrow/Request.h>

#include <boost/optional.hpp>

#include <cstdint>
#include <string>

// Numbers on the command line: decimal, or hexadecimal as 0x1A2 or 1A2h.

namespace quarrow {

// Throws Failure, naming `what`, when `text` is no number or one above `maximum`.
std::uint64_t numberIn(const std::string& text, const std::string& what, std::uint64_t maximum = UINT64_MAX);
// The command's first operand.
std::uint64_t numberOperand(const Request& request, const std::string& what, std::uint64_t maximum);
// The value of an option, named without its dashes; none when it was not given.
boost::optional<std::uint64_t> numberOption(const Request& request, const std::string& name, std::uint64_t maximum);
// The widest number that so many bytes hold: 1, 2, 4 or 8.
std::uint64_t maximumOf(std::uint64_t bytes);

// "0x" and two digits for each of so many bytes.
std::string hexadecimal(std::uint64_t value, std::uint64_t bytes);

} // namespace quarrow
