#pragma once

#include <libQuarrow/cpu/x86/decode/CpuidReader.h>
#include <libQuarrow/topology/decode/ProcessorFacts.h>

// Private to the library: from the leaves of one processor to what it tells.

namespace libQuarrow::topology {

class LeafReader;

// Makers whose leaves have meanings of their own.
enum class Maker { intel, amd, cyrix, other }; // amd: Hygon too; cyrix: what became of it too

Maker makerOf(const LeafReader& leaves);
ProcessorIdentity decodeIdentity(LeafReader& leaves);
// Fills `place`, and how that is done on such processors.
PlacingFacts decodePlace(LeafReader& leaves, const ProcessorIdentity& identity, PlaceFacts& place);
std::vector<CacheFacts> decodeCaches(LeafReader& leaves, const ProcessorIdentity& identity);
std::vector<TlbFigures> decodeTlbs(LeafReader& leaves);

// All of them, of one processor after the other. Number, group and bit are left to the caller.
class ProcessorDecoder {
  public:
    // Nothing was read by `cpuid` before.
    ProcessorFacts decode(cpu::RememberingCpuidReader& cpuid);

  private:
    // Of the last processor that was decoded: one that answers the same but for its IDs is its like, since decoding
    // goes by the answers alone, and is only placed. What a package or the machine has in common it is not asked again.
    cpu::CpuidAnswers m_answers;
    std::shared_ptr<const ModelFacts> m_model;
    PlaceFacts m_place; // of the last one of that model
};

} // namespace libQuarrow::topology
