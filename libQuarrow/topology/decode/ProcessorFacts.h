#pragma once

#include <libQuarrow/topology/Cache.h>
#include <libQuarrow/topology/CoreKind.h>
#include <libQuarrow/topology/ProcessorIdentity.h>
#include <libQuarrow/topology/ProcessorLimits.h>
#include <libQuarrow/topology/ProcessorSpeed.h>
#include <libQuarrow/topology/Tlb.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <tuple>
#include <vector>

// Private to the library: what one processor tells of itself, decoded from its leaves. Only all of them together make a
// topology.

namespace libQuarrow::topology {

class ProcessorLeaves;

// How the APIC ID is made up: the processors whose IDs are the same from bit n on share the object.
struct IdShifts {
    std::uint8_t core = 0;
    std::optional<std::uint8_t> module;
    std::optional<std::uint8_t> complex;
    std::optional<std::uint8_t> die;
    std::uint8_t package = 0;

    auto all() const { return std::tie(core, module, complex, die, package); }
    friend bool operator==(const IdShifts& a, const IdShifts& b) { return a.all() == b.all(); }
    friend bool operator<(const IdShifts& a, const IdShifts& b) { return a.all() < b.all(); }
};

// Who shares a cache.
enum class CacheSharing {
    ids,     // the processors whose IDs are the same from a bit on
    core,    // those of a core
    package, // those of a package, or of its node where it has several
    notTold,
};

struct CacheFacts {
    CacheFigures figures;
    CacheSharing sharing = CacheSharing::notTold;
    std::uint8_t idShift = 0; // for CacheSharing::ids

    auto all() const { return std::tie(figures, sharing, idShift); }
    friend bool operator==(const CacheFacts& a, const CacheFacts& b) { return a.all() == b.all(); }
    friend bool operator<(const CacheFacts& a, const CacheFacts& b) { return a.all() < b.all(); }
};

// How a processor of its model is placed.
struct PlacingFacts {
    IdShifts shifts;
    std::optional<CoreKind> kind; // performance or efficient
    bool nodesAreDies = false;

    auto all() const { return std::tie(shifts, kind, nodesAreDies); }
    friend bool operator==(const PlacingFacts& a, const PlacingFacts& b) { return a.all() == b.all(); }
    friend bool operator<(const PlacingFacts& a, const PlacingFacts& b) { return a.all() < b.all(); }
};

// What like processors have in common.
struct ModelFacts {
    ProcessorIdentity identity;
    PlacingFacts placing;
    std::vector<CacheFacts> caches; // by level, each level and type once
    std::vector<TlbFigures> tlbs;

    auto all() const { return std::tie(identity, placing, caches, tlbs); }
    friend bool operator==(const ModelFacts& a, const ModelFacts& b) { return a.all() == b.all(); }
    friend bool operator<(const ModelFacts& a, const ModelFacts& b) { return a.all() < b.all(); }
};

// What tells a processor from its like.
struct PlaceFacts {
    std::uint32_t id = 0;        // the widest APIC ID that is told
    std::uint32_t initialId = 0; // leaf 1 EBX bits 24 to 31
    bool idTold = false;
    std::optional<std::uint32_t> node; // AMD's, within the package or the machine
};

struct ProcessorFacts {
    std::uint32_t number = 0;
    std::uint16_t group = 0;
    std::uint8_t bit = 0;
    PlaceFacts place;
    std::shared_ptr<const ModelFacts> model; // never null; like processors may share one
    // Null where they were not asked for.
    std::shared_ptr<const ProcessorSpeed> speed;
    std::shared_ptr<const ProcessorLimits> limits;
    std::shared_ptr<const ProcessorLeaves> leaves;
};

} // namespace libQuarrow::topology
