#include <libQuarrow/topology/Microcode.h>

#include <libQuarrow/machine/Machine.h>

namespace libQuarrow::topology {

std::map<std::uint32_t, std::uint32_t> microcodeRevisions(const ProcessorNumbering& numbering) {
    std::map<std::uint32_t, std::uint32_t> revisions;
    for (const auto& [place, revision] : os::currentMachine().microcodeRevisions()) {
        if (const auto number = numbering.number(place.first, place.second)) {
            revisions[*number] = revision;
        }
    }
    return revisions;
}

} // namespace libQuarrow::topology
