#include <libQuarrow/c/quarrow.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace {

struct FreeHandle {
    void operator()(quarrow_machine* machine) const { quarrow_machine_free(machine); }
    void operator()(quarrow_set* set) const { quarrow_set_free(set); }
    void operator()(quarrow_leaves* leaves) const { quarrow_leaves_free(leaves); }
    void operator()(char* text) const { quarrow_text_free(text); }
};
template <class Handle>
using Handed = std::unique_ptr<Handle, FreeHandle>;

std::string jsonOf(const quarrow_machine* machine) {
    const Handed<char> text(quarrow_machine_json(machine));
    return text ? text.get() : quarrow_error_text();
}

std::string allowedHere() {
    const Handed<quarrow_set> set(quarrow_set_of_thread());
    const Handed<char> list(quarrow_set_list(set.get()));
    return list ? list.get() : quarrow_error_text();
}

quarrow_machine* loadOwn(const std::string& name) {
    return quarrow_machine_load((QUARROW_SOURCE_DIR "/tests/machines/" + name).c_str(), 0);
}

// Threads that take this machine and recorded ones, pin themselves, record, and ask one machine, all at once: each gets
// what it would get alone, and its own failures.
TEST(UnderLoad, ManyThreadsUseTheCInterface) {
    const std::string files[] = {"intel-2p-smt.txt", "amd-family17-smt.txt", "two-groups-unknown-maker.txt"};
    std::vector<std::string> documents;
    for (const std::string& file : files) {
        documents.push_back(jsonOf(Handed<quarrow_machine>(loadOwn(file)).get()));
    }
    const Handed<quarrow_machine> live(quarrow_machine_native(QUARROW_WITH_LEAVES));
    ASSERT_NE(live, nullptr) << quarrow_error_text();
    const std::string here = jsonOf(live.get());
    const std::string allowed = allowedHere();
    const char* const seconds = std::getenv("QUARROW_STRESS_SECONDS");
    std::atomic<bool> stop{false};
    std::atomic<unsigned int> rounds{0};
    std::atomic<unsigned int> wrong{0};

    const auto work = [&](unsigned int thread) {
        const Handed<quarrow_set> one(quarrow_set_from_list(allowed.c_str()));
        for (unsigned int round = thread; !stop; ++round) {
            bool right = true;
            switch (round % 5) {
            case 0:
                right = jsonOf(Handed<quarrow_machine>(quarrow_machine_native(0)).get()) == here;
                break;
            case 1: {
                const std::size_t which = round / 5 % std::size(files);
                right = jsonOf(Handed<quarrow_machine>(loadOwn(files[which])).get()) == documents[which];
                break;
            }
            case 2: {
                quarrow_pin* const pin = quarrow_pin_thread(one.get());
                right = pin != nullptr && allowedHere() == allowed && quarrow_pin_restore(pin) == QUARROW_OK;
                break;
            }
            case 3: { // the one machine of all threads
                quarrow_processor processor;
                right = quarrow_machine_processor(live.get(), 0, &processor, sizeof processor) == QUARROW_OK &&
                        jsonOf(live.get()) == here;
                const Handed<quarrow_leaves> leaves(quarrow_leaves_of(live.get(), processor.number));
                quarrow_leaf first;
                right = right && quarrow_leaves_answer(leaves.get(), 0, &first, sizeof first) == QUARROW_OK &&
                        first.eax == processor.max_leaf;
                break;
            }
            default: {
                const std::string name = "/no/such/file/" + std::to_string(thread);
                right = quarrow_machine_load(name.c_str(), 0) == nullptr &&
                        std::string(quarrow_error_text()).compare(0, name.size() + 1, name + ":") == 0;
                if (round % 50 == 4) {
                    right = right && Handed<char>(quarrow_machine_record(live.get())) != nullptr;
                }
            }
            }
            wrong += right && allowedHere() == allowed ? 0 : 1;
            ++rounds;
        }
    };
    std::vector<std::thread> threads;
    for (unsigned int thread = 0; thread < 8; ++thread) {
        threads.emplace_back(work, thread);
    }
    std::this_thread::sleep_for(seconds != nullptr ? std::chrono::seconds(std::atoi(seconds))
                                                   : std::chrono::milliseconds(1500));
    stop = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(wrong, 0u);
    EXPECT_GT(rounds, 8u);
    std::cout << rounds << " rounds\n";
}

} // namespace
