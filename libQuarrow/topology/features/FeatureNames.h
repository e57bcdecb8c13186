#pragma once

#include <libQuarrow/cpu/x86/decode/fields/CpuidField.h>

#include <cstddef>
#include <string_view>
#include <vector>

// Private to the library: the flags that the tables of CPUID fields know, each name once.

namespace libQuarrow::topology {

struct FeatureName {
    std::string_view name;
    std::string_view meaning;
    std::size_t index; // in featureNamesInOrder()
};

// Null for a name that no table has.
const FeatureName* featureNamed(std::string_view name);
// In the order of leaves and bits; a name that several fields have stands where the first one is.
const std::vector<std::string_view>& featureNamesInOrder();

// A field that says whether a processor has a feature.
struct FeatureField {
    const cpu::CpuidField* field;
    std::size_t index; // of the name, in featureNamesInOrder()
};

// In the order of the tables, so that the fields of a leaf stand together.
const std::vector<FeatureField>& featureFields();

} // namespace libQuarrow::topology
