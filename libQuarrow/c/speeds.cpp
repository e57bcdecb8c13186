// Speeds and limits of a processor.

#include <libQuarrow/c/Handles.h>

using namespace libQuarrow;
using namespace libQuarrow::c;

namespace {

const topology::ProcessorSpeed& speedOf(const quarrow_machine* machine, std::uint32_t number) {
    const auto& speed = processorOf(machine, number).speed;
    if (speed == nullptr) {
        throw Failure(QUARROW_ERROR_UNKNOWN,
                      "the machine was taken without this speed; take it with QUARROW_WITH_SPEEDS");
    }
    return *speed;
}

const topology::ProcessorLimits& limitsOf(const quarrow_machine* machine, std::uint32_t number) {
    const auto& limits = processorOf(machine, number).limits;
    if (limits == nullptr) {
        throw Failure(QUARROW_ERROR_UNKNOWN,
                      "the machine was taken without these limits; take it with QUARROW_WITH_LIMITS");
    }
    return *limits;
}

template <class Value>
void store(Value* target, Value value) {
    if (target != nullptr) {
        *target = value;
    }
}

} // namespace

int quarrow_processor_speed(const quarrow_machine* machine, uint32_t number, quarrow_speed* speed, size_t size) {
    return attempt([&] {
        const topology::ProcessorSpeed& found = speedOf(machine, number);
        quarrow_speed facts = {};
        facts.tsc_hertz = found.tscHertz.value_or(0);
        facts.bus_clock_hertz = found.busClockHertz.value_or(0);
        facts.current_hertz = found.current.hertz.value_or(0);
        facts.effective_hertz = found.effective.hertz.value_or(0);
        facts.lowest_hertz = found.lowest.hertz.value_or(0);
        facts.base_hertz = found.base.hertz.value_or(0);
        facts.turbo_hertz = found.turbo.hertz.value_or(0);
        facts.system_lowest_hertz = found.system.lowestHertz.value_or(0);
        facts.system_base_hertz = found.system.baseHertz.value_or(0);
        facts.system_highest_hertz = found.system.highestHertz.value_or(0);
        facts.current_multiplier = found.current.multiplier.value_or(0);
        facts.effective_multiplier = found.effective.multiplier.value_or(0);
        facts.lowest_multiplier = found.lowest.multiplier.value_or(0);
        facts.base_multiplier = found.base.multiplier.value_or(0);
        facts.turbo_multiplier = found.turbo.multiplier.value_or(0);
        facts.performance_state_count = static_cast<std::uint32_t>(found.performanceStates.size());
        fillStructure(speed, size, facts);
    });
}

int quarrow_processor_performance_state(const quarrow_machine* machine, uint32_t number, size_t which, uint32_t* state,
                                        uint64_t* hertz) {
    return attempt([&] {
        const topology::PerformanceState& found =
            elementOf(speedOf(machine, number).performanceStates, which, "performance state");
        store(state, found.number);
        store(hertz, found.hertz);
    });
}

int quarrow_processor_limits(const quarrow_machine* machine, uint32_t number, quarrow_limits* limits, size_t size) {
    return attempt([&] {
        const topology::ProcessorLimits& found = limitsOf(machine, number);
        quarrow_limits facts = {};
        facts.throttle_celsius = found.throttleCelsius.value_or(QUARROW_NONE);
        facts.throttle_offset_celsius = found.throttleOffsetCelsius.value_or(QUARROW_NONE);
        facts.highest_level = found.levels ? found.levels->highest : QUARROW_NONE;
        facts.guaranteed_level = found.levels ? found.levels->guaranteed : QUARROW_NONE;
        facts.efficient_level = found.levels ? found.levels->efficient : QUARROW_NONE;
        facts.lowest_level = found.levels ? found.levels->lowest : QUARROW_NONE;
        facts.turbo_ratio_count = static_cast<std::uint32_t>(found.turboRatios.size());
        fillStructure(limits, size, facts);
    });
}

int quarrow_processor_turbo_ratio(const quarrow_machine* machine, uint32_t number, size_t which, uint32_t* active_cores,
                                  uint32_t* ratio) {
    return attempt([&] {
        const topology::TurboRatio& found = elementOf(limitsOf(machine, number).turboRatios, which, "turbo ratio");
        store(active_cores, found.activeCores);
        store(ratio, found.ratio);
    });
}

const char* quarrow_machine_msr_refusal(const quarrow_machine* machine) {
    return answer<const char*>(nullptr, [&] {
        const std::string& refusal = topologyOf(machine).msrRefusal();
        return refusal.empty() ? nullptr : refusal.c_str();
    });
}
