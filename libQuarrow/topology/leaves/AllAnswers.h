#pragma once

#include <libQuarrow/topology/leaves/ProcessorLeaves.h>

#include <vector>

// Private to the library: every leaf and sub-leaf that a processor answers.

namespace libQuarrow::cpu {
class CpuidReader;
}

namespace libQuarrow::topology {

std::vector<CpuidAnswer> allAnswers(cpu::CpuidReader& cpuid);

} // namespace libQuarrow::topology
