#include <libQuarrow/topology/ProcessorSet.h>

#include <algorithm>
#include <charconv>
#include <utility>

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

// Whether the two overlap or follow each other without a gap.
bool touch(const ProcessorSet::Range& a, const ProcessorSet::Range& b) {
    return a.first <= b.last + std::uint64_t{1} && b.first <= a.last + std::uint64_t{1};
}

ProcessorSet::Range joined(const ProcessorSet::Range& a, const ProcessorSet::Range& b) {
    return {std::min(a.first, b.first), std::max(a.last, b.last)};
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

ProcessorSet::ProcessorSet(const ProcessorSet& other)
    : m_only(other.m_only),
      m_several(other.m_several != nullptr ? std::make_unique<std::vector<Range>>(*other.m_several) : nullptr) {}

ProcessorSet::ProcessorSet(ProcessorSet&& other) noexcept
    : m_only(std::exchange(other.m_only, none)), m_several(std::move(other.m_several)) {}

ProcessorSet& ProcessorSet::operator=(const ProcessorSet& other) {
    return *this = ProcessorSet(other);
}

ProcessorSet& ProcessorSet::operator=(ProcessorSet&& other) noexcept {
    // By way of a third one: a set may be assigned to itself.
    ProcessorSet taken(std::move(other));
    m_only = taken.m_only;
    m_several = std::move(taken.m_several);
    return *this;
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
    for (const Range& range : ranges()) {
        text += (text.empty() ? "" : ",") + std::to_string(range.first);
        if (range.last != range.first) {
            text += "-" + std::to_string(range.last);
        }
    }
    return text;
}

std::size_t ProcessorSet::count() const {
    std::size_t count = 0;
    for (const Range& range : ranges()) {
        count += std::size_t{range.last} - range.first + 1;
    }
    return count;
}

bool ProcessorSet::contains(std::uint32_t number) const {
    const Ranges all = ranges();
    const Range* const range = reaching(all, number);
    return range != all.end() && range->first <= number;
}

bool ProcessorSet::contains(const ProcessorSet& other) const {
    return (other - *this).empty();
}

std::optional<std::uint32_t> ProcessorSet::first() const {
    return empty() ? std::nullopt : std::make_optional(ranges()[0].first);
}

void ProcessorSet::insert(const Range& range) {
    if (range.last < range.first) {
        return;
    }
    if (m_several != nullptr) {
        insertAmong(range);
    } else if (empty()) {
        m_only = range;
    } else if (touch(m_only, range)) {
        m_only = joined(m_only, range);
    } else {
        m_several = std::make_unique<std::vector<Range>>(m_only.first < range.first ? std::vector{m_only, range}
                                                                                    : std::vector{range, m_only});
        m_only = none;
    }
}

// Where there are several ranges.
void ProcessorSet::insertAmong(const Range& range) {
    std::vector<Range>& all = *m_several;
    if (range.first >= all.back().first) { // as where a set is filled upwards
        if (touch(all.back(), range)) {
            all.back() = joined(all.back(), range);
        } else {
            all.push_back(range);
        }
        return;
    }
    const auto begin = reaching(all, range.first == 0 ? 0 : range.first - 1);
    auto end = begin;
    Range whole = range;
    for (; end != all.end() && touch(*end, whole); ++end) {
        whole = joined(whole, *end);
    }
    if (begin == end) {
        all.insert(begin, whole);
        return;
    }
    *begin = whole;
    all.erase(begin + 1, end);
    if (all.size() == 1) {
        m_only = whole;
        m_several.reset();
    }
}

ProcessorSet ProcessorSet::operator|(const ProcessorSet& other) const {
    const Ranges own = ranges();
    const Ranges others = other.ranges();
    std::vector<Range> all;
    all.reserve(own.size() + others.size());
    std::merge(own.begin(), own.end(), others.begin(), others.end(), std::back_inserter(all),
               [](const Range& a, const Range& b) { return a.first < b.first; });
    ProcessorSet both;
    for (const Range& range : all) {
        both.insert(range);
    }
    return both;
}

ProcessorSet ProcessorSet::operator&(const ProcessorSet& other) const {
    ProcessorSet both;
    if (empty() || other.empty()) {
        return both;
    }
    const Ranges own = ranges();
    const Ranges others = other.ranges();
    const Range* a = reaching(own, others[0].first);
    const Range* b = reaching(others, own[0].first);
    while (a != own.end() && b != others.end()) {
        both.insert(Range{std::max(a->first, b->first), std::min(a->last, b->last)});
        (a->last < b->last ? a : b)++;
    }
    return both;
}

ProcessorSet ProcessorSet::operator-(const ProcessorSet& other) const {
    ProcessorSet rest;
    const Ranges others = other.ranges();
    const Range* taken = others.begin();
    for (Range range : ranges()) {
        while (taken != others.end() && taken->last < range.first) {
            ++taken;
        }
        bool left = true;
        for (const Range* next = taken; left && next != others.end() && next->first <= range.last; ++next) {
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
