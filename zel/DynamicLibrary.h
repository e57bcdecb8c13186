#pragma once

#include <zel/String.h>
#include <zel/zel_export.h>

#include <memory>

namespace zel {

// A module bound at run time. Copies share the module; it stays loaded as long as one of them lives.
class ZEL_EXPORT DynamicLibrary {
  public:
    DynamicLibrary() = default;
    // `name` is a file name the system searches for, or a path. Nothing is loaded yet.
    explicit DynamicLibrary(String name);

    // True when the module is loaded afterwards (also when it already was).
    bool load();
    bool isLoaded() const { return m_module != nullptr; }
    // The entry point of that name; null when nothing is loaded or the module has none.
    void* getSymbol(const char* symbol) const;

  private:
    struct Module;
    String m_name;
    std::shared_ptr<const Module> m_module;
};

} // namespace zel
