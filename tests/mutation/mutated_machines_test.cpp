#include <tests/mutation/MachineMutator.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <iostream>
#include <random>

namespace {

unsigned int setting(const char* name, unsigned int otherwise) {
    const char* const text = std::getenv(name);
    return text != nullptr ? static_cast<unsigned int>(std::strtoul(text, nullptr, 10)) : otherwise;
}

} // namespace

// A seeded slice of what the fuzz target machine_fuzz runs without end. QUARROW_MUTATIONS makes it longer and
// QUARROW_MUTATION_SEED another one.
TEST(MutatedMachines, AnswerWithoutCrashingOrHanging) {
    const std::vector<libQuarrow::os::Recording> machines = recordingsOf(QUARROW_SOURCE_DIR "/tests/machines");
    ASSERT_FALSE(machines.empty());
    std::mt19937 random(setting("QUARROW_MUTATION_SEED", 20260101));
    const unsigned int rounds = setting("QUARROW_MUTATIONS", 400);
    std::chrono::duration<double, std::milli> slowest{};
    for (unsigned int round = 0; round < rounds; ++round) {
        std::vector<std::uint8_t> bytes(1 + random() % 64);
        for (std::uint8_t& byte : bytes) {
            byte = static_cast<std::uint8_t>(random());
        }
        const auto& machine = machines[round % machines.size()];
        const auto start = std::chrono::steady_clock::now();
        EXPECT_GT(askEverything(mutatedRecording(machine, bytes.data(), bytes.size())), 0u) << "round " << round;
        slowest = std::max<decltype(slowest)>(slowest, std::chrono::steady_clock::now() - start);
        ASSERT_LT(slowest, std::chrono::seconds(10)) << "round " << round;
    }
    std::cout << rounds << " machines, the slowest took " << slowest.count() << " ms\n";
}
