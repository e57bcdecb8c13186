#pragma once

#include <map>
#include <string>
#include <vector>

namespace quarrow {

// What a command is asked for.
struct Request {
    std::string machine = "native";    // or the name of the file that the machine was read from, never just native
    bool tscRateKnown = true;          // false: a recording does not tell the rate of its time-stamp counters
    bool threadAffinity = true;        // how processors are visited: by moving the thread, or the whole process
    bool json = false;                 // for programs instead of people
    std::vector<std::string> operands; // what stands after the command
    std::map<std::string, std::string> options; // the command's own ones that were given: "cpu" is "3" for --cpu 3

    bool isRecorded() const { return machine != "native"; }
};

} // namespace quarrow
