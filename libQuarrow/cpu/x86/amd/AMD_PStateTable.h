#pragma once

#include <boost/optional.hpp>

#include <cstddef>
#include <vector>

// Private to the library.

namespace libQuarrow::cpu {

// The P-state registers of a processor in their order, boost states first. A register that could not be read, or whose
// encoding stands for no frequency, is neither enabled nor disabled: what depends on it is not known.
class AMD_PStateTable {
  public:
    void addDisabled() { m_states.push_back(0.0); }
    void addUnknown() { m_states.push_back(boost::none); }
    // `multiplier` above 0.
    void addEnabled(double multiplier) { m_states.push_back(multiplier); }

    // The first enabled state from state `first` on.
    boost::optional<std::size_t> firstEnabled(std::size_t first) const;
    // The enabled state that is nearest to a multiplier and no more than a hundredth away from it: a measured counter
    // and a reference clock are some thousandths off, while neighbouring states are further apart.
    boost::optional<std::size_t> at(double multiplier) const;
    // The lowest multiplier of the states `first` to `last`.
    boost::optional<double> lowest(std::size_t first, std::size_t last) const;
    // The multiplier of an enabled state.
    boost::optional<double> multiplier(std::size_t state) const;

  private:
    std::vector<boost::optional<double>> m_states; // multiplier; 0: disabled
};

} // namespace libQuarrow::cpu
