#pragma once

#include <tools/quarrow/Request.h>
#include <tools/quarrow/fleet/FleetMachine.h>

#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

// Machines from files, folders, lines of JSON and the live machine, one after the other.

namespace quarrow {

struct FleetSink {
    // A machine, by the name that it is told by: of a recording the file, of a line of JSON what its `machine` says,
    // and where that is "native" the file and the line.
    std::function<void(const std::string& name, FleetMachine&& machine)> take;
    // What could not be read: "FILE: why" or "FILE:LINE: why". `isNamed` where an operand named it.
    std::function<void(const std::string& what, bool isNamed)> leaveOut;
};

// Each operand is a recording, a file of JSON Lines, a document that `quarrow --json` wrote, a folder with such files
// in it or below it, "-" for JSON Lines on standard input, or "native" for the machine that the request is about. Files
// of folders come in the order of their names; what begins with a dot is not looked at. A bar on standard error shows
// how far it is, where that is a terminal. Throws Failure for an operand that is not there.
void readFleet(const Request& request, const std::vector<std::string>& operands, const FleetSink& sink);

// The machines of JSON Lines: one document in each line, empty lines aside. A first line with just a "{" begins a
// single document over the whole text. `name` is what the stream is called. `advance` is told the bytes of each line,
// before it is understood.
void readJsonLines(std::istream& lines, const std::string& name, bool isNamed, const FleetSink& sink,
                   const std::function<void(std::size_t)>& advance = {});

} // namespace quarrow
