// All that CPUID answers on a processor, and what it means.

#include <libQuarrow/c/Handles.h>

#include <libQuarrow/topology/leaves/ProcessorLeaves.h>

using namespace libQuarrow;
using namespace libQuarrow::c;

struct quarrow_leaves {
    std::shared_ptr<const topology::ProcessorLeaves> answered;
    std::vector<topology::LeafDescription> descriptions; // of each answer
};

static_assert(static_cast<int>(topology::LeafRegister::eax) == QUARROW_EAX &&
              static_cast<int>(topology::LeafRegister::edx) == QUARROW_EDX);
static_assert(static_cast<int>(topology::LeafFieldKind::flag) == QUARROW_FIELD_FLAG &&
              static_cast<int>(topology::LeafFieldKind::bit) == QUARROW_FIELD_BIT &&
              static_cast<int>(topology::LeafFieldKind::number) == QUARROW_FIELD_NUMBER &&
              static_cast<int>(topology::LeafFieldKind::text) == QUARROW_FIELD_TEXT);

quarrow_leaves* quarrow_leaves_of(const quarrow_machine* machine, uint32_t number) {
    return answer<quarrow_leaves*>(nullptr, [&] {
        auto leaves = std::make_unique<quarrow_leaves>();
        leaves->answered = processorOf(machine, number).leaves;
        if (leaves->answered == nullptr) {
            throw Failure(QUARROW_ERROR_UNKNOWN,
                          "the machine was taken without leaves; take it with QUARROW_WITH_LEAVES");
        }
        leaves->descriptions.reserve(leaves->answered->answers().size());
        for (const topology::CpuidAnswer& given : leaves->answered->answers()) {
            leaves->descriptions.push_back(leaves->answered->describe(given));
        }
        return leaves.release();
    });
}

void quarrow_leaves_free(quarrow_leaves* leaves) {
    delete leaves;
}

size_t quarrow_leaves_count(const quarrow_leaves* leaves) {
    return answer<size_t>(0, [&] { return given(leaves, "leaves").descriptions.size(); });
}

uint32_t quarrow_leaves_find(const quarrow_leaves* leaves, uint32_t leaf, uint32_t subleaf) {
    return answer(QUARROW_NONE, [&] {
        const topology::ProcessorLeaves& answered = *given(leaves, "leaves").answered;
        const topology::CpuidAnswer* const found = answered.find(leaf, subleaf);
        return found != nullptr ? static_cast<std::uint32_t>(found - answered.answers().data()) : QUARROW_NONE;
    });
}

int quarrow_leaves_answer(const quarrow_leaves* leaves, size_t index, quarrow_leaf* leaf, size_t size) {
    return attempt([&] {
        const topology::LeafDescription& described = elementOf(given(leaves, "leaves").descriptions, index, "answer");
        const topology::CpuidAnswer& answered = leaves->answered->answers()[index];
        quarrow_leaf facts = {};
        facts.leaf = answered.leaf;
        facts.subleaf = answered.subleaf;
        facts.eax = answered.eax;
        facts.ebx = answered.ebx;
        facts.ecx = answered.ecx;
        facts.edx = answered.edx;
        facts.unknown_eax = described.unknown[0];
        facts.unknown_ebx = described.unknown[1];
        facts.unknown_ecx = described.unknown[2];
        facts.unknown_edx = described.unknown[3];
        facts.field_count = static_cast<std::uint32_t>(described.fields.size());
        facts.title = orNull(described.title);
        fillStructure(leaf, size, facts);
    });
}

int quarrow_leaves_field(const quarrow_leaves* leaves, size_t index, size_t which, quarrow_leaf_field* field,
                         size_t size) {
    return attempt([&] {
        const topology::LeafField& found =
            elementOf(elementOf(given(leaves, "leaves").descriptions, index, "answer").fields, which, "field");
        quarrow_leaf_field facts = {};
        facts.register_index = static_cast<std::uint32_t>(found.reg);
        facts.lowest_bit = found.lowestBit;
        facts.width = found.width;
        facts.kind = static_cast<std::uint32_t>(found.kind);
        facts.raw = found.raw;
        facts.value = found.value;
        facts.name = found.name.data();
        facts.meaning = found.meaning.data();
        facts.unit = orNull(found.unit);
        facts.word = orNull(found.word);
        facts.shown = found.shown.c_str();
        fillStructure(field, size, facts);
    });
}

const char* quarrow_register_name(uint32_t register_index) {
    return wordFor(register_index, topology::LeafRegister::edx);
}

const char* quarrow_field_kind_name(uint32_t kind) {
    return wordFor(kind, topology::LeafFieldKind::text);
}
