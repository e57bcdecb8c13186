#pragma once

#include <tools/quarrow/Request.h>

#include <boost/optional.hpp>
#include <nlohmann/json.hpp>

#include <cstdint>
#include <functional>
#include <string>

// What the commands msr, mem and port have in common.

namespace quarrow {

// A register, or a place in memory or among the ports, of 1, 2, 4 or 8 bytes.
struct Place {
    std::string name; // "MSR 0x000001a2 of logical processor 3"
    std::uint64_t bytes;
    const char* key;                                // in the JSON document
    nlohmann::ordered_json identity;                // what tells it from others, beside its value
    std::function<bool(std::uint64_t& value)> read; // `value` is 0 before
    std::function<bool(std::uint64_t value)> write;
    bool isWritable = true; // false: no write can succeed
};

// The value of --write, of so many bytes; none when the place is to be read.
boost::optional<std::uint64_t> valueToWrite(const Request& request, std::uint64_t bytes);
// Reads the place, or says on standard error what it is about to write and writes it. Returns what is to be printed.
std::string access(const Request& request, const Place& place, const boost::optional<std::uint64_t>& toWrite);
// Ends a command whose access was refused. `access` is "MSR 0x1a2 cannot be read".
[[noreturn]] void failRefused(const Request& request, const std::string& access);

} // namespace quarrow
