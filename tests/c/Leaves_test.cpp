// What CPUID answers, through the C interface.

#include <tests/c/Owned.h>

#include <libQuarrow/os/recorded/RecordedMachine.h>
#include <libQuarrow/recording/formats/RecordingFile.h>
#include <libQuarrow/topology/leaves/MachineLeaves.h>

using namespace libQuarrow;
using namespace quarrow_c_tests;

namespace {

void expectSameField(const quarrow_leaf_field& told, const topology::LeafField& field) {
    EXPECT_EQ(told.name, field.name);
    EXPECT_EQ(told.meaning, field.meaning) << field.name;
    EXPECT_EQ(textOf(quarrow_register_name(told.register_index)), nameOf(field.reg));
    EXPECT_EQ(textOf(quarrow_field_kind_name(told.kind)), nameOf(field.kind));
    EXPECT_EQ(std::make_tuple(told.lowest_bit, told.width, told.raw, told.value),
              std::make_tuple(std::uint32_t{field.lowestBit}, std::uint32_t{field.width}, field.raw, field.value))
        << field.name;
    EXPECT_EQ(std::make_tuple(textOf(told.unit), textOf(told.word), textOf(told.shown)),
              std::make_tuple(textOf(field.unit), textOf(std::string_view(field.word)), field.shown))
        << field.name;
}

void expectSameLeaves(const quarrow_leaves* told, const topology::ProcessorLeaves& leaves) {
    ASSERT_EQ(quarrow_leaves_count(told), leaves.answers().size());
    for (std::size_t i = 0; i < leaves.answers().size(); ++i) {
        const topology::CpuidAnswer& answer = leaves.answers()[i];
        const topology::LeafDescription description = leaves.describe(answer);
        quarrow_leaf leaf;
        ASSERT_EQ(quarrow_leaves_answer(told, i, &leaf, sizeof leaf), QUARROW_OK);
        EXPECT_EQ(quarrow_leaves_find(told, answer.leaf, answer.subleaf), i);
        EXPECT_EQ(std::tie(leaf.leaf, leaf.subleaf, leaf.eax, leaf.ebx, leaf.ecx, leaf.edx),
                  std::tie(answer.leaf, answer.subleaf, answer.eax, answer.ebx, answer.ecx, answer.edx));
        EXPECT_EQ(
            (std::array<std::uint32_t, 4>{leaf.unknown_eax, leaf.unknown_ebx, leaf.unknown_ecx, leaf.unknown_edx}),
            description.unknown);
        EXPECT_EQ(textOf(leaf.title), textOf(description.title));
        ASSERT_EQ(leaf.field_count, description.fields.size());
        for (std::size_t k = 0; k < description.fields.size(); ++k) {
            quarrow_leaf_field field;
            ASSERT_EQ(quarrow_leaves_field(told, i, k, &field, sizeof field), QUARROW_OK);
            expectSameField(field, description.fields[k]);
        }
    }
    EXPECT_EQ(quarrow_leaves_find(told, 0x12345678, 0), QUARROW_NONE);
}

TEST(CLeaves, SayOfEveryMachineWhatTheLibrarySays) {
    for (const std::string& file : allMachines()) {
        SCOPED_TRACE(file);
        os::RecordingError error;
        os::RecordedMachine machine(os::readRecording(file, error).value());
        const os::ScopedMachine scope(machine);
        const topology::MachineLeaves leaves = topology::MachineLeaves::read().value();
        Owned<quarrow_machine> c(quarrow_machine_load(file.c_str(), QUARROW_WITH_LEAVES));
        ASSERT_NE(c, nullptr) << quarrow_error_text();
        const topology::ProcessorLeaves& first = leaves.processors().front();
        const topology::ProcessorLeaves& last = leaves.processors().back();
        const Owned<quarrow_leaves> ofFirst(quarrow_leaves_of(c.get(), first.number()));
        const Owned<quarrow_leaves> ofLast(quarrow_leaves_of(c.get(), last.number()));
        ASSERT_TRUE(ofFirst != nullptr && ofLast != nullptr) << quarrow_error_text();
        c.reset(); // leaves do not need their machine
        expectSameLeaves(ofFirst.get(), first);
        expectSameLeaves(ofLast.get(), last);
    }
}

TEST(CLeaves, AreThereWhereTheyWereAskedFor) {
    const auto without = load("intel-2p-smt.txt");
    EXPECT_EQ(quarrow_leaves_of(without.get(), 0), nullptr);
    EXPECT_EQ(quarrow_error_code(), QUARROW_ERROR_UNKNOWN);
    const Owned<quarrow_machine> live(quarrow_machine_native(QUARROW_WITH_LEAVES));
    ASSERT_NE(live, nullptr) << quarrow_error_text();
    const std::uint32_t number = quarrow_machine_object_number(live.get(), QUARROW_PROCESSORS, 0);
    const Owned<quarrow_leaves> leaves(quarrow_leaves_of(live.get(), number));
    quarrow_leaf first;
    ASSERT_EQ(quarrow_leaves_answer(leaves.get(), 0, &first, sizeof first), QUARROW_OK) << quarrow_error_text();
    quarrow_processor processor;
    ASSERT_EQ(quarrow_machine_processor(live.get(), 0, &processor, sizeof processor), QUARROW_OK);
    EXPECT_EQ(first.eax, processor.max_leaf);
}

} // namespace
