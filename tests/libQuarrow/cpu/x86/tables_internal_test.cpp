// The data tables, each by one check value (FNV-1a, 64 bits) over its rows as text: a row that changes by accident
// shows, without the rows standing here once more. After a change that is meant, compare the rows with their source
// again and take over the value that the test prints.

#include <libQuarrow/cpu/x86/amd/x86_amd_revisions.h>
#include <libQuarrow/cpu/x86/decode/fields/fields.h>
#include <libQuarrow/cpu/x86/intel/x86_intel_cache_descriptors.h>
#include <libQuarrow/cpu/x86/intel/x86_intel_steppings.h>
#include <libQuarrow/cpu/x86/intel/x86_intel_tcc_activation.h>
#include <libQuarrow/cpu/x86/intel/x86_intel_type_tables.h>

#include <gtest/gtest.h>

#include <iterator>
#include <vector>

using namespace libQuarrow::cpu;

namespace {

template <class... Values>
std::string text(const char* format, Values... values) {
    return zel::String::SprintfFormat(format, values...).toUtf8();
}

template <class Rows, class Text>
std::string checkValue(const Rows& rows, Text textOf) {
    std::uint64_t hash = 0xCBF29CE484222325;
    for (const auto& row : rows) {
        for (const char c : textOf(row) + "\n") {
            hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001B3;
        }
    }
    return text("%016I64X", hash);
}

// clang-format off
TEST(Tables, are_what_their_sources_say) {
    const char* const dies[] = {"", "client", "server"};
    EXPECT_EQ(checkValue(intelCacheDescriptors, [](auto& row) {
        return text("%02X %u %s %u %u %u", row.descriptor, row.level, x86_cache::typeText(row.type), row.ways, row.size,
                    row.lineSizeBytes); }), "30877626CD17D50D");
    EXPECT_EQ(checkValue(steppingBySignature, [](auto& row) {
        return text("%X %s", row.signature, intelSteppingTexts[row.stepping]); }), "D93BBFE4A506381F");
    EXPECT_EQ(checkValue(steppingByProcessorNumber, [](auto& row) {
        return text("%X %s %s", row.signature, row.processorNumber, intelSteppingTexts[row.stepping]); }), "5EDB66FE4C3482D1");
    EXPECT_EQ(checkValue(intelTypeNames, [](auto& row) {
        return text("%X %s", unsigned{row.type}, row.name); }), "7145589A6A361376");
    EXPECT_EQ(checkValue(intelSignatureTypes, [&](auto& row) {
        return text("%X %X %s", row.signature, row.types, dies[static_cast<int>(row.die)]); }), "DF633676A55AF453");
    EXPECT_EQ(checkValue(intelDisplayModelTypes, [](auto& row) {
        return text("%u %X", row.displayModel, unsigned{row.type}); }), "FA64817EDC542BD7");
    EXPECT_EQ(checkValue(meromProcessorNumbers, [](auto& number) { return std::string(number); }), "34BACF0651BF0696");
    EXPECT_EQ(checkValue(tccActivationTable, [](auto& row) {
        return text("%u %X %u %u %s", row.celsius, row.signature, row.designedMHz, row.l2KB,
                    row.brandFragments != nullptr ? row.brandFragments : ""); }), "89D9B0B864B943E0");
    EXPECT_EQ(checkValue(atomTemperatures, [](auto& row) {
        return text("%s %u", row.processorNumbers, row.celsius); }), "FAB3C263EEC273A1");
    EXPECT_EQ(checkValue(amdRevisions, [](auto& row) {
        return text("%X %s %X %u %u %u", row.signature, row.text, row.revision.family, row.revision.coreCode,
                    row.revision.revisionCode, unsigned{row.packageType}); }), "0CF8042363875821");
}

// Where each field stands, which the decoders and the features go by too.
TEST(Tables, of_fields_are_what_their_sources_say) {
    const struct {
        const char* name;
        const char* value;
    } expected[] = {
        {"standardCpuidFlags", "D06320D3C3003431"},
        {"extendedCpuidFlags", "69C364FC03F5E0FD"},
        {"otherCpuidFlags", "8FCB21765CA008CF"},
        {"standardFields", "3DC79FE003C9EB39"},
        {"monitoringFields", "0804C70207EA7883"},
        {"allocationFields", "9F9D75B5578692DC"},
        {"monitoringFields, asymmetric", "F335189D93F3E1E2"},
        {"allocationFields, asymmetric", "D669CC652521396A"},
        {"asymmetricFields", "ADED71EC04645D85"},
        {"extendedFields", "05B8744710E1F98B"},
        {"otherFields", "A880F84946DF29D2"},
        {"hypervisorFields", "B03A76EAE2763D98"},
        {"kvmFields", "66DB69EF0720746B"},
        {"hyperVFields", "225C0B6A079BEFF8"},
        {"xenFields", "8F72C6DA401F9351"},
        {"vmwareFields", "48EA1CF560683C13"},
    };
    const auto& tables = cpuidFieldTables();
    ASSERT_EQ(tables.size(), std::size(expected));
    for (std::size_t i = 0; i < tables.size(); ++i) {
        const std::vector<CpuidField> rows(tables[i].begin, tables[i].end);
        EXPECT_EQ(checkValue(rows, [](auto& row) {
            return text("%X %u-%u %u %u %u %u %X %s", row.leaf, row.firstSubleaf, row.lastSubleaf,
                        static_cast<unsigned int>(row.reg), row.lowestBit, row.width,
                        static_cast<unsigned int>(row.kind), row.owners, row.name); }), expected[i].value) << expected[i].name;
    }
}
// clang-format on

} // namespace
