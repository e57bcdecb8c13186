#pragma once

#include <libQuarrow/topology/Topology.h>

#include <nlohmann/json.hpp>

#include <cstdint>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

// What is asked of a machine among many. Two machines that are alike in all() of it are interchangeable.

namespace quarrow {

// The cores of one kind.
struct FleetKind {
    std::string kind;              // "performance"; empty on a machine with one kind of core
    std::string microarchitecture; // empty: not known
    std::size_t cores = 0;
    std::size_t threads = 0;

    auto all() const { return std::tie(kind, microarchitecture, cores, threads); }
};

struct FleetCache {
    std::uint32_t level = 0;
    std::string type;            // "data", "instruction", "unified", "trace"
    std::uint64_t sizeBytes = 0; // of a trace cache, micro-operations
    std::optional<std::uint32_t> ways;
    std::optional<std::uint32_t> lineSizeBytes;
    std::optional<std::size_t> instances;

    auto all() const { return std::tie(level, type, sizeBytes, ways, lineSizeBytes, instances); }
};

// Texts that are not known are empty.
struct FleetMachine {
    std::string vendor;
    std::string name; // brand string of the first processor, its blanks normalised
    std::uint32_t family = 0;
    std::uint32_t model = 0;
    std::uint32_t stepping = 0;
    std::vector<std::uint32_t> microcode; // its revisions on all processors, ascending; empty: not known
    std::string codename;
    std::string hypervisor; // its name, else its signature
    std::size_t packages = 0;
    std::optional<std::size_t> dies;
    std::size_t cores = 0;
    std::size_t threads = 0;
    std::size_t numaNodes = 0; // that have processors; 0: not known
    std::vector<FleetKind> kinds;
    std::vector<FleetCache> caches;
    std::optional<std::uint32_t> level;        // x86-64 level that every processor runs
    libQuarrow::topology::FeatureSet features; // that every processor has
    libQuarrow::topology::FeatureSet usable;   // and that programs can use on every processor

    // All but the microcode, which is no reason to tell machines apart: it comes and goes with updates.
    auto all() const {
        return std::tie(vendor, name, family, model, stepping, codename, hypervisor, packages, dies, cores, threads,
                        numaNodes, kinds, caches, level, features, usable);
    }
};

inline bool operator==(const FleetKind& a, const FleetKind& b) {
    return a.all() == b.all();
}
inline bool operator<(const FleetKind& a, const FleetKind& b) {
    return a.all() < b.all();
}
inline bool operator==(const FleetCache& a, const FleetCache& b) {
    return a.all() == b.all();
}
inline bool operator<(const FleetCache& a, const FleetCache& b) {
    return a.all() < b.all();
}
inline bool operator==(const FleetMachine& a, const FleetMachine& b) {
    return a.all() == b.all();
}
inline bool operator<(const FleetMachine& a, const FleetMachine& b) {
    return a.all() < b.all();
}

FleetMachine fleetMachineOf(const libQuarrow::topology::Topology& topology);
// Of JSON document 2, as docs/json.md describes it. None where it is none, and `error` says in a phrase why. Features
// that this version does not know are left out.
std::optional<FleetMachine> fleetMachineOf(const nlohmann::json& document, std::string& error);

// What it is called, for people: its name, else its maker and signature.
std::string fleetName(const FleetMachine& machine);
// "2 packages, 8 cores, 16 threads".
std::string fleetBuild(const FleetMachine& machine);
// "6 performance (Golden Cove), 8 efficient (Gracemont)"; the microarchitecture alone with one kind of core.
std::string fleetKinds(const FleetMachine& machine);
// "8 x L1 data 32 KB".
std::string fleetCache(const FleetCache& cache);
std::string fleetCaches(const FleetMachine& machine);
// Its fields as docs/json.md describes a group of `fleet`, but for the features. What is not known is null.
nlohmann::ordered_json fleetJson(const FleetMachine& machine);

} // namespace quarrow
