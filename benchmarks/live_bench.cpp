// The machine that this runs on.

#include <benchmarks/Ratios.h>

#include <libQuarrow/cpu/AffinityMask.h>
#include <libQuarrow/cpu/x86/x86_caches.h>
#include <libQuarrow/cpu/x86/x86_physical_cpus.h>
#include <libQuarrow/topology/Topology.h>
#include <tests/support/CountingMachine.h>

#include <sched.h>
#include <vector>

using namespace libQuarrow;
using benchmark::State;

namespace quarrow_bench {
namespace {

// What `work` asks of the machine.
template <class Work>
CountingMachine::Counts countsOf(Work work) {
    CountingMachine counting(os::nativeMachine());
    const os::ScopedMachine scope(counting);
    work();
    return counting.counts;
}

// A pin is two settings: there and back.
void report(State& state, const CountingMachine::Counts& counts) {
    state.counters["cpuids"] = counts.cpuid;
    state.counters["pins"] = static_cast<double>(counts.affinitySets.size()) / 2;
}

boost::optional<double> floorOf(const Results& results, const char* name) {
    const auto cpuids = results.counter(name, "cpuids");
    const auto pins = results.counter(name, "pins");
    const auto cpuid = results.nanosecondsPer("live/cpuid", "cpuids");
    const auto migration = results.nanosecondsPer("live/migration", "pins");
    return cpuids && pins && cpuid && migration ? boost::make_optional(*cpuids * *cpuid + *pins * *migration)
                                                : boost::none;
}

boost::optional<double> overFloor(const Results& results, const char* name) {
    const auto time = results.nanoseconds(name);
    const auto floor = floorOf(results, name);
    return time && floor ? boost::make_optional(*time / *floor) : boost::none;
}

boost::optional<double> above(const Results& results, const char* name, const char* floor) {
    const auto whole = results.nanoseconds(name);
    const auto bare = results.nanoseconds(floor);
    return whole && bare ? boost::make_optional((*whole - *bare) / 1000) : boost::none;
}

// Each leaf and sub-leaf that `work` executes, as often as it does.
template <class Work>
std::vector<cpu::cpuid_args> cpuidsOf(Work work) {
    std::vector<cpu::cpuid_args> all;
    for (const auto& [leaf, count] : countsOf(work).cpuidOf) {
        all.insert(all.end(), count, cpu::cpuid_args{leaf.first, 0, leaf.second, 0});
    }
    return all;
}
std::vector<cpu::cpuid_args> cpuidsOfTree() {
    return cpuidsOf([] { cpu::x86_physical_cpus(true); });
}

// Copies: the instruction overwrites its arguments.
template <class Iterator>
void execute(Iterator first, Iterator last) {
    os::Instructions& instructions = os::nativeMachine().instructions();
    for (; first != last; ++first) {
        cpu::cpuid_args registers = *first;
        instructions.cpuid(registers);
        benchmark::DoNotOptimize(registers.eax);
    }
}

// The instruction alone.
void bareCpuid(State& state) {
    const std::vector<cpu::cpuid_args> all = cpuidsOfTree();
    for (auto _ : state) {
        execute(all.begin(), all.end());
    }
    state.counters["cpuids"] = static_cast<double>(all.size());
}
BENCHMARK(bareCpuid)->Name("live/cpuid")->UseRealTime();

// The system calls alone: to each processor in turn and back (or, as the topology does, first to the one where the
// thread is, and back from the last one only), with a share of `cpuids` executed there.
void visits(State& state, const std::vector<cpu::cpuid_args>& cpuids, bool asTopology = false) {
    cpu_set_t before;
    if (sched_getaffinity(0, sizeof before, &before) != 0) {
        state.SkipWithError("more processors than a fixed mask holds");
        return;
    }
    std::vector<cpu_set_t> single;
    for (unsigned int processor = 0; processor < CPU_SETSIZE; ++processor) {
        if (CPU_ISSET(processor, &before)) {
            CPU_ZERO(&single.emplace_back());
            CPU_SET(processor, &single.back());
        }
    }
    const std::size_t share = cpuids.size() / single.size();
    for (auto _ : state) {
        auto next = cpuids.begin();
        const auto visit = [&](const cpu_set_t& processor, bool back) {
            sched_setaffinity(0, sizeof processor, &processor);
            execute(next, next + static_cast<std::ptrdiff_t>(share));
            next += static_cast<std::ptrdiff_t>(share);
            if (back) {
                sched_setaffinity(0, sizeof before, &before);
            }
        };
        const int here = asTopology ? sched_getcpu() : -1;
        for (const cpu_set_t& processor : single) {
            if (here >= 0 && CPU_ISSET(here, &processor)) {
                visit(processor, false);
            }
        }
        for (const cpu_set_t& processor : single) {
            if (here < 0 || !CPU_ISSET(here, &processor)) {
                visit(processor, !asTopology);
            }
        }
        if (asTopology) {
            sched_setaffinity(0, sizeof before, &before);
        }
    }
    state.counters["pins"] = static_cast<double>(single.size());
}
void migration(State& state) {
    visits(state, {});
}
BENCHMARK(migration)->Name("live/migration")->UseRealTime();

// A thread that has done something leaves its caches behind, so this is more than the sum of both.
void cpuidsWhereTheyBelong(State& state) {
    visits(state, cpuidsOfTree());
}
BENCHMARK(cpuidsWhereTheyBelong)->Name("live/cpuids_and_migrations")->UseRealTime();

void tree(State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(cpu::x86_physical_cpus(true).size());
    }
    report(state, countsOf([] { cpu::x86_physical_cpus(true); }));
}
BENCHMARK(tree)->Name("live/tree")->UseRealTime();

void topologyOfMachine(State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(topology::Topology::read()->processors().size());
    }
    report(state, countsOf([] { topology::Topology::read(); }));
}
BENCHMARK(topologyOfMachine)->Name("live/topology")->UseRealTime();

// The topology's instructions and system calls in one loop: from processor to processor, and at the end back.
void topologyFloor(State& state) {
    const std::vector<cpu::cpuid_args> cpuids = cpuidsOf([] { topology::Topology::read(); });
    visits(state, cpuids, true);
}
BENCHMARK(topologyFloor)->Name("live/topology_cpuids_and_migrations")->UseRealTime();

// Queries on a tree that is there. An affinity is set by the machine that it was made on, so counting takes a tree of
// its own.
template <class Work>
void queries(State& state, Work work) {
    const cpu::x86_physical_cpus machine(true);
    for (auto _ : state) {
        work(machine);
    }
    CountingMachine counting(os::nativeMachine());
    const os::ScopedMachine scope(counting);
    const cpu::x86_physical_cpus counted(true);
    counting.counts = {};
    work(counted);
    report(state, counting.counts);
}

void guardedCpuid(State& state) {
    queries(state, [](const cpu::x86_physical_cpus& machine) {
        for (std::size_t i = 0; i < machine.getThreadCount(); ++i) {
            unsigned int eax = 0;
            machine.getThread(i).callCPUID(0, &eax, nullptr, nullptr, nullptr);
            benchmark::DoNotOptimize(eax);
        }
    });
}
BENCHMARK(guardedCpuid)->Name("live/guarded_cpuid")->UseRealTime();

void cachesOfEachCore(State& state) {
    queries(state, [](const cpu::x86_physical_cpus& machine) {
        for (std::size_t i = 0; i < machine.size(); ++i) {
            for (std::size_t k = 0; k < machine[i].getCoreCount(); ++k) {
                cpu::x86_caches caches;
                machine[i].getCore(k).get().getCaches(caches);
                benchmark::DoNotOptimize(caches.size());
            }
        }
    });
}
BENCHMARK(cachesOfEachCore)->Name("live/caches_of_each_core")->UseRealTime();

void copyOfTree(State& state) {
    const cpu::x86_physical_cpus machine(true);
    for (auto _ : state) {
        const cpu::x86_physical_cpus copy(machine);
        benchmark::DoNotOptimize(copy.size());
    }
}
BENCHMARK(copyOfTree)->Name("live/copy_of_tree")->UseRealTime();

const AddRatio ratios[] = {
    {"one CPUID, ns", "", [](const Results& r) { return r.nanosecondsPer("live/cpuid", "cpuids"); }},
    {"one migration there and back, ns", "",
     [](const Results& r) { return r.nanosecondsPer("live/migration", "pins"); }},
    {"tree build / its CPUIDs and migrations, each measured alone", "<= 1.15",
     [](const Results& r) { return overFloor(r, "live/tree"); }},
    {"tree build / its CPUIDs and migrations, measured together", "",
     [](const Results& r) -> boost::optional<double> {
         const auto tree = r.nanoseconds("live/tree");
         const auto together = r.nanoseconds("live/cpuids_and_migrations");
         return tree && together ? boost::make_optional(*tree / *together) : boost::none;
     }},
    {"one topology, CPUIDs", "", [](const Results& r) { return r.counter("live/topology", "cpuids"); }},
    {"topology, us above its CPUIDs and migrations in one loop", "",
     [](const Results& r) { return above(r, "live/topology", "live/topology_cpuids_and_migrations"); }},
    {"tree build, us above its CPUIDs and migrations in one loop", "",
     [](const Results& r) { return above(r, "live/tree", "live/cpuids_and_migrations"); }},
    {"topology / its CPUIDs and migrations in one loop", "<= 1.10",
     [](const Results& r) -> boost::optional<double> {
         const auto whole = r.nanoseconds("live/topology");
         const auto floor = r.nanoseconds("live/topology_cpuids_and_migrations");
         return whole && floor ? boost::make_optional(*whole / *floor) : boost::none;
     }},
    {"guarded CPUID / bare CPUID", "",
     [](const Results& r) -> boost::optional<double> {
         const auto guarded = r.nanosecondsPer("live/guarded_cpuid", "cpuids");
         const auto bare = r.nanosecondsPer("live/cpuid", "cpuids");
         return guarded && bare ? boost::make_optional(*guarded / *bare) : boost::none;
     }},
    {"guarded CPUID / its CPUID and migration", "",
     [](const Results& r) { return overFloor(r, "live/guarded_cpuid"); }},
    {"one cache query per core / its CPUIDs and migrations", "",
     [](const Results& r) { return overFloor(r, "live/caches_of_each_core"); }},
};

} // namespace
} // namespace quarrow_bench
