#include <libQuarrow/topology/ProcessorTour.h>

#include <libQuarrow/cpu/AffinityMask.h>
#include <libQuarrow/cpu/x86/decode/CpuidReader.h>
#include <libQuarrow/machine/Machine.h>

#include <algorithm>
#include <utility>

namespace libQuarrow::topology {
namespace {

// Moves the thread (or the process) from processor to processor and, at the end, back to where it was: half the
// migrations of pinning to each one and putting back.
class Tour {
  public:
    explicit Tour(bool thread)
        : m_thread(thread),
          m_before(thread ? cpu::AffinityMask::threadAffinityMask() : cpu::AffinityMask::processAffinityMask()) {}
    ~Tour() {
        if (m_moved) {
            set(*m_before);
        }
    }
    Tour(const Tour&) = delete;
    Tour& operator=(const Tour&) = delete;

    // False when it cannot be done, and always when the affinity in force could not be read: what could not be put back
    // is not changed.
    bool moveTo(const cpu::AffinityMask& processor) {
        const bool there = m_before && set(processor);
        m_moved = m_moved || there;
        return there;
    }
    const char* refusal() const {
        return m_before ? "no thread can be pinned to it" : "the affinity in force cannot be read, to put it back";
    }

  private:
    bool set(const cpu::AffinityMask& mask) const {
        return m_thread ? mask.setThreadAffinity() : mask.setProcessAffinity();
    }

    const bool m_thread;
    const boost::optional<cpu::AffinityMask> m_before;
    bool m_moved = false;
};

std::uint8_t lowestBit(std::uint64_t mask) {
    std::uint8_t bit = 0;
    while ((mask >> bit & 1) == 0) {
        ++bit;
    }
    return bit;
}

ProcessorNumbering numberingOf(const cpu::AffinityMask& system) {
    std::vector<std::pair<std::uint16_t, std::uint64_t>> groups;
    for (const cpu::GroupAffinity& group : system.getAffinityData().groups()) {
        groups.emplace_back(group.group, group.mask);
    }
    return ProcessorNumbering::ofCurrentMachine(groups);
}

// The processors of `system`, the one where the thread is before the others.
std::vector<cpu::WinAffinity> inOrderOfVisits(const cpu::AffinityMask& system) {
    std::vector<cpu::WinAffinity> places = system.maskPerLogicalCPU();
    if (const auto here = os::currentMachine().currentProcessor()) {
        const cpu::GroupAffinity place(here->first, std::uint64_t{1} << here->second);
        const auto found = std::find_if(places.begin(), places.end(), [&place](const cpu::WinAffinity& processor) {
            return processor.groups().front() == place;
        });
        if (found != places.end()) {
            std::rotate(places.begin(), found, found + 1);
        }
    }
    return places;
}

// Tells at its end that one processor more is done.
class VisitStep {
  public:
    VisitStep(const TourProgress& progress, std::size_t done, std::size_t all)
        : m_progress(progress), m_done(done), m_all(all) {}
    ~VisitStep() {
        if (m_progress) {
            m_progress(m_done, m_all);
        }
    }
    VisitStep(const VisitStep&) = delete;
    VisitStep& operator=(const VisitStep&) = delete;

  private:
    const TourProgress& m_progress;
    const std::size_t m_done;
    const std::size_t m_all;
};

} // namespace

std::optional<ProcessorTour> tourProcessors(bool useThreadAffinity, const ProcessorVisit& visit,
                                            const TourProgress& progress) {
    const auto system = cpu::AffinityMask::systemAffinityMask();
    if (!system) {
        return std::nullopt;
    }
    ProcessorTour found{numberingOf(*system), {}};
    Tour tour(useThreadAffinity);
    const std::vector<cpu::WinAffinity> places = inOrderOfVisits(*system);
    std::size_t done = 0;
    for (const cpu::WinAffinity& processor : places) {
        const VisitStep step(progress, ++done, places.size());
        const cpu::GroupAffinity& place = processor.groups().front();
        const std::uint8_t bit = lowestBit(place.mask);
        const auto number = found.numbering.number(place.group, bit);
        if (!number) {
            continue; // never: the numbering is of these very processors
        }
        const auto leaveOut = [&](const char* reason) { found.leftOut.push_back({*number, place.group, bit, reason}); };
        if (!tour.moveTo(processor)) {
            leaveOut(tour.refusal());
            continue;
        }
        cpu::LiveCpuidReader live;
        if (!live.hasCpuid()) {
            leaveOut("it has no CPUID instruction");
            continue;
        }
        visit({*number, place.group, bit}, live);
    }
    std::sort(found.leftOut.begin(), found.leftOut.end(),
              [](const LeftOutProcessor& a, const LeftOutProcessor& b) { return a.number < b.number; });
    return found;
}

} // namespace libQuarrow::topology
