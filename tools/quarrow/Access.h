#pragma once

#include <tools/quarrow/Request.h>

#include <nlohmann/json.hpp>

#include <cstdint>
#include <string>

namespace quarrow {

// A register, or a place in memory or among the ports, of 1, 2, 4 or 8 bytes.
class Place {
  public:
    virtual ~Place() = default;
    virtual bool read(std::uint64_t& value) = 0;
    virtual bool write(std::uint64_t value) = 0;

    std::string name;                // "MSR 0x000001a2 of logical processor 3"
    const char* key = "";            // in the JSON document
    nlohmann::ordered_json identity; // what tells it from others, beside its value
    std::uint64_t bytes = 8;
};

// What the commands msr, mem and port have in common: reads the place or, with --write, says what it is about to do
// and does it. Answers what is left to be printed. Throws Failure when the access is refused.
std::string access(const Request& request, Place& place);

} // namespace quarrow
