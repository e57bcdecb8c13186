#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <unordered_map>

// Private to the library.

namespace libQuarrow::topology {

constexpr std::uint32_t noNumber = 0xFFFFFFFF;

inline std::optional<std::uint32_t> ifTold(std::uint32_t number) {
    return number != noNumber ? std::make_optional(number) : std::nullopt;
}

// Names an object: by what is around it, and by what tells it from others there.
struct ObjectKey {
    std::uint64_t scope;
    std::uint64_t value;
    friend bool operator==(const ObjectKey& a, const ObjectKey& b) { return a.scope == b.scope && a.value == b.value; }
};

// Numbers objects from 0 in the order in which they are first asked for.
class Numberer {
  public:
    std::uint32_t operator()(const ObjectKey& key) {
        return m_numbers.emplace(key, static_cast<std::uint32_t>(m_numbers.size())).first->second;
    }
    std::size_t count() const { return m_numbers.size(); }

  private:
    // Keys differ in high and low bits alike, so these are mixed. The constant is 2^64 over the golden ratio.
    struct Hash {
        std::size_t operator()(const ObjectKey& key) const {
            constexpr std::uint64_t odd = 0x9E3779B97F4A7C15;
            std::uint64_t mixed = (key.scope * odd ^ key.value) * odd;
            return static_cast<std::size_t>(mixed ^ mixed >> 32);
        }
    };
    std::unordered_map<ObjectKey, std::uint32_t, Hash> m_numbers;
};

} // namespace libQuarrow::topology
