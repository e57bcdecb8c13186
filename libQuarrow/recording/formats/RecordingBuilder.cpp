#include <libQuarrow/recording/formats/RecordingBuilder.h>

#include <algorithm>
#include <unordered_set>

namespace libQuarrow::os {

void RecordingBuilder::heading(const Heading& heading) {
    if (!m_processorDue) {
        m_pending = Heading();
        m_processorDue = true;
    }
    if (heading.number) {
        m_pending.number = heading.number;
    }
    if (heading.place) {
        m_pending.place = heading.place;
    }
}

void RecordingBuilder::beginProcessor() {
    if (m_recording.processors.size() == maxRecordedProcessors) {
        m_tooMany = true;
        return;
    }
    m_recording.processors.emplace_back();
    m_headings.push_back(m_pending);
    m_pending = Heading();
    m_processorDue = false;
    for (OrdinalLeaf& ordinal : m_ordinals) {
        ordinal.lines = 0;
    }
}

boost::optional<std::uint32_t> RecordingBuilder::nextSubleaf(std::uint32_t leaf,
                                                             const boost::optional<std::uint32_t>& given) {
    std::uint32_t subleaf = 0;
    for (OrdinalLeaf& ordinal : m_ordinals) {
        if (ordinal.leaf == leaf) {
            subleaf = ordinal.lines++;
        }
    }
    return given ? *given : subleaf;
}

bool RecordingBuilder::addLeaf(std::uint32_t leaf, boost::optional<std::uint32_t> subleaf,
                               const cpu::cpuid_args& registers) {
    const bool again = leaf == 0 && subleaf.value_or(0) == 0 && hasProcessor() && processor().leaves.count({0, 0}) != 0;
    if (m_processorDue || again) {
        beginProcessor();
        if (m_tooMany) {
            return false;
        }
    }
    auto& leaves = processor().leaves;
    const std::size_t before = leaves.size();
    // Dumps list leaves in ascending order: the end is where this one goes.
    leaves.try_emplace(leaves.end(), {leaf, *nextSubleaf(leaf, subleaf)}, registers);
    return leaves.size() != before;
}

void RecordingBuilder::addMsr(boost::optional<std::uint32_t> processorNumber, std::uint32_t msr, std::uint64_t value) {
    m_msrs[processorNumber].emplace(msr, value);
}

// Where a mask has several fields, dumps do not say which end is group 0: it is the end at which the first processor
// is.
bool RecordingBuilder::placeByHeadings() {
    const auto& first = m_headings.front().place;
    const bool leftIsLast = first && first->maskFields != 0 && first->group != 0;
    std::unordered_set<std::uint32_t> taken;
    for (std::size_t i = 0; i < m_headings.size(); ++i) {
        const Heading& heading = m_headings[i];
        std::size_t group = 0;
        std::size_t bit = 0;
        if (heading.place) {
            const auto& place = *heading.place;
            group = leftIsLast && place.maskFields != 0 ? place.maskFields - 1 - place.group : place.group;
            bit = place.bit;
        } else {
            const std::size_t number = heading.number ? *heading.number : i;
            group = number / 64;
            bit = number % 64;
        }
        if (group > 0xFFFF || !taken.insert(static_cast<std::uint32_t>(group << 6 | bit)).second) {
            return false;
        }
        m_recording.processors[i].group = static_cast<std::uint16_t>(group);
        m_recording.processors[i].bit = static_cast<std::uint8_t>(bit);
    }
    return true;
}

void RecordingBuilder::placeByOrder() {
    for (std::size_t i = 0; i < m_recording.processors.size(); ++i) {
        m_recording.processors[i].group = static_cast<std::uint16_t>(i / 64);
        m_recording.processors[i].bit = static_cast<std::uint8_t>(i % 64);
    }
}

void RecordingBuilder::placeMsrs() {
    std::map<std::uint32_t, RecordedProcessor*> byNumber;
    for (std::size_t i = 0; i < m_headings.size(); ++i) {
        byNumber.emplace(m_headings[i].number.value_or(static_cast<std::uint32_t>(i)), &m_recording.processors[i]);
    }
    for (auto& [number, msrs] : m_msrs) {
        const auto named = number ? byNumber.find(*number) : byNumber.end();
        if (!number) {
            m_recording.processors.front().msrs.merge(msrs);
        } else if (named != byNumber.end()) {
            named->second->msrs.merge(msrs);
        }
    }
}

Recording RecordingBuilder::finish() {
    if (hasProcessor()) {
        if (!placeByHeadings()) {
            placeByOrder();
        }
        placeMsrs();
    }
    return std::move(m_recording);
}

bool hasValues(const Recording& recording) {
    return std::any_of(recording.processors.begin(), recording.processors.end(),
                       [](const RecordedProcessor& processor) { return !processor.leaves.empty(); });
}

} // namespace libQuarrow::os
