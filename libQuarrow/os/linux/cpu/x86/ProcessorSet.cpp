#include <libQuarrow/os/linux/cpu/x86/ProcessorSet.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <charconv>
#include <sched.h>

namespace libQuarrow::cpu {
namespace {

constexpr unsigned int processorsPerWord = 64;
constexpr std::size_t mostGroups = std::size_t{UINT16_MAX} + 1;
constexpr unsigned int mostProcessors = mostGroups * processorsPerWord;

// Reads a number off the front of `text`.
bool takeNumber(std::string_view& text, unsigned int& number) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return error == std::errc() && number < mostProcessors;
}

bool takeSign(std::string_view& text, char sign) {
    const bool there = !text.empty() && text.front() == sign;
    text.remove_prefix(there ? 1 : 0);
    return there;
}

} // namespace

ProcessorSet::ProcessorSet(const std::vector<GroupAffinity>& groups) {
    for (const GroupAffinity& entry : groups) {
        m_words.resize(std::max(m_words.size(), std::size_t{entry.group} + 1));
        m_words[entry.group] |= entry.mask;
    }
}

ProcessorSet ProcessorSet::first(unsigned int count) {
    ProcessorSet processors;
    for (unsigned int processor = 0; processor < std::min(count, mostProcessors); ++processor) {
        processors.add(processor);
    }
    return processors;
}

boost::optional<ProcessorSet> ProcessorSet::parseList(std::string_view text) {
    ProcessorSet processors;
    do {
        unsigned int lowest = 0;
        if (!takeNumber(text, lowest)) {
            return boost::none;
        }
        unsigned int highest = lowest;
        if (takeSign(text, '-') && !(takeNumber(text, highest) && highest >= lowest)) {
            return boost::none;
        }
        for (unsigned int processor = lowest; processor <= highest; ++processor) {
            processors.add(processor);
        }
    } while (takeSign(text, ','));
    takeSign(text, '\n');
    return text.empty() ? boost::make_optional(processors) : boost::none;
}

void ProcessorSet::add(unsigned int processor) {
    const std::size_t group = processor / processorsPerWord;
    m_words.resize(std::max(m_words.size(), group + 1));
    m_words[group] |= std::uint64_t{1} << (processor % processorsPerWord);
}

std::vector<GroupAffinity> ProcessorSet::groups() const {
    std::vector<GroupAffinity> groups;
    for (std::size_t group = 0; group < m_words.size(); ++group) {
        if (m_words[group] != 0) {
            groups.emplace_back(static_cast<std::uint16_t>(group), m_words[group]);
        }
    }
    return groups;
}

ProcessorSet& ProcessorSet::operator|=(const ProcessorSet& other) {
    m_words.resize(std::max(m_words.size(), other.m_words.size()));
    for (std::size_t group = 0; group < other.m_words.size(); ++group) {
        m_words[group] |= other.m_words[group];
    }
    return *this;
}

bool ProcessorSet::is(const std::vector<GroupAffinity>& groups) const {
    auto expected = groups.begin();
    for (std::size_t group = 0; group < m_words.size(); ++group) {
        if (m_words[group] == 0) {
            continue;
        }
        if (expected == groups.end() || expected->group != group || expected->mask != m_words[group]) {
            return false;
        }
        ++expected;
    }
    return expected == groups.end();
}

void ProcessorSet::fill() {
    std::fill(m_words.begin(), m_words.end(), ~std::uint64_t{0});
}

int ProcessorSet::readFrom(pid_t thread, ProcessorSet& processors) {
    // The kernel refuses a mask shorter than its own (EINVAL) and does not say how long that is. What was long enough
    // once is kept, so that one call does it from then on. It starts at the least, so that growing is no rare event.
    static std::atomic<std::size_t> enoughWords{1};
    for (std::size_t words = enoughWords; words <= mostGroups; words *= 2) {
        processors.m_words.assign(words, 0);
        const int error = processors.readAgainFrom(thread);
        if (error == 0) {
            enoughWords = words;
        }
        if (error != EINVAL) {
            return error;
        }
    }
    return EINVAL;
}

int ProcessorSet::readAgainFrom(pid_t thread) {
    std::fill(m_words.begin(), m_words.end(), 0); // the kernel may write fewer than there are
    auto* const mask = reinterpret_cast<cpu_set_t*>(m_words.data());
    return sched_getaffinity(thread, m_words.size() * sizeof(std::uint64_t), mask) == 0 ? 0 : errno;
}

int ProcessorSet::applyTo(pid_t thread) const {
    const auto* const mask = reinterpret_cast<const cpu_set_t*>(m_words.data());
    return sched_setaffinity(thread, m_words.size() * sizeof(std::uint64_t), mask) == 0 ? 0 : errno;
}

} // namespace libQuarrow::cpu
