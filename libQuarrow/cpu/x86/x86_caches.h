#pragma once

#include <libQuarrow/cpu/x86/x86_cache.h>
#include <libQuarrow/quarrow_export.h>
#include <zel/Array.h>
#include <zel/String.h>

#include <cstddef>

namespace libQuarrow::cpu {

// A set of caches in ascending order of level, then type. Records of the same level and type stand in the order in
// which they were added.
class QUARROW_EXPORT x86_caches {
  public:
    x86_caches();
    explicit x86_caches(const zel::Array<x86_cache>& caches);

    // Each call sorts the whole set: add many records in one call.
    void addCache(const x86_cache& cache);
    void addCaches(const zel::Array<x86_cache>& caches);
    void addCaches(const x86_caches& caches);
    void clear() { m_caches.clear(); }

    // Drops what was reported more than once: of several records with equal properties and equal topology IDs the first
    // one stays, as one instance that no thread is known to share (threads sharing 1). Records without topology IDs all
    // stay. With `combineInstances` records of equal properties then become one, which counts all their instances and
    // has no topology IDs.
    void consolidateCaches(bool combineInstances);

    // The record; an index out of range raises the assertion "index < size()".
    x86_cache& operator[](std::size_t index) { return m_caches[index]; }
    const x86_cache& operator[](std::size_t index) const { return m_caches[index]; }
    std::size_t size() const { return m_caches.size(); }
    bool isEmpty() const { return m_caches.isEmpty(); }
    auto begin() const { return m_caches.begin(); }
    auto end() const { return m_caches.end(); }
    // The index of the n-th record (from 0) of that level and type; false, with `index` untouched, when there are
    // fewer.
    bool findCache(x86_CacheLevel level, x86_CacheType type, std::size_t n, std::size_t& index) const;

    // The records' reports, an empty line after each.
    zel::String toString(unsigned int indent) const;

  private:
    zel::Array<x86_cache> withoutDuplicates() const;
    static zel::Array<x86_cache> combined(const zel::Array<x86_cache>& caches);

    zel::Array<x86_cache> m_caches;
};

} // namespace libQuarrow::cpu
