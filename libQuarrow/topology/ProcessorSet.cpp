#include <libQuarrow/topology/ProcessorSet.h>

#include <algorithm>
#include <charconv>

namespace libQuarrow::topology {
namespace {

bool takeNumber(std::string_view& text, std::uint32_t& number) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return error == std::errc() && number <= ProcessorSet::highestNumber;
}

bool takeSign(std::string_view& text, char sign) {
    const bool there = !text.empty() && text.front() == sign;
    text.remove_prefix(there ? 1 : 0);
    return there;
}

// The first range that ends at `number` or above.
template <class Ranges>
auto reaching(Ranges& ranges, std::uint32_t number) {
    return std::lower_bound(ranges.begin(), ranges.end(), number,
                            [](const ProcessorSet::Range& range, std::uint32_t n) { return range.last < n; });
}

} // namespace

// Inline already, but MinGW exports it from the library only where it is defined once more.
constexpr std::uint32_t ProcessorSet::highestNumber;

ProcessorSet::ProcessorSet(std::initializer_list<std::uint32_t> numbers) {
    for (const std::uint32_t number : numbers) {
        insert(number);
    }
}

std::optional<ProcessorSet> ProcessorSet::fromList(std::string_view text) {
    ProcessorSet set;
    do {
        Range range{};
        std::uint32_t step = 1;
        if (!takeNumber(text, range.first)) {
            return std::nullopt;
        }
        range.last = range.first;
        if (takeSign(text, '-') && (!takeNumber(text, range.last) || range.last < range.first ||
                                    (takeSign(text, ':') && (!takeNumber(text, step) || step == 0)))) {
            return std::nullopt;
        }
        if (step == 1) {
            set.insert(range);
            continue;
        }
        ProcessorSet steps; // ascending, so that a list in any order stays quick
        for (std::uint32_t number = range.first; number <= range.last; number += step) {
            steps.insert(number);
        }
        set |= steps;
    } while (takeSign(text, ','));
    return text.empty() ? std::make_optional(std::move(set)) : std::nullopt;
}

std::string ProcessorSet::toList() const {
    std::string text;
    for (const Range& range : m_ranges) {
        text += (text.empty() ? "" : ",") + std::to_string(range.first);
        if (range.last != range.first) {
            text += "-" + std::to_string(range.last);
        }
    }
    return text;
}

std::size_t ProcessorSet::count() const {
    std::size_t count = 0;
    for (const Range& range : m_ranges) {
        count += std::size_t{range.last} - range.first + 1;
    }
    return count;
}

bool ProcessorSet::contains(std::uint32_t number) const {
    const auto range = reaching(m_ranges, number);
    return range != m_ranges.end() && range->first <= number;
}

bool ProcessorSet::contains(const ProcessorSet& other) const {
    return (other - *this).empty();
}

std::optional<std::uint32_t> ProcessorSet::first() const {
    return empty() ? std::nullopt : std::make_optional(m_ranges.front().first);
}

void ProcessorSet::insert(const Range& range) {
    if (range.last < range.first) {
        return;
    }
    if (!m_ranges.empty() && range.first != 0 && m_ranges.back().last == range.first - 1) {
        m_ranges.back().last = range.last; // as where a set is filled upwards
        return;
    }
    // What overlaps the range or touches it becomes one with it.
    const auto begin = m_ranges.empty() || m_ranges.back().last < (range.first == 0 ? 0 : range.first - 1)
                           ? m_ranges.end()
                           : reaching(m_ranges, range.first == 0 ? 0 : range.first - 1);
    auto end = begin;
    Range joined = range;
    for (; end != m_ranges.end() && (end->first <= range.last || end->first - range.last == 1); ++end) {
        joined = {std::min(joined.first, end->first), std::max(joined.last, end->last)};
    }
    if (begin == end) {
        m_ranges.insert(begin, joined);
    } else {
        *begin = joined;
        m_ranges.erase(begin + 1, end);
    }
}

ProcessorSet ProcessorSet::operator|(const ProcessorSet& other) const {
    std::vector<Range> all;
    all.reserve(m_ranges.size() + other.m_ranges.size());
    std::merge(m_ranges.begin(), m_ranges.end(), other.m_ranges.begin(), other.m_ranges.end(), std::back_inserter(all),
               [](const Range& a, const Range& b) { return a.first < b.first; });
    ProcessorSet joined;
    for (const Range& range : all) {
        joined.insert(range);
    }
    return joined;
}

ProcessorSet ProcessorSet::operator&(const ProcessorSet& other) const {
    ProcessorSet both;
    if (empty() || other.empty()) {
        return both;
    }
    auto a = reaching(m_ranges, other.m_ranges.front().first);
    auto b = reaching(other.m_ranges, m_ranges.front().first);
    while (a != m_ranges.end() && b != other.m_ranges.end()) {
        both.insert(Range{std::max(a->first, b->first), std::min(a->last, b->last)});
        (a->last < b->last ? a : b)++;
    }
    return both;
}

ProcessorSet ProcessorSet::operator-(const ProcessorSet& other) const {
    ProcessorSet rest;
    auto taken = other.m_ranges.begin();
    for (Range range : m_ranges) {
        while (taken != other.m_ranges.end() && taken->last < range.first) {
            ++taken;
        }
        bool left = true;
        for (auto next = taken; left && next != other.m_ranges.end() && next->first <= range.last; ++next) {
            if (next->first > range.first) {
                rest.insert(Range{range.first, next->first - 1});
            }
            left = next->last < range.last;
            range.first = next->last + 1;
        }
        if (left) {
            rest.insert(range);
        }
    }
    return rest;
}

} // namespace libQuarrow::topology
