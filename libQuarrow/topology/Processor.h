#pragma once

#include <libQuarrow/topology/CoreKind.h>
#include <libQuarrow/topology/ProcessorIdentity.h>
#include <libQuarrow/topology/ProcessorLimits.h>
#include <libQuarrow/topology/ProcessorSpeed.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace libQuarrow::topology {

class ProcessorLeaves; // libQuarrow/topology/leaves/ProcessorLeaves.h

// One logical processor. Objects of a level are numbered from 0 over the whole machine, by their lowest processor:
// processors with the same number share that object. A level that the machine does not tell is absent.
struct Processor {
    // One of Topology::caches() and of the sets of its sharedBy.
    struct CacheUse {
        std::uint32_t cache;
        std::optional<std::uint32_t> instance; // none where the machine does not tell who shares
    };

    std::uint32_t number = 0;            // the operating system's own; see ProcessorNumbering
    std::uint16_t group = 0;             // processor group, and
    std::uint8_t bit = 0;                // place in it: 0 to 63
    std::optional<std::uint32_t> apicId; // as told, also where others tell the same
    std::uint32_t package = 0;
    std::optional<std::uint32_t> die;     // leaves 0x1F and 0x80000026; AMD: the nodes of leaf 0x8000001E
    std::optional<std::uint32_t> complex; // cores that share an L3, where a package has several
    std::optional<std::uint32_t> module;  // cores that share an L2, where a package has several; AMD: compute units
    std::uint32_t core = 0;
    std::uint32_t thread = 0;              // from 0 within the core, by number
    std::optional<std::uint32_t> numaNode; // the operating system's own number
    // Revision of the microcode, where TopologyRequest asked for it and the operating system tells it: Linux does to
    // any user, Windows does not. In a guest it is what the hypervisor makes up.
    std::optional<std::uint32_t> microcode;
    std::optional<CoreKind> kind;                      // none on a machine with one kind of core
    std::shared_ptr<const ProcessorIdentity> identity; // never null; like processors share one
    std::vector<CacheUse> caches;                      // ascending
    // Null where TopologyRequest does not ask for them.
    std::shared_ptr<const ProcessorSpeed> speed;
    std::shared_ptr<const ProcessorLimits> limits;
    std::shared_ptr<const ProcessorLeaves> leaves;
};

// A processor of the system that could not be visited.
struct LeftOutProcessor {
    std::uint32_t number = 0;
    std::uint16_t group = 0;
    std::uint8_t bit = 0;
    std::string reason;
};

} // namespace libQuarrow::topology
