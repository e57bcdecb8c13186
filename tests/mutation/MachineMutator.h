#pragma once

#include <libQuarrow/recording/Recording.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

// A recording as a hostile hypervisor or a damaged file might have it. `bytes` choose what is done: bits flipped,
// leaves dropped or repeated under another sub-leaf, registers at their extremes, maxima raised, processors moved and
// doubled. The same bytes always give the same machine.
libQuarrow::os::Recording mutatedRecording(libQuarrow::os::Recording recording, const std::uint8_t* bytes,
                                           std::size_t size);

// All recordings of a folder, in the order of their names.
std::vector<libQuarrow::os::Recording> recordingsOf(const std::string& folder);

// Takes the recorded machine's topology with all that can be asked for. Whatever the machine says, it does not
// contradict itself (else std::logic_error).
void askTopology(const libQuarrow::os::Recording& recording);

// Asks the recorded machine for everything the tool can print, for people and for programs, and for its topology, and
// answers how many characters came. Whatever the machine says, each answer is a text or the one failure that the tool
// reports.
std::size_t askEverything(const libQuarrow::os::Recording& recording);
