#include <libQuarrow/os/recorded/RecordedPins.h>

#include <algorithm>
#include <atomic>
#include <map>

namespace libQuarrow::os {
namespace {

// A number that no other thread of the process ever has. (The system gives a thread's id again after its end, and the
// next thread would find itself pinned.)
std::uint64_t threadNumber() {
    static std::atomic<std::uint64_t> last{0};
    thread_local const std::uint64_t number = ++last;
    return number;
}

std::uint32_t position(std::uint16_t group, unsigned int bit) {
    return std::uint32_t{group} << 6 | bit;
}

bool same(const cpu::GroupAffinity& a, const cpu::GroupAffinity& b) {
    return a.group == b.group && a.mask == b.mask;
}

} // namespace

RecordedPins::RecordedPins(const Recording& recording, const Faults& faults) : m_faults(faults) {
    std::map<std::uint16_t, std::uint64_t> masks;
    for (std::size_t i = 0; i < recording.processors.size(); ++i) {
        const RecordedProcessor& processor = recording.processors[i];
        const unsigned int bit = processor.bit % 64U;
        masks[processor.group] |= std::uint64_t{1} << bit;
        m_indexes.emplace(position(processor.group, bit), i);
        m_hasGroups = m_hasGroups || processor.group != 0;
    }
    for (const auto& [group, mask] : masks) {
        m_system.emplace_back(group, mask);
    }
    if (!recording.processors.empty()) {
        m_firstGroup = recording.processors.front().group;
    }
}

cpu::GroupAffinity RecordedPins::wholeGroup() const {
    const auto found = std::find_if(m_system.begin(), m_system.end(),
                                    [this](const auto& affinity) { return affinity.group == m_firstGroup; });
    return found != m_system.end() ? *found : cpu::GroupAffinity();
}

bool RecordedPins::attemptFails() {
    return m_attempts++ == m_faults.failingAffinitySet;
}

// As Windows does it: with groups the first entry counts, without them there must be one entry, of group 0.
boost::optional<RecordedPins::Pin> RecordedPins::pinTo(const std::vector<cpu::GroupAffinity>& groups) const {
    if (groups.empty() || (!m_hasGroups && groups.size() != 1)) {
        return boost::none;
    }
    const cpu::GroupAffinity& wanted = groups.front();
    boost::optional<Pin> pin;
    for (unsigned int bit = 0; bit < 64; ++bit) {
        if ((wanted.mask >> bit & 1) == 0) {
            continue;
        }
        const auto index = m_indexes.find(position(wanted.group, bit));
        if (index == m_indexes.end()) {
            return boost::none;
        }
        if (!pin && m_faults.unpinnable.count(index->second) == 0) {
            pin = Pin{wanted, index->second};
        }
    }
    return pin;
}

bool RecordedPins::setProcess(const std::vector<cpu::GroupAffinity>& groups) {
    const std::lock_guard lock(m_mutex);
    if (attemptFails() || m_hasGroups) {
        return false;
    }
    if (groups.size() == 1 && same(groups.front(), wholeGroup())) {
        m_process = boost::none;
        return true;
    }
    const auto pin = pinTo(groups);
    if (pin) {
        m_process = pin;
    }
    return pin.has_value();
}

bool RecordedPins::setThread(const std::vector<cpu::GroupAffinity>& groups) {
    const std::lock_guard lock(m_mutex);
    if (attemptFails()) {
        return false;
    }
    const cpu::GroupAffinity unpinned = m_process ? m_process->affinity : wholeGroup();
    if (!groups.empty() && same(groups.front(), unpinned) && (m_hasGroups || groups.size() == 1)) {
        m_threads.erase(threadNumber());
        return true;
    }
    const auto pin = pinTo(groups);
    if (pin) {
        m_threads.insert_or_assign(threadNumber(), *pin);
    }
    return pin.has_value();
}

const RecordedPins::Pin* RecordedPins::threadPin() const {
    const auto found = m_threads.find(threadNumber());
    return found != m_threads.end() ? &found->second : m_process.get_ptr();
}

cpu::GroupAffinity RecordedPins::process() const {
    const std::lock_guard lock(m_mutex);
    return m_process ? m_process->affinity : wholeGroup();
}

cpu::GroupAffinity RecordedPins::thread() const {
    const std::lock_guard lock(m_mutex);
    const Pin* pin = threadPin();
    return pin != nullptr ? pin->affinity : wholeGroup();
}

boost::optional<std::size_t> RecordedPins::indexOf(std::uint16_t group, std::uint8_t bit) const {
    const auto found = m_indexes.find(position(group, bit));
    return boost::make_optional(found != m_indexes.end(), found != m_indexes.end() ? found->second : 0);
}

std::size_t RecordedPins::processor() const {
    const std::lock_guard lock(m_mutex);
    const Pin* pin = threadPin();
    return pin != nullptr ? pin->processor : 0;
}

} // namespace libQuarrow::os
