#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

// Private to the library.

namespace libQuarrow::topology {

constexpr std::uint32_t noNumber = 0xFFFFFFFF;

// Names an object: by what is around it, and by what tells it from others there.
struct ObjectKey {
    std::uint64_t scope;
    std::uint64_t value;
    friend bool operator==(const ObjectKey& a, const ObjectKey& b) { return a.scope == b.scope && a.value == b.value; }
};

// Numbers objects from 0 in the order in which they are first asked for. The first ones stand in a list. Beyond them it
// is a table with open addresses: machines have tens of thousands of objects, and one allocation for each was most of
// the time.
class Numberer {
  public:
    std::uint32_t operator()(const ObjectKey& key) {
        if (m_slots.empty()) {
            for (std::uint32_t number = 0; number < m_count; ++number) {
                if (m_first[number] == key) {
                    return number;
                }
            }
            if (m_count < m_first.size()) {
                m_first[m_count] = key;
                return m_count++;
            }
        }
        if (std::size_t{2} * (m_count + 1) > m_slots.size()) {
            grow();
        }
        Slot& slot = find(key);
        if (slot.number == noNumber) {
            slot = {key, m_count++};
        }
        return slot.number;
    }

  private:
    struct Slot {
        ObjectKey key{};
        std::uint32_t number = noNumber;
    };

    // The key's slot, or the free one where it belongs. Keys differ in high and low bits alike, so these are mixed; the
    // constant is 2^64 over the golden ratio.
    Slot& find(const ObjectKey& key) {
        constexpr std::uint64_t odd = 0x9E3779B97F4A7C15;
        const std::uint64_t mixed = ((key.scope * odd ^ key.value) * odd);
        std::size_t at = static_cast<std::size_t>(mixed ^ mixed >> 32) & (m_slots.size() - 1);
        while (m_slots[at].number != noNumber && !(m_slots[at].key == key)) {
            at = (at + 1) & (m_slots.size() - 1);
        }
        return m_slots[at];
    }
    void grow() {
        std::vector<Slot> before(m_slots.empty() ? 4 * m_first.size() : 2 * m_slots.size());
        before.swap(m_slots);
        if (before.empty()) {
            for (std::uint32_t number = 0; number < m_count; ++number) {
                find(m_first[number]) = {m_first[number], number};
            }
        }
        for (const Slot& slot : before) {
            if (slot.number != noNumber) {
                find(slot.key) = slot;
            }
        }
    }

    std::array<ObjectKey, 8> m_first{}; // all of them while there are no slots
    std::vector<Slot> m_slots;          // a power of two of them, at least half of them free
    std::uint32_t m_count = 0;
};

} // namespace libQuarrow::topology
