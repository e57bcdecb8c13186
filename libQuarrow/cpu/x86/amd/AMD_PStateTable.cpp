#include <libQuarrow/cpu/x86/amd/AMD_PStateTable.h>

#include <algorithm>
#include <cmath>

namespace libQuarrow::cpu {

boost::optional<std::size_t> AMD_PStateTable::firstEnabled(std::size_t first) const {
    for (std::size_t state = first; state < m_states.size() && m_states[state]; ++state) {
        if (*m_states[state] != 0) {
            return state;
        }
    }
    return boost::none;
}

boost::optional<std::size_t> AMD_PStateTable::at(double multiplier) const {
    constexpr double tolerance = 0.01;
    boost::optional<std::size_t> nearest;
    double distance = multiplier * tolerance;
    for (std::size_t state = 0; state < m_states.size(); ++state) {
        const double away = std::abs(m_states[state].value_or(0) - multiplier);
        if (away < distance) {
            nearest = state;
            distance = away;
        }
    }
    return nearest;
}

boost::optional<double> AMD_PStateTable::lowest(std::size_t first, std::size_t last) const {
    boost::optional<double> lowest;
    for (std::size_t state = first; state < m_states.size() && state <= last; ++state) {
        if (!m_states[state]) {
            return boost::none;
        }
        if (*m_states[state] != 0) {
            lowest = std::min(*m_states[state], lowest.value_or(*m_states[state]));
        }
    }
    return lowest;
}

boost::optional<double> AMD_PStateTable::multiplier(std::size_t state) const {
    const bool isEnabled = state < m_states.size() && m_states[state].value_or(0) != 0;
    return isEnabled ? m_states[state] : boost::none;
}

} // namespace libQuarrow::cpu
