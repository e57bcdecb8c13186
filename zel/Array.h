#pragma once

#include <zel/Assertion.h>

#include <cstddef>
#include <initializer_list>
#include <utility>
#include <vector>

namespace zel {

// A growable array. An index out of range raises the assertion "index < size()".
template <class T>
class Array {
  public:
    Array() = default;
    Array(std::initializer_list<T> items) : m_items(items) {}

    std::size_t size() const { return m_items.size(); }
    bool isEmpty() const { return m_items.empty(); }
    void reserve(std::size_t count) { m_items.reserve(count); }
    void clear() { m_items.clear(); }

    T& operator[](std::size_t index) {
        checkIndex(index);
        return m_items[index];
    }
    const T& operator[](std::size_t index) const {
        checkIndex(index);
        return m_items[index];
    }

    void append(const T& item) { m_items.push_back(item); }
    void append(T&& item) { m_items.push_back(std::move(item)); }
    template <class... Arguments>
    T& emplace(Arguments&&... arguments) {
        return m_items.emplace_back(std::forward<Arguments>(arguments)...);
    }
    void append(const Array& other) { m_items.insert(m_items.end(), other.m_items.begin(), other.m_items.end()); }
    void removeAt(std::size_t index) {
        checkIndex(index);
        m_items.erase(m_items.begin() + static_cast<std::ptrdiff_t>(index));
    }

    auto begin() { return m_items.begin(); }
    auto end() { return m_items.end(); }
    auto begin() const { return m_items.begin(); }
    auto end() const { return m_items.end(); }

  private:
    void checkIndex(std::size_t index) const { ZEL_ASSERT_TEXT(index < size(), "index < size()", "zel/Array"); }

    std::vector<T> m_items;
};

} // namespace zel
