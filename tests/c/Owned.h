#pragma once

#include <libQuarrow/c/quarrow.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

// What the tests of the C interface share: handles that free themselves, machines, and words for what they answer.

namespace quarrow_c_tests {

struct Free {
    void operator()(quarrow_machine* machine) const { quarrow_machine_free(machine); }
    void operator()(quarrow_set* set) const { quarrow_set_free(set); }
    void operator()(quarrow_leaves* leaves) const { quarrow_leaves_free(leaves); }
    void operator()(quarrow_pin* pin) const { quarrow_pin_free(pin); }
    void operator()(char* text) const { quarrow_text_free(text); }
};
template <class Handle>
using Owned = std::unique_ptr<Handle, Free>;

inline std::string machineFile(const std::string& name) {
    return QUARROW_SOURCE_DIR "/tests/machines/" + name;
}

inline Owned<quarrow_machine> load(const std::string& name, std::uint32_t take = 0) {
    Owned<quarrow_machine> machine(quarrow_machine_load(machineFile(name).c_str(), take));
    EXPECT_NE(machine, nullptr) << quarrow_error_text();
    return machine;
}

inline Owned<quarrow_set> setOf(const char* list) {
    return Owned<quarrow_set>(quarrow_set_from_list(list));
}

// The list of a set that a call made; what was wrong where it made none.
inline std::string listed(quarrow_set* made) {
    const Owned<quarrow_set> set(made);
    return set ? Owned<char>(quarrow_set_list(set.get())).get() : std::string(quarrow_error_text());
}

// The project's own machines, and those of the folders that QUARROW_CORPUS names.
inline std::vector<std::string> allMachines() {
    std::vector<std::string> files;
    std::istringstream folders(QUARROW_SOURCE_DIR "/tests/machines " QUARROW_CORPUS);
    for (std::string folder; folders >> folder;) {
        for (const auto& entry : std::filesystem::directory_iterator(folder)) {
            if (entry.path().extension() == ".txt") {
                files.push_back(entry.path().string());
            }
        }
    }
    return files;
}

inline std::optional<std::uint32_t> known(std::uint32_t number) {
    return number == QUARROW_NONE ? std::nullopt : std::make_optional(number);
}
inline std::string textOf(const char* text) {
    return text != nullptr ? text : "(null)";
}
inline std::string textOf(std::string_view text) {
    return text.empty() ? "(null)" : std::string(text);
}

} // namespace quarrow_c_tests
