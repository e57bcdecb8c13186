#pragma once

#include <libQuarrow/topology/decode/ProcessorFacts.h>

// Private to the library: from the leaves of one processor to what it tells.

namespace libQuarrow::cpu {
class CpuidReader;
}

namespace libQuarrow::topology {

class LeafReader;

// Makers whose leaves have meanings of their own.
enum class Maker { intel, amd, cyrix, other }; // amd: Hygon too; cyrix: what became of it too

Maker makerOf(const LeafReader& leaves);
ProcessorIdentity decodeIdentity(LeafReader& leaves);
// Fills `place`, and of `model` the shifts and the kind of core.
void decodePlace(LeafReader& leaves, PlaceFacts& place, ModelFacts& model);
std::vector<CacheFacts> decodeCaches(LeafReader& leaves, const ModelFacts& model);
std::vector<TlbFigures> decodeTlbs(LeafReader& leaves);

// All of them. Number, group and bit are left to the caller.
ProcessorFacts decodeProcessor(cpu::CpuidReader& cpuid);

} // namespace libQuarrow::topology
