#include <tests/mutation/MachineMutator.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <iostream>
#include <random>

namespace {

unsigned int setting(const char* name, unsigned int otherwise) {
    const char* const text = std::getenv(name);
    return text != nullptr ? static_cast<unsigned int>(std::strtoul(text, nullptr, 10)) : otherwise;
}

// A seeded slice of what the fuzz target machine_fuzz runs without end, `ask`ing each machine. QUARROW_MUTATIONS makes
// it longer, QUARROW_MUTATION_SEED another one, and QUARROW_FUZZ_MACHINES starts from another folder of recordings.
template <class Ask>
void askMutants(unsigned int rounds, Ask ask) {
    const char* const folder = std::getenv("QUARROW_FUZZ_MACHINES");
    const std::vector<libQuarrow::os::Recording> machines =
        recordingsOf(folder != nullptr ? folder : QUARROW_SOURCE_DIR "/tests/machines");
    ASSERT_FALSE(machines.empty());
    std::mt19937 random(setting("QUARROW_MUTATION_SEED", 20260101));
    rounds = setting("QUARROW_MUTATIONS", rounds);
    double slowest = 0; // milliseconds of processor time, so that other work on the machine does not count
    for (unsigned int round = 0; round < rounds; ++round) {
        SCOPED_TRACE(round);
        std::vector<std::uint8_t> bytes(1 + random() % 64);
        for (std::uint8_t& byte : bytes) {
            byte = static_cast<std::uint8_t>(random());
        }
        const auto& machine = machines[round % machines.size()];
        const std::clock_t start = std::clock();
        ASSERT_NO_THROW(ask(mutatedRecording(machine, bytes.data(), bytes.size())));
        slowest = std::max(slowest, 1e3 * static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC);
        ASSERT_LT(slowest, 10000) << "round " << round;
    }
    std::cout << rounds << " machines, the slowest took " << slowest << " ms\n";
}

} // namespace

TEST(MutatedMachines, AnswerWithoutCrashingOrHanging) {
    askMutants(400, [](const libQuarrow::os::Recording& machine) { EXPECT_GT(askEverything(machine), 0u); });
}

// Far more of them than the tool could be asked about in the same time.
TEST(MutatedMachines, HaveATopologyThatDoesNotContradictItself) {
    askMutants(1000, askTopology);
}
