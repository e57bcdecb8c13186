#pragma once

#include <libQuarrow/topology/Processor.h>

#include <zel/String.h>

#include <string>

// How a processor is named, wherever people or programs read of it.

namespace libQuarrow::document {

// UTF-8 for people. Texts that come from registers can hold anything, so control characters other than the line feed
// become U+FFFD: a recording must not steer the terminal it is shown on.
std::string printable(const zel::String& text);
// What a processor is called: its brand string, else its maker and signature.
std::string processorName(const topology::ProcessorIdentity& identity);
// The affinity text that selects the processor: "0:0000000000000010h".
std::string affinityText(const topology::Processor& processor);

} // namespace libQuarrow::document
