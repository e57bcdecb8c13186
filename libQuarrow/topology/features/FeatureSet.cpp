#include <libQuarrow/topology/features/FeatureSet.h>

#include <libQuarrow/topology/features/FeatureNames.h>

namespace libQuarrow::topology {
bool FeatureSet::contains(Feature feature) const {
    const FeatureName* known = featureNamed(feature.name);
    return known != nullptr && containsIndex(known->index);
}

bool FeatureSet::containsAll(const FeatureSet& others) const {
    for (std::size_t i = 0; i < others.m_words.size(); ++i) {
        if ((others.m_words[i] & ~m_words[i]) != 0) {
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
    for (std::size_t i = 0; i < m_words.size(); ++i) {
        result.m_words[i] |= other.m_words[i];
    }
    return result;
}

FeatureSet FeatureSet::operator&(const FeatureSet& other) const {
    FeatureSet result = *this;
    for (std::size_t i = 0; i < m_words.size(); ++i) {
        result.m_words[i] &= other.m_words[i];
    }
    return result;
}

FeatureSet FeatureSet::operator-(const FeatureSet& other) const {
    FeatureSet result = *this;
    for (std::size_t i = 0; i < m_words.size(); ++i) {
        result.m_words[i] &= ~other.m_words[i];
    }
    return result;
}

} // namespace libQuarrow::topology
