// Where a processor sits: how its APIC ID is made up, and what kind of core it is. Intel's manual, volume 3,
// "Hierarchical mapping of shared resources", and volume 2, CPUID; AMD's manual, volume 3, appendix E.

#include <libQuarrow/topology/decode/ProcessorDecoder.h>

#include <libQuarrow/topology/decode/LeafReader.h>

#include <boost/container/small_vector.hpp>

#include <algorithm>

namespace libQuarrow::topology {
namespace {

using Level = cpu::TopologyLevelLeaf;
using Levels = boost::container::small_vector<Level, 4>; // most tell two to four

// Manuals define six levels; the enumeration is ended after twice as many, whatever a processor says.
constexpr std::uint32_t mostLevels = 12;

// Leaf 0xB, 0x1F or 0x80000026, with shifts that never fall. Empty where the leaf is not told. The number in a level is
// of no use: some repeat it.
Levels readLevels(LeafReader& leaves, std::uint32_t leaf) {
    Levels levels;
    for (std::uint32_t subleaf = 0; leaves.has(leaf) && subleaf < mostLevels; ++subleaf) {
        Level level(leaves.read(leaf, subleaf));
        if (level.type == Level::invalid || (subleaf == 0 && level.logicalProcessors == 0)) {
            break;
        }
        level.shift = std::max(level.shift, levels.empty() ? 0 : levels.back().shift);
        levels.push_back(level);
    }
    return levels;
}

std::uint8_t shiftOf(const Level& level) {
    return static_cast<std::uint8_t>(level.shift);
}

template <class Shift>
void setOnce(std::optional<Shift>& shift, std::uint8_t value) {
    shift = shift.value_or(value);
}

// Leaves 0xB and 0x1F. A level's shift leaves what names the object of the next level outwards, so that an object is
// named by the shift of the level inside it. What a level of unknown type has counts with the one inside it.
bool placeByIntelLevels(LeafReader& leaves, std::uint32_t leaf, PlaceFacts& place, PlacingFacts& placing) {
    const Levels levels = readLevels(leaves, leaf);
    if (levels.empty()) {
        return false;
    }
    IdShifts shifts;
    std::optional<std::uint8_t> cores;
    std::uint8_t inside = 0;
    for (const Level& level : levels) {
        if (level.type == Level::core) {
            setOnce(cores, inside);
        } else if (level.type == Level::module) {
            setOnce(shifts.module, inside);
        } else if (level.type == Level::die) {
            setOnce(shifts.die, inside);
        }
        inside = shiftOf(level);
    }
    // Without a level of cores, what the threads leave names them.
    shifts.core = cores.value_or(levels.front().type == Level::thread ? shiftOf(levels.front()) : std::uint8_t{0});
    shifts.package = inside;
    placing.shifts = shifts;
    place.id = levels.front().x2apicId;
    return true;
}

// Leaf 0x80000026: here a level's shift leaves what names its own object. A level of cores says which kind this one is.
bool placeByAmdLevels(LeafReader& leaves, PlaceFacts& place, PlacingFacts& placing) {
    const Levels levels = readLevels(leaves, Level::amdNumber);
    if (levels.empty()) {
        return false;
    }
    IdShifts shifts;
    for (const Level& level : levels) {
        if (level.type == Level::amdCore) {
            shifts.core = shiftOf(level);
            if (level.heterogeneous && level.coreType <= Level::amdEfficiency) {
                placing.kind = level.coreType == Level::amdPerformance ? CoreKind::performance : CoreKind::efficient;
            }
        } else if (level.type == Level::amdComplex) {
            setOnce(shifts.complex, shiftOf(level));
        } else if (level.type == Level::amdDie) {
            setOnce(shifts.die, shiftOf(level));
        }
    }
    shifts.package = shiftOf(levels.back());
    placing.shifts = shifts;
    place.id = levels.front().x2apicId;
    return true;
}

// How wide the IDs in a package are, or else how many processors it has.
std::uint8_t amdPackageShift(LeafReader& leaves) {
    const auto size = leaves.get<cpu::PackageSizeLeaf>();
    return size.apicIdBits != 0 ? static_cast<std::uint8_t>(size.apicIdBits) : bitsFor(size.threads);
}

// Leaf 0x8000001E, where there are topology extensions.
bool placeByNodes(LeafReader& leaves, const ProcessorIdentity& identity, PlaceFacts& place, PlacingFacts& placing) {
    if (!leaves.has(cpu::AmdTopologyLeaf::number) || !leaves.get<cpu::ExtendedFeaturesLeaf>().topologyExtensions) {
        return false;
    }
    const auto told = leaves.get<cpu::AmdTopologyLeaf>();
    if (told.extendedApicId == 0 && place.initialId != 0) {
        return false; // a hypervisor that hides the leaf and not the feature
    }
    const std::uint32_t family = identity.family;
    if (family == 0x15) {
        placing.shifts.module = bitsFor(told.threadsPerCore);
    } else {
        placing.shifts.core = bitsFor(told.threadsPerCore);
    }
    placing.shifts.package = amdPackageShift(leaves);
    place.id = told.extendedApicId;
    place.node = told.nodeId;
    // From the second generation of Zen on a node is the package, and the leaf does not tell its dies.
    placing.nodesAreDies =
        family < 0x17 || (family == 0x17 && identity.model < 0x30) || family == 0x18 || told.nodesPerProcessor > 1;
    return true;
}

// Family 10h model 9 has two dies of half the cores each (BIOS and kernel developer's guide for family 10h, "Multiple
// node processors"); leaves tell them together.
void placeInHalves(LeafReader& leaves, const ProcessorIdentity& identity, PlaceFacts& place, PlacingFacts& placing) {
    const std::uint32_t half = leaves.get<cpu::PackageSizeLeaf>().threads / 2;
    if (identity.family == 0x10 && identity.model == 9 && half != 0) {
        place.node = (place.id & ((std::uint32_t{1} << placing.shifts.package) - 1)) < half ? 0 : 1;
        placing.nodesAreDies = true;
    }
}

bool placeByCoreCount(LeafReader& leaves, const ProcessorIdentity& identity, PlaceFacts& place, PlacingFacts& placing) {
    if (!leaves.get<cpu::PackageSizeLeaf>().told) {
        return false;
    }
    placing.shifts.package = amdPackageShift(leaves);
    placeInHalves(leaves, identity, place, placing);
    return true;
}

// Leaf 1, where it says that it counts: the IDs that a package takes. Leaf 4: those that its cores take. Without leaf 4
// the processors of a Pentium 4 are threads of one core, and those of others cores.
void placeByInitialId(LeafReader& leaves, const ProcessorIdentity& identity, PlacingFacts& placing) {
    const auto version = leaves.get<cpu::VersionLeaf>();
    if (!version.htt) {
        return; // a package of one processor
    }
    const std::uint8_t ids = bitsFor(version.logicalProcessors);
    const cpu::CacheLeaf caches(leaves.read(cpu::CacheLeaf::intelNumber));
    const bool oneCore = makerOf(leaves) == Maker::intel && identity.family == 15;
    std::uint8_t cores = oneCore ? std::uint8_t{0} : ids;
    if (caches.type != cpu::CacheLeaf::none) {
        cores = bitsFor(caches.packageCores);
    }
    placing.shifts.core = static_cast<std::uint8_t>(ids > cores ? ids - cores : 0);
    placing.shifts.package = std::max(ids, cores);
}

} // namespace

PlacingFacts decodePlace(LeafReader& leaves, const ProcessorIdentity& identity, PlaceFacts& place) {
    PlacingFacts placing;
    const auto version = leaves.get<cpu::VersionLeaf>();
    place.initialId = version.initialApicId;
    place.id = place.initialId;
    if (makerOf(leaves) == Maker::amd) {
        place.idTold = placeByAmdLevels(leaves, place, placing) || placeByNodes(leaves, identity, place, placing) ||
                       placeByIntelLevels(leaves, Level::number, place, placing);
        if (!place.idTold && !placeByCoreCount(leaves, identity, place, placing)) {
            placeByInitialId(leaves, identity, placing);
        }
    } else {
        place.idTold = placeByIntelLevels(leaves, Level::v2Number, place, placing) ||
                       placeByIntelLevels(leaves, Level::number, place, placing);
        if (!place.idTold) {
            placeByInitialId(leaves, identity, placing);
        }
    }
    place.idTold = place.idTold || version.apic;
    if (identity.coreType) {
        const auto told = leaves.get<cpu::CoreTypeLeaf>();
        if (told.type == cpu::CoreTypeLeaf::core) {
            placing.kind = CoreKind::performance;
        } else if (told.type == cpu::CoreTypeLeaf::atom) {
            placing.kind = CoreKind::efficient;
        }
    }
    return placing;
}

} // namespace libQuarrow::topology
