#include <libQuarrow/cpu/AffinityMask.h>
#include <libQuarrow/cpu/x86/x86_caches.h>
#include <libQuarrow/cpu/x86/x86_physical_cpus.h>
#include <libQuarrow/machine/Machine.h>
#include <tests/support/TopologyInvariants.h>
#include <tests/support/TopologyTexts.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <iostream>
#include <thread>

using namespace libQuarrow::cpu;

namespace {

constexpr unsigned int workers = 16;

std::chrono::milliseconds duration() {
    const char* const seconds = std::getenv("QUARROW_STRESS_SECONDS");
    return seconds != nullptr ? std::chrono::seconds(std::atoi(seconds)) : std::chrono::milliseconds(1500);
}

// Where every processor sits, and the caches of every package.
zel::String describe(const x86_physical_cpus& tree) {
    zel::String text = tree.toString();
    for (std::size_t i = 0; i < tree.size(); ++i) {
        x86_caches caches;
        text += tree[i].getCaches(caches) ? caches.toString(0) : "caches not known\n";
    }
    return text;
}

std::string describe(const libQuarrow::topology::Topology& topology) {
    std::string text = testing_support::placesOf(topology) + testing_support::contradictionIn(topology);
    for (const libQuarrow::topology::Cache& cache : topology.caches()) {
        text += "\n" + testing_support::textOf(cache);
    }
    return text;
}

// The APIC ID that the processor tells of itself when it is asked anew.
bool answersForItself(const x86_cpu& cpu) {
    unsigned int ebx = 0;
    unsigned int apicId = 0;
    return !cpu.getApicId(apicId) ||
           (cpu.callCPUID(1, nullptr, &ebx, nullptr, nullptr) && ebx >> 24 == (apicId & 0xFF));
}

// Enumerates, queries and measures on objects of its own, from an affinity of its own that must never change.
class Worker {
  public:
    Worker(const AffinityMask& own, const zel::String& machine, const std::string& topology)
        : m_own(own), m_machine(machine), m_topology(topology) {}

    void run(const std::atomic<bool>& stop) {
        expect(m_own.setThreadAffinity(), "cannot be pinned to " + m_own.toString());
        for (unsigned int round = 0; !stop; ++round) {
            const x86_physical_cpus tree(true);
            check("a tree");
            expect(describe(tree) == m_machine, "another machine:\n" + describe(tree));
            check("caches");
            for (std::size_t i = 0; i < tree.getThreadCount(); ++i) {
                expect(answersForItself(tree.getThread(i)), "asked on another processor");
                check("a guarded instruction");
            }
            const auto topology = libQuarrow::topology::Topology::read();
            expect(topology && describe(*topology) == m_topology, "another topology");
            check("a topology");
            std::uint64_t hertz = 0;
            const std::size_t measured = round % tree.getThreadCount();
            expect(tree.getThread(measured).calculateSpeedTSC(hertz) && hertz != 0, "no rate");
            check("a measurement");
            ++rounds;
        }
    }

    unsigned int rounds = 0;
    zel::String wrong; // the first thing that was

  private:
    void expect(bool right, const zel::String& otherwise) {
        if (!right && wrong.isEmpty()) {
            wrong = otherwise;
        }
    }
    void check(const char* what) {
        const auto now = AffinityMask::threadAffinityMask();
        expect(now && *now == m_own, zel::String(what) + " leaves the thread elsewhere");
    }

    AffinityMask m_own;
    zel::String m_machine;
    std::string m_topology;
};

TEST(UnderLoad, ManyThreadsFindTheSameMachineAndStayWhereTheyAre) {
    const x86_physical_cpus tree(true);
    const AffinityMask all = AffinityMask::threadAffinityMask().value();
    const std::vector<WinAffinity> single = all.maskPerLogicalCPU();
    const zel::String machine = describe(tree);
    const std::string topology = describe(libQuarrow::topology::Topology::read().value());
    std::uint32_t priority = 0;
    ASSERT_TRUE(libQuarrow::os::nativeMachine().clock().priorityClass(priority));
    std::atomic<bool> stop{false};

    std::vector<std::thread> threads;
    for (const WinAffinity& processor : single) {
        threads.emplace_back([&] {
            AffinityMask(processor).setThreadAffinity();
            for (volatile unsigned int work = 0; !stop; work = work + 1) {
            }
        });
    }
    std::vector<Worker> work;
    for (unsigned int i = 0; i < workers; ++i) {
        work.emplace_back(i % 2 == 0 ? all : AffinityMask(single[i / 2 % single.size()]), machine, topology);
    }
    for (Worker& worker : work) {
        threads.emplace_back([&] { worker.run(stop); });
    }
    std::this_thread::sleep_for(duration());
    stop = true;
    for (std::thread& thread : threads) {
        thread.join();
    }

    EXPECT_TRUE(AffinityMask::threadAffinityMask() == all);
    std::uint32_t after = 0;
    ASSERT_TRUE(libQuarrow::os::nativeMachine().clock().priorityClass(after));
    EXPECT_EQ(after, priority);
    unsigned int rounds = 0;
    for (const Worker& worker : work) {
        EXPECT_EQ(worker.wrong, "");
        EXPECT_GT(worker.rounds, 0u);
        rounds += worker.rounds;
    }
    std::cout << rounds << " rounds\n";
}

} // namespace
