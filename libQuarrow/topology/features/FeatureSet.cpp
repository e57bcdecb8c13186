#include <libQuarrow/topology/features/FeatureSet.h>

#include <libQuarrow/topology/features/FeatureNames.h>

#include <algorithm>

namespace libQuarrow::topology {
namespace {

constexpr std::size_t bitsPerWord = 64;

} // namespace

bool FeatureSet::containsIndex(std::size_t index) const {
    return index / bitsPerWord < m_words.size() && (m_words[index / bitsPerWord] >> index % bitsPerWord & 1) != 0;
}

void FeatureSet::insertIndex(std::size_t index) {
    if (index / bitsPerWord >= m_words.size()) {
        m_words.reserve(featureNamesInOrder().size() / bitsPerWord + 1);
        m_words.resize(index / bitsPerWord + 1);
    }
    m_words[index / bitsPerWord] |= std::uint64_t{1} << index % bitsPerWord;
}

void FeatureSet::trim() {
    while (!m_words.empty() && m_words.back() == 0) {
        m_words.pop_back();
    }
}

bool FeatureSet::contains(Feature feature) const {
    const FeatureName* known = featureNamed(feature.name);
    return known != nullptr && containsIndex(known->index);
}

bool FeatureSet::containsAll(const FeatureSet& others) const {
    for (std::size_t i = 0; i < others.m_words.size(); ++i) {
        if ((others.m_words[i] & ~(i < m_words.size() ? m_words[i] : 0)) != 0) {
            return false;
        }
    }
    return true;
}

bool FeatureSet::isKnown(std::string_view name) {
    return featureNamed(name) != nullptr;
}

std::string_view FeatureSet::meaningOf(std::string_view name) {
    const FeatureName* known = featureNamed(name);
    return known != nullptr ? known->meaning : std::string_view();
}

std::vector<std::string_view> FeatureSet::names() const {
    std::vector<std::string_view> present;
    const std::vector<std::string_view>& all = featureNamesInOrder();
    for (std::size_t index = 0; index < all.size(); ++index) {
        if (containsIndex(index)) {
            present.push_back(all[index]);
        }
    }
    return present;
}

std::size_t FeatureSet::count() const {
    std::size_t bits = 0;
    for (std::uint64_t word : m_words) {
        for (; word != 0; word &= word - 1) {
            ++bits;
        }
    }
    return bits;
}

void FeatureSet::insert(Feature feature) {
    if (const FeatureName* known = featureNamed(feature.name)) {
        insertIndex(known->index);
    }
}

FeatureSet FeatureSet::operator|(const FeatureSet& other) const {
    FeatureSet result = *this;
    result.m_words.resize(std::max(m_words.size(), other.m_words.size()));
    for (std::size_t i = 0; i < other.m_words.size(); ++i) {
        result.m_words[i] |= other.m_words[i];
    }
    return result;
}

FeatureSet FeatureSet::operator&(const FeatureSet& other) const {
    FeatureSet result = *this;
    result.m_words.resize(std::min(m_words.size(), other.m_words.size()));
    for (std::size_t i = 0; i < result.m_words.size(); ++i) {
        result.m_words[i] &= other.m_words[i];
    }
    result.trim();
    return result;
}

FeatureSet FeatureSet::operator-(const FeatureSet& other) const {
    FeatureSet result = *this;
    for (std::size_t i = 0; i < std::min(m_words.size(), other.m_words.size()); ++i) {
        result.m_words[i] &= ~other.m_words[i];
    }
    result.trim();
    return result;
}

} // namespace libQuarrow::topology
