#include <libQuarrow/cpu/ScopedAffinity.h>

#include <utility>

namespace libQuarrow::cpu {
namespace {

AffinityMask affinityInForce(bool thread, bool& valid) {
    auto inForce = thread ? AffinityMask::threadAffinityMask() : AffinityMask::processAffinityMask();
    valid = inForce.has_value();
    return valid ? std::move(*inForce) : AffinityMask();
}

} // namespace

ScopedAffinity::ScopedAffinity(const AffinityMask& mask, bool thread)
    : m_threadScope(thread), m_savedValid(false), m_applied(false), m_saved(affinityInForce(thread, m_savedValid)),
      m_target(mask) {}

ScopedAffinity::~ScopedAffinity() {
    restore();
}

bool ScopedAffinity::set() {
    m_applied = setAffinity(m_target);
    return m_applied;
}

bool ScopedAffinity::restore() {
    if (!m_applied) {
        return true;
    }
    // The opposite of success is meant, for the field and for the answer: callers know it so, and the field makes a
    // later call try again.
    m_applied = !setAffinity(m_saved);
    return m_applied;
}

bool ScopedAffinity::setAffinity(AffinityMask& mask) {
    if (!m_savedValid) {
        return false;
    }
    return m_threadScope ? mask.setThreadAffinity() : mask.setProcessAffinity();
}

} // namespace libQuarrow::cpu
