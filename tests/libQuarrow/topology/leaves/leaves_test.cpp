#include <libQuarrow/topology/Topology.h>
#include <libQuarrow/topology/leaves/MachineLeaves.h>
#include <tests/support/CurrentMachine.h>

#include <libQuarrow/recording/formats/RecordingFile.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <set>

using namespace libQuarrow;
using namespace libQuarrow::topology;

namespace {

constexpr CpuidAnswer genuineIntel{0, 0, 0x20, 0x756E6547, 0x6C65746E, 0x49656E69};
constexpr CpuidAnswer authenticAmd{0, 0, 0x10, 0x68747541, 0x444D4163, 0x69746E65};
constexpr CpuidAnswer kvm{0x40000000, 0, 0x40000001, 0x4B4D564B, 0x564B4D56, 0x4D};
constexpr CpuidAnswer microsoft{0x40000000, 0, 0x4000000A, 0x7263694D, 0x666F736F, 0x76482074};

CpuidAnswer moved(CpuidAnswer answer, std::uint32_t leaf) {
    answer.leaf = leaf;
    return answer;
}

// What people read of a field; "none" where the answer has no field of that name.
std::string shown(const CpuidAnswer& first, const CpuidAnswer& answer, std::string_view name) {
    const ProcessorLeaves leaves(0, {first, answer});
    for (const LeafField& field : leaves.describe(answer).fields) {
        if (field.name == name) {
            return field.shown;
        }
    }
    return "none";
}

TEST(Leaves, TellNumbersInTheUnitsThatTheyMean) {
    const struct {
        CpuidAnswer first;
        CpuidAnswer answer;
        const char* field;
        const char* shown;
    } rows[] = {
        {genuineIntel, genuineIntel, "vendor_1", "\"ineI\""},
        {genuineIntel, {1, 0, 0x2000, 0x0800}, "clflush_size", "64 bytes"},
        {genuineIntel, {1, 0, 0x2000, 0x0800}, "processor_type", "second of two"},
        {genuineIntel, {1, 0, 0, 0, 1}, "pni", "yes"},
        {genuineIntel,
         {2, 0, 0x76036301, 0xF0B5FF},
         "descriptor_1",
         "L1 data TLB, 32 of 2 MB or 4 MB; L1 data TLB, 4 of 1 GB"},
        {genuineIntel, {2, 0, 0x76036301, 0xF0B5FF}, "descriptor_4", "caches are in leaf 4"},
        {genuineIntel, {2, 0, 0x0703101}, "descriptor_2", "L1 trace, 12K micro-ops"},
        {genuineIntel, {2, 0, 0x0703101}, "descriptor_1", "0x31"}, // of no known meaning
        {genuineIntel, {4, 5, 0x43, 0x3C0003F, 0xFFFFFFFF}, "cache_type", "unified"},
        {genuineIntel, {4, 5, 0x43, 0x3C0003F, 0xFFFFFFFF}, "ways", "16"},
        {genuineIntel, {4, 5, 0x43, 0x3C0003F, 0xFFFFFFFF}, "sets", "4294967296"},
        {genuineIntel, {6, 0, 0, 0, 0, 0x300}, "hfi_size", "16 KB"},
        {genuineIntel, {0xF, 1, 0x126}, "l3_counter_width", "62 bits"},
        {genuineIntel, {0x12, 0, 0, 0, 0, 0xFF24}, "enclave_max_32", "2^36 bytes"},
        {genuineIntel, {0x12, 0, 0, 0, 0, 0xFF24}, "enclave_max_64", "2^255 bytes"},
        {genuineIntel, {0x16, 0, 3000}, "base_frequency", "3000 MHz"},
        {genuineIntel, {0x1A, 0, 0x40000001}, "core_type", "Intel Core"},
        {genuineIntel, {0x1A, 0, 0x30000001}, "core_type", "48"}, // of no known meaning
        {authenticAmd, {0x80000005, 0, 0, 0, 0x40FF0140}, "l1d_ways", "fully associative"},
        {authenticAmd, {0x80000005, 0, 0, 0, 0x40080140}, "l1d_ways", "8 ways"},
        {authenticAmd, {0x80000006, 0, 0, 0, 0, 0x01009140}, "l3_size", "32768 KB"},
        {authenticAmd, {0x80000006, 0, 0, 0, 0, 0x01009140}, "l3_ways", "in leaf 0x8000001D"},
        // Whose the processor, and whose the hypervisor is.
        {authenticAmd, {0x80000001, 0, 0, 0x40000000}, "package_type", "4"},
        {genuineIntel, {0x80000001, 0, 0, 0x40000000}, "package_type", "none"},
        {authenticAmd, {0x8FFFFFFF, 0, 0x53275449}, "greeting_0", "\"IT'S\""},
        {kvm, {0x40000001, 0, 0x08}, "kvm_clocksource2", "yes"},
        {kvm, {0x40000001, 0, 0x08}, "interface", "none"},
        {microsoft, {0x40000001, 0, 0x31237648}, "interface", "\"Hv#1\""},
        {microsoft, {0x40000001, 0, 0x31237648}, "kvm_clocksource2", "none"},
        {kvm, {0x40000003, 0, 0x20}, "hv_hypercall_msrs", "none"},
        {moved(kvm, 0x40000100), {0x40000101, 0, 0x08}, "kvm_clocksource2", "yes"}, // beneath Hyper-V's
        {microsoft, {0x40000101, 0, 0x08}, "kvm_clocksource2", "none"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(shown(row.first, row.answer, row.field), row.shown) << row.field;
    }
    const CpuidAnswer sgx{0x12, 0, 0, 0, 0, 0xFF24};
    const auto fields = ProcessorLeaves(0, {genuineIntel, sgx}).describe(sgx).fields;
    EXPECT_TRUE(std::any_of(fields.begin(), fields.end(), [](const LeafField& field) {
        return field.name == "enclave_max_32" && field.value == std::uint64_t{1} << 36;
    }));
}

// Under a name of its own.
TEST(Leaves, FollowTheInterfaceThatAHypervisorSaysItHas) {
    const CpuidAnswer signature{0x40000000, 0, 0x40000010, 0x61774D56, 0x4D566572, 0x65726177}; // VMwareVMware
    const CpuidAnswer features{0x40000003, 0, 0x20};
    const CpuidAnswer hyperV{0x40000001, 0, 0x31237648};
    const auto knows = [&features](const ProcessorLeaves& leaves) { return leaves.describe(features).unknown[0] == 0; };
    EXPECT_TRUE(knows({0, {signature, hyperV, features}}));
    EXPECT_FALSE(knows({0, {signature, features}}));
}

TEST(Leaves, LeaveNoSetBitOut) {
    const ProcessorLeaves leaves(0,
                                 {{0x16, 0, 0xFFFF0BB8}, genuineIntel, {0x16, 0, 1}, {0x77, 0, 5, 0, 0, 0x80000000}});
    ASSERT_EQ(leaves.answers().size(), 3u); // the first one of the same
    const LeafDescription frequencies = leaves.describe(*leaves.find(0x16));
    EXPECT_EQ(frequencies.title, "Frequencies");
    EXPECT_EQ(frequencies.unknown, (std::array<std::uint32_t, 4>{0xFFFF0000, 0, 0, 0}));
    const LeafDescription unknown = leaves.describe(*leaves.find(0x77));
    EXPECT_TRUE(unknown.title.empty() && unknown.fields.empty());
    EXPECT_EQ(unknown.unknown, (std::array<std::uint32_t, 4>{5, 0, 0, 0x80000000}));
    EXPECT_EQ(leaves.find(0x77, 1), nullptr);
}

// Fields and unknown bits make up each register, names are unique, and the flags are the topology's features.
TEST(Leaves, AgreeWithTheRegistersAndWithTheFeatures) {
    for (const auto& entry : std::filesystem::directory_iterator(QUARROW_SOURCE_DIR "/tests/machines")) {
        SCOPED_TRACE(entry.path().filename().string());
        os::RecordingError error;
        os::RecordedMachine recorded(os::readRecording(entry.path().string(), error).value());
        const os::ScopedMachine scope(recorded);
        const auto topology = Topology::read().value();
        const auto machine = MachineLeaves::read().value();
        ASSERT_EQ(machine.processors().size(), topology.processors().size());
        for (const ProcessorLeaves& processor : machine.processors()) {
            std::set<std::string_view> flags;
            for (const CpuidAnswer& answer : processor.answers()) {
                const LeafDescription description = processor.describe(answer);
                std::array<std::uint32_t, 4> registers = description.unknown;
                std::set<std::string_view> names;
                for (const LeafField& field : description.fields) {
                    EXPECT_TRUE(names.insert(field.name).second || field.kind == LeafFieldKind::flag) << field.name;
                    std::uint32_t& value = registers[static_cast<std::size_t>(field.reg)];
                    EXPECT_EQ(value & field.raw << field.lowestBit, 0u) << field.name;
                    value |= field.raw << field.lowestBit;
                    if (field.kind == LeafFieldKind::flag && field.raw != 0) {
                        flags.insert(field.name);
                    }
                }
                EXPECT_EQ(registers, (std::array<std::uint32_t, 4>{answer.eax, answer.ebx, answer.ecx, answer.edx}));
            }
            const auto features = topology.find(processor.number())->identity->features.names();
            EXPECT_EQ(flags, (std::set<std::string_view>(features.begin(), features.end())));
        }
    }
}

// The ranges that begin above the first hypervisor's, and those of a few makers.
TEST(Leaves, AreFoundInEveryRange) {
    using Registers = cpu::cpuid_args;
    const auto found = [](std::initializer_list<CpuidAnswer> answers) {
        os::RecordedProcessor processor;
        for (const CpuidAnswer& answer : answers) {
            processor.leaves[{answer.leaf, answer.subleaf}] = Registers{answer.eax, answer.ebx, answer.ecx, answer.edx};
        }
        const testing_support::CurrentMachine machine({processor});
        std::vector<std::uint32_t> leaves;
        const auto read = MachineLeaves::read().value();
        for (const CpuidAnswer& answer : read.processors().at(0).answers()) {
            leaves.push_back(answer.leaf);
        }
        return leaves;
    };
    const CpuidAnswer guest{1, 0, 0x663, 0, 0x80000000};
    const CpuidAnswer transmeta{0, 0, 1, 0x756E6547, 0x3638784D, 0x54656E69}; // GenuineTMx86
    using Numbers = std::vector<std::uint32_t>;
    EXPECT_EQ(found({authenticAmd, guest, microsoft, moved(kvm, 0x40000100), {0x40000101, 0, 1}, {0x8FFFFFFF, 0, 1}}),
              (Numbers{0, 1, 0x40000000, 0x8FFFFFFF}));
    CpuidAnswer first = moved(kvm, 0x40000100);
    first.eax = 0x40000101;
    EXPECT_EQ(found({authenticAmd, guest, microsoft, first, {0x40000101, 0, 1}}),
              (Numbers{0, 1, 0x40000000, 0x40000100, 0x40000101}));
    EXPECT_EQ(found({transmeta, {1, 0, 0x543}, {0x80860000, 0, 0x80860001}, {0x80860001, 0, 0x543}}),
              (Numbers{0, 1, 0x80860000, 0x80860001}));
    EXPECT_EQ(found({authenticAmd, {1, 0, 0x543}, {0x80860000, 0, 0x80860001}, {0x80860001, 0, 0x543}}),
              (Numbers{0, 1}));
}

} // namespace
