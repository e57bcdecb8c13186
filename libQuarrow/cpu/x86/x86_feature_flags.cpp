#include <libQuarrow/cpu/x86/x86_feature_flags.h>

#include <libQuarrow/cpu/x86/decode/x86_feature_table.h>

namespace libQuarrow::cpu {
namespace {

constexpr std::uint32_t wordOf(x86_cpu_features feature) {
    return feature / 32;
}
constexpr std::uint32_t bitOf(x86_cpu_features feature) {
    return 1U << (feature % 32);
}

} // namespace

bool x86_feature_flags::hasFeature(x86_cpu_features feature) const {
    return (m_words[wordOf(feature)] & bitOf(feature)) != 0;
}

void x86_feature_flags::addFeature(x86_cpu_features feature) {
    m_words[wordOf(feature)] |= bitOf(feature);
}

void x86_feature_flags::removeFeature(x86_cpu_features feature) {
    m_words[wordOf(feature)] &= ~bitOf(feature);
}

void x86_feature_flags::clear() {
    m_words.fill(0);
}

x86_feature_flags& x86_feature_flags::operator|=(x86_cpu_features feature) {
    addFeature(feature);
    return *this;
}

x86_feature_flags& x86_feature_flags::operator|=(const x86_feature_flags& other) {
    for (std::size_t i = 0; i < m_words.size(); ++i) {
        m_words[i] |= other.m_words[i];
    }
    return *this;
}

x86_feature_flags& x86_feature_flags::operator&=(const x86_feature_flags& other) {
    for (std::size_t i = 0; i < m_words.size(); ++i) {
        m_words[i] &= other.m_words[i];
    }
    return *this;
}

x86_feature_flags x86_feature_flags::operator|(const x86_feature_flags& other) const {
    x86_feature_flags result = *this;
    return result |= other;
}

x86_feature_flags x86_feature_flags::operator&(const x86_feature_flags& other) const {
    x86_feature_flags result = *this;
    return result &= other;
}

bool x86_feature_flags::operator==(const x86_feature_flags& other) const {
    return m_words == other.m_words;
}

const char* x86_feature_flags::toString(x86_cpu_features feature) {
    return feature < x86_feature_count ? feature_rows::all[feature].name : nullptr;
}

zel::String x86_feature_flags::toString() const {
    zel::String text;
    for (const feature_rows::Row& row : feature_rows::all) {
        if (hasFeature(row.feature) && row.name != nullptr) {
            text += zel::String::SprintfFormat(text.isEmpty() ? "%s" : ", %s", row.name);
        }
    }
    return text;
}

} // namespace libQuarrow::cpu
