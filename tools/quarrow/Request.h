#pragma once

#include <boost/optional.hpp>

#include <map>
#include <string>
#include <vector>

namespace quarrow {

// What a command is asked for.
struct Request {
    boost::optional<std::string> machineFile; // what the machine was read from, as it was given; absent: this machine
    bool tscRateKnown = true;                 // false: a recording does not tell the rate of its time-stamp counters
    bool threadAffinity = true;               // how processors are visited: by moving the thread, or the whole process
    bool classic = false;                     // answer with the classic classes
    bool json = false;                        // for programs instead of people
    std::vector<std::string> operands;        // what stands after the command
    std::map<std::string, std::string> options; // the command's own ones that were given: "cpu" is "3" for --cpu 3

    bool isRecorded() const { return machineFile.has_value(); }
};

} // namespace quarrow
