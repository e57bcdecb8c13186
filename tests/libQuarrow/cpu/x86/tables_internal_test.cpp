// The data tables, each by one check value (FNV-1a, 64 bits) over its rows as text: a row that changes by accident
// shows, without the rows standing here once more. After a change that is meant, compare the rows with their source
// again and take over the value that the test prints.

#include <libQuarrow/cpu/x86/amd/x86_amd_revisions.h>
#include <libQuarrow/cpu/x86/intel/x86_intel_cache_descriptors.h>
#include <libQuarrow/cpu/x86/intel/x86_intel_steppings.h>
#include <libQuarrow/cpu/x86/intel/x86_intel_tcc_activation.h>
#include <libQuarrow/cpu/x86/intel/x86_intel_types.h>

#include <gtest/gtest.h>

using namespace libQuarrow::cpu;

namespace {

template <class... Values>
std::string text(const char* format, Values... values) {
    return zel::String::SprintfFormat(format, values...).toUtf8();
}

template <class Row, std::size_t count, class Text>
std::string checkValue(const Row (&rows)[count], Text textOf) {
    std::uint64_t hash = 0xCBF29CE484222325;
    for (const Row& row : rows) {
        for (const char c : textOf(row) + "\n") {
            hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001B3;
        }
    }
    return text("%016I64X", hash);
}

TEST(Tables, are_what_their_sources_say) {
    EXPECT_EQ(checkValue(intelCacheDescriptors,
                         [](const IntelCacheDescriptor& row) {
                             return text("%02X %u %s %u %u %u", row.descriptor, row.level,
                                         x86_cache::typeText(row.type), row.ways, row.size, row.lineSizeBytes);
                         }),
              "30877626CD17D50D");
    EXPECT_EQ(checkValue(steppingBySignature,
                         [](const SteppingBySignature& row) {
                             return text("%X %s", row.signature, intelSteppingTexts[row.stepping]);
                         }),
              "D93BBFE4A506381F");
    EXPECT_EQ(checkValue(steppingByProcessorNumber,
                         [](const SteppingByProcessorNumber& row) {
                             return text("%X %s %s", row.signature, row.processorNumber,
                                         intelSteppingTexts[row.stepping]);
                         }),
              "5EDB66FE4C3482D1");
    EXPECT_EQ(checkValue(intelTypeNames,
                         [](const IntelTypeName& row) { return text("%X %s", unsigned{row.type}, row.name); }),
              "7145589A6A361376");
    EXPECT_EQ(checkValue(intelSignatureTypes,
                         [](const IntelSignatureType& row) {
                             const char* const dies[] = {"", "client", "server"};
                             return text("%X %X %s", row.signature, row.types, dies[static_cast<int>(row.die)]);
                         }),
              "DF633676A55AF453");
    EXPECT_EQ(checkValue(
                  intelDisplayModelTypes,
                  [](const IntelDisplayModelType& row) { return text("%u %X", row.displayModel, unsigned{row.type}); }),
              "FA64817EDC542BD7");
    EXPECT_EQ(checkValue(meromProcessorNumbers, [](const char* number) { return std::string(number); }),
              "34BACF0651BF0696");
    EXPECT_EQ(checkValue(tccActivationTable,
                         [](const TccActivation& row) {
                             return text("%u %X %u %u %s", row.celsius, row.signature, row.designedMHz, row.l2KB,
                                         row.brandFragments != nullptr ? row.brandFragments : "");
                         }),
              "89D9B0B864B943E0");
    EXPECT_EQ(checkValue(atomTemperatures,
                         [](const AtomTemperature& row) { return text("%s %u", row.processorNumbers, row.celsius); }),
              "FAB3C263EEC273A1");
    EXPECT_EQ(checkValue(amdRevisions,
                         [](const AmdRevisionRow& row) {
                             return text("%X %s %X %u %u %u", row.signature, row.text, row.revision.family,
                                         row.revision.coreCode, row.revision.revisionCode, unsigned{row.packageType});
                         }),
              "0CF8042363875821");
}

} // namespace
