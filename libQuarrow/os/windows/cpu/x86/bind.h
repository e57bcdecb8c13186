#pragma once

#include <zel/DynamicLibrary.h>

namespace libQuarrow::cpu {

// The entry point of that name; null where this Windows has none.
template <class Function>
void bind(const zel::DynamicLibrary& module, const char* name, Function& function) {
    function = reinterpret_cast<Function>(module.getSymbol(name));
}

} // namespace libQuarrow::cpu
