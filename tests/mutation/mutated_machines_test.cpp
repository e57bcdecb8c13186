#include <tests/mutation/MachineMutator.h>

#include <gtest/gtest.h>

#include <chrono>
#include <random>

// A seeded slice of what the fuzz target machine_fuzz runs without end.
TEST(MutatedMachines, AnswerWithoutCrashingOrHanging) {
    const std::vector<libQuarrow::os::Recording> machines = recordingsOf(QUARROW_SOURCE_DIR "/tests/machines");
    ASSERT_FALSE(machines.empty());
    std::mt19937 random(20260101);
    for (int round = 0; round < 400; ++round) {
        std::vector<std::uint8_t> bytes(1 + random() % 64);
        for (std::uint8_t& byte : bytes) {
            byte = static_cast<std::uint8_t>(random());
        }
        const auto& machine = machines[static_cast<std::size_t>(round) % machines.size()];
        const auto start = std::chrono::steady_clock::now();
        EXPECT_GT(askEverything(mutatedRecording(machine, bytes.data(), bytes.size())), 0u) << "round " << round;
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10)) << "round " << round;
    }
}
