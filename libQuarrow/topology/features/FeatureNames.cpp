#include <libQuarrow/topology/features/FeatureNames.h>

#include <libQuarrow/cpu/x86/decode/fields/fields.h>

#include <algorithm>

namespace libQuarrow::topology {
namespace {

struct Names {
    std::vector<std::string_view> inOrder;
    std::vector<FeatureName> byName;
    std::vector<FeatureField> fields;
};

const FeatureName* find(const std::vector<FeatureName>& byName, std::string_view name) {
    const auto at = std::lower_bound(byName.begin(), byName.end(), name,
                                     [](const FeatureName& a, std::string_view b) { return a.name < b; });
    return at != byName.end() && at->name == name ? &*at : nullptr;
}

Names collect() {
    Names names;
    cpu::forEachCpuidField([&names](const cpu::CpuidField& field) {
        if (field.kind == cpu::CpuidFieldKind::flag) {
            names.byName.push_back({field.name, field.meaning, names.byName.size()});
        }
    });
    const auto earlier = [](const FeatureName& a, const FeatureName& b) {
        return a.name != b.name ? a.name < b.name : a.index < b.index;
    };
    std::sort(names.byName.begin(), names.byName.end(), earlier);
    const auto same = [](const FeatureName& a, const FeatureName& b) { return a.name == b.name; };
    names.byName.erase(std::unique(names.byName.begin(), names.byName.end(), same), names.byName.end());

    std::vector<FeatureName*> order;
    for (FeatureName& name : names.byName) {
        order.push_back(&name);
    }
    std::sort(order.begin(), order.end(),
              [](const FeatureName* a, const FeatureName* b) { return a->index < b->index; });
    for (FeatureName* name : order) {
        name->index = names.inOrder.size();
        names.inOrder.push_back(name->name);
    }
    cpu::forEachCpuidField([&names](const cpu::CpuidField& field) {
        if (field.kind == cpu::CpuidFieldKind::flag) {
            names.fields.push_back({&field, find(names.byName, field.name)->index});
        }
    });
    return names;
}

const Names& names() {
    static const Names instance = collect();
    return instance;
}

} // namespace

const FeatureName* featureNamed(std::string_view name) {
    return find(names().byName, name);
}

const std::vector<std::string_view>& featureNamesInOrder() {
    return names().inOrder;
}

const std::vector<FeatureField>& featureFields() {
    return names().fields;
}

} // namespace libQuarrow::topology
