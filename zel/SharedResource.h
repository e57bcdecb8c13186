#pragma once

#include <memory>

namespace zel {

// Says what a SharedResource holds: one T made with new.
template <class T>
struct PointerStorage {
    using Resource = T;
};

// A reference-counted holder, SharedResource<PointerStorage<T>>. Copies share the object, which is deleted with the
// last of them. Copying and destroying holders is safe from any thread; the object's own members are the object's
// matter.
template <class Storage>
class SharedResource {
  public:
    using Resource = typename Storage::Resource;

    // Holds nothing.
    SharedResource() = default;
    // Takes ownership of `resource`; null holds nothing.
    explicit SharedResource(Resource* resource) : m_resource(resource) {}

    bool isValid() const { return m_resource != nullptr; }
    // Null when nothing is held.
    Resource* get() const { return m_resource.get(); }
    // Only while something is held.
    Resource& operator*() const { return *m_resource; }
    Resource* operator->() const { return m_resource.get(); }

  private:
    std::shared_ptr<Resource> m_resource;
};

} // namespace zel
