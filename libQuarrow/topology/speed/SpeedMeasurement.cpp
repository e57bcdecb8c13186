#include <libQuarrow/topology/speed/SpeedMeasurement.h>

#include <libQuarrow/cpu/x86/speed/x86_tsc_measurement.h>
#include <libQuarrow/machine/Machine.h>

namespace libQuarrow::topology {
namespace {

// MPERF counts at the base frequency, APERF at the real one, both while the processor is not halted (Intel SDM volume
// 3B, 15.2, hardware coordination feedback). AMD's have copies that can only be read, which some drivers let through
// alone (AMD APM volume 2, 17.3, effective frequency).
struct FrequencyCounts {
    std::uint64_t mperf = 0;
    std::uint64_t aperf = 0;
};

struct FrequencyCounters {
    std::uint32_t mperf;
    std::uint32_t aperf;

    bool read(const cpu::MsrReader& readMsr, FrequencyCounts& counts) const {
        return readMsr(mperf, counts.mperf) && readMsr(aperf, counts.aperf);
    }
};
constexpr FrequencyCounters frequencyCounters = {0xE7, 0xE8};
constexpr FrequencyCounters readOnlyFrequencyCounters = {0xC00000E7, 0xC00000E8};

// Those that can be read, with their counts; none where the processor does not say that it has them.
std::optional<FrequencyCounters> startedCounters(const FeatureSet& features, const cpu::MsrReader& readMsr,
                                                 FrequencyCounts& counts) {
    if (!features.contains("aperfmperf")) {
        return std::nullopt;
    }
    if (frequencyCounters.read(readMsr, counts)) {
        return frequencyCounters;
    }
    const bool hasCopies = features.contains("eff_freq_ro");
    return hasCopies && readOnlyFrequencyCounters.read(readMsr, counts) ? std::make_optional(readOnlyFrequencyCounters)
                                                                        : std::nullopt;
}

} // namespace

MeasuredSpeed measureSpeed(const FeatureSet& features, const cpu::MsrReader& readMsr) {
    MeasuredSpeed measured;
    if (!features.contains("tsc") || !os::currentMachine().clock().tellsTscRate()) {
        return measured;
    }
    FrequencyCounts first;
    FrequencyCounts last;
    const auto counters = startedCounters(features, readMsr, first);
    std::uint64_t hertz = 0;
    if (!cpu::measureTSC(hertz) || hertz == 0) {
        return measured;
    }
    measured.tscHertz = hertz;
    // Anybody may write the counters in between, and a recording's stand still.
    if (counters && counters->read(readMsr, last) && last.mperf > first.mperf && last.aperf > first.aperf) {
        measured.effectiveRatio =
            static_cast<double>(last.aperf - first.aperf) / static_cast<double>(last.mperf - first.mperf);
    }
    return measured;
}

} // namespace libQuarrow::topology
