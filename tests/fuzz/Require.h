#pragma once

#include <cstdlib>
#include <iostream>

inline void require(bool condition, const char* what) {
    if (!condition) {
        std::cerr << "not so: " << what << '\n';
        std::abort();
    }
}
