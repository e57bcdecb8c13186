#pragma once

#include <tools/quarrow/TopologyReading.h>

#include <array>
#include <string>
#include <vector>

// The leaves of several processors side by side: what they have in common once, and who differs.

namespace quarrow {

// What some processors answer alike.
struct SharedAnswer {
    libQuarrow::topology::CpuidAnswer answer;
    ProcessorSet processors;
};

// The values of one field, none twice.
struct SharedField {
    struct Value {
        libQuarrow::topology::LeafField field;
        ProcessorSet processors;
    };
    std::vector<Value> values; // in the order of their first processors; at least one
};

// Set bits of a register that no field has.
struct UnknownBits {
    libQuarrow::topology::LeafRegister reg;
    std::vector<unsigned int> bits; // ascending
    ProcessorSet processors;
};

struct SharedLeaf {
    std::uint32_t leaf;
    std::uint32_t subleaf;
    bool hasSubleaves; // others of this number are there too
    std::string title; // empty for a leaf that is not known
    ProcessorSet processors;
    std::vector<SharedAnswer> answers; // in the order of their first processors
    std::vector<SharedField> fields;   // by register and bit
    std::vector<UnknownBits> unknown;
};

// A leaf, or one sub-leaf of it.
struct LeafChoice {
    std::uint32_t leaf;
    std::optional<std::uint32_t> subleaf;
};

// By the operand of the command: none without one. Throws Failure where it is no leaf.
std::optional<LeafChoice> leafChoice(const Request& request);

// Of those processors, all leaves or those chosen, ascending. Empty where there is no such leaf.
std::vector<SharedLeaf> sharedLeaves(const std::vector<const libQuarrow::topology::ProcessorLeaves*>& processors,
                                     const std::optional<LeafChoice>& choice);
// Throws Failure: no processor answers the leaf that was chosen.
[[noreturn]] void failForNoLeaf(const LeafChoice& choice);

// A line of the table of fields.
struct FieldLine {
    std::string place; // "eax 7:0"
    std::string name;
    std::string value;
    std::string meaning;
    std::string who; // where processors differ
};

std::vector<FieldLine> fieldLines(const SharedLeaf& leaf);
// "eax 0000000D  ebx ..."; a star for each digit that differs between processors.
std::string registersText(const SharedLeaf& leaf);

// "0x4.1"; "0x1" for a leaf that has no further ones.
std::string leafName(const SharedLeaf& leaf);

} // namespace quarrow
