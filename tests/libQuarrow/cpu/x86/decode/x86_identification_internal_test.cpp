#include <libQuarrow/cpu/x86/decode/x86_identification.h>
#include <tests/support/LiteralReader.h>

#include <gtest/gtest.h>

using namespace libQuarrow::cpu;

namespace {

TEST(Decode, Vendor) {
    const std::pair<const char*, x86_cpu_vendor> cases[] = {
        {"GenuineIntel", x86_vendor_intel},   {"AuthenticAMD", x86_vendor_amd},
        {"AMDisbetter!", x86_vendor_amd},     {"AMD ISBETTER", x86_vendor_amd},
        {"CentaurHauls", x86_vendor_centaur}, {"CyriHInstead", x86_vendor_cyrix}, // so spelled on purpose
        {"CyrixInstead", x86_vendor_unknown},                                     // what the processors answer
        {"  Shanghai  ", x86_vendor_unknown}, {"genuineintel", x86_vendor_unknown},
    };
    for (const auto& [name, vendor] : cases) {
        LiteralReader cpuid(name, 1, 0, {});
        EXPECT_EQ(decodeVendor(cpuid), vendor) << name;
        EXPECT_EQ(decodeVendorName(cpuid), name);
    }
}

TEST(Decode, BrandStringKeepsItsBlanksAndEndsAtAZero) {
    const Leaf parts[] = {{0x80000002, 0, {0x20202020, 0x4D41544F, 0x20202020, 0x20202020}}, // "    OTAM..."
                          {0x80000003, 0, {0x00423241, 0x43434343, 0x43434343, 0x43434343}}, // "A2B" and an end
                          {0x80000004, 0, {0x44444444, 0x44444444, 0x44444444, 0x44444444}}};
    LiteralReader full("GenuineIntel", 1, 0x80000004, {parts[0], parts[1], parts[2]});
    EXPECT_EQ(decodeCpuName(full), "    OTAM        A2B");

    // Two thirds of a brand string are none.
    LiteralReader partial("GenuineIntel", 1, 0x80000003, {parts[0], parts[1]});
    EXPECT_EQ(decodeCpuName(partial), "");
}

TEST(Decode, NameOfProcessorsWithoutBrandString) {
    const zel::String pentium2("Intel\xAE Pentium\xAE II Processor");
    const zel::String pentium3("Intel\xAE Pentium\xAE III Processor");
    const struct {
        const char* vendor;
        std::uint32_t maximum, signature, brandIndex;
        zel::String name;
    } cases[] = {
        {"GenuineIntel", 2, 0x633, 0, pentium2}, {"GenuineIntel", 2, 0x652, 0, pentium2},
        {"GenuineIntel", 2, 0x672, 0, pentium3}, {"GenuineIntel", 2, 0x672, 2, {}},
        {"GenuineIntel", 2, 0x681, 2, pentium3}, {"GenuineIntel", 2, 0x681, 0, {}},
        {"GenuineIntel", 2, 0x665, 0, {}},       {"GenuineIntel", 2, 0x533, 0, {}},
        {"GenuineIntel", 0, 0x633, 0, {}},       {"CyrixInstead", 1, 0x633, 0, {}},
        {"AuthenticAMD", 1, 0x681, 2, {}},
    };
    for (const auto& c : cases) {
        LiteralReader cpuid(c.vendor, c.maximum, 0, {{1, 0, {c.signature, c.brandIndex, 0, 0}}});
        EXPECT_EQ(decodeCpuName(cpuid), c.name) << c.vendor << std::hex << " " << c.signature << " " << c.brandIndex;
    }
}

TEST(Decode, SignatureAndApicId) {
    const struct {
        const char* vendor;
        std::uint32_t signature;
        const char* text; // family, model, extended ones, stepping; display family and model
    } cases[] = {
        {"GenuineIntel", 0x000106A5, "6 A 0 1 5; 6 1A"},  // extended model counts in family 6
        {"GenuineIntel", 0x00100F24, "F 2 1 0 4; 10 2"},  // and the extended family in family 15
        {"GenuineIntel", 0x0FF30F41, "F 4 FF 3 1; E 34"}, // in eight bits
        {"GenuineIntel", 0x00110543, "5 4 1 1 3; 5 4"},   // but neither in family 5
        {"AuthenticAMD", 0x00800F11, "F 1 8 0 1; 17 1"},       {"AuthenticAMD", 0x00A20F12, "F 1 A 2 2; 19 21"},
        {"AuthenticAMD", 0x00A20E12, "E 1 A 2 2; E 1"},        {"AuthenticAMD", 0x00010681, "6 8 0 1 1; 6 8"},
        {"CentaurHauls", 0x0ABCDEF9, "E F AB C 9; not known"},
    };
    for (const auto& c : cases) {
        LiteralReader cpuid(c.vendor, 1, 0, {{1, 0, {c.signature, 0xC5010800, 0, 0}}});
        x86_cpu_signature s;
        ASSERT_TRUE(decodeSignature(cpuid, s) && s.signature == c.signature);
        EXPECT_TRUE(s.displayValid || (s.displayFamily == 0 && s.displayModel == 0));
        EXPECT_EQ(zel::String::SprintfFormat(s.displayValid ? "%X %X %X %X %X; %X %X" : "%X %X %X %X %X; not known",
                                             s.family, s.model, s.extFamily, s.extModel, s.stepping, s.displayFamily,
                                             s.displayModel),
                  c.text);
        EXPECT_EQ(decodeLocalApicId(cpuid), 0xC5u);
        LiteralReader without(c.vendor, 0, 0, {});
        EXPECT_FALSE(decodeSignature(without, s));
        EXPECT_EQ(s.signature, c.signature) << "must be left alone";
        EXPECT_EQ(decodeLocalApicId(without), 0u);
    }
}

} // namespace
