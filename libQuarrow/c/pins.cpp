// Where the calling thread runs.

#include <libQuarrow/c/Handles.h>

#include <libQuarrow/cpu/ScopedAffinity.h>
#include <libQuarrow/topology/ProcessorAffinity.h>

#include <memory>
#include <thread>

using namespace libQuarrow;
using namespace libQuarrow::c;
using topology::ProcessorSet;

struct quarrow_pin {
    cpu::AffinityMask before;
    std::thread::id thread;
};

namespace {

topology::ProcessorNumbering liveNumbering() {
    auto numbering = topology::ProcessorNumbering::ofCurrentMachine();
    if (!numbering) {
        throw Failure(QUARROW_ERROR_MACHINE, "the operating system does not tell which processors there are");
    }
    return std::move(*numbering);
}

ProcessorSet numbersOf(const boost::optional<cpu::AffinityMask>& affinity,
                       const topology::ProcessorNumbering& numbering) {
    if (!affinity) {
        throw Failure(QUARROW_ERROR_MACHINE, "the operating system does not tell the affinity in force");
    }
    return topology::processorsOf(*affinity, numbering);
}

} // namespace

quarrow_set* quarrow_set_of_thread(void) {
    return answer<quarrow_set*>(nullptr, [] {
        const std::shared_lock<std::shared_mutex> lock(currentMachineMutex());
        return newSet(numbersOf(cpu::AffinityMask::threadAffinityMask(), liveNumbering()));
    });
}

quarrow_pin* quarrow_pin_thread(const quarrow_set* set) {
    return answer<quarrow_pin*>(nullptr, [&] {
        const ProcessorSet& wanted = given(set, "set").processors;
        if (wanted.empty()) {
            throw Failure(QUARROW_ERROR_INPUT, "no thread can be pinned to an empty set");
        }
        const std::shared_lock<std::shared_mutex> lock(currentMachineMutex());
        const topology::ProcessorNumbering numbering = liveNumbering();
        const ProcessorSet all = numbersOf(cpu::AffinityMask::systemAffinityMask(), numbering);
        const ProcessorSet strangers = wanted - all;
        if (!strangers.empty()) {
            throw Failure(QUARROW_ERROR_INPUT,
                          "there is no logical processor " + strangers.toList() + "; this machine has " + all.toList());
        }
        const auto before = cpu::AffinityMask::threadAffinityMask();
        if (!before) {
            throw Failure(QUARROW_ERROR_MACHINE, "the affinity in force cannot be read, to put it back");
        }
        auto pin = std::make_unique<quarrow_pin>(quarrow_pin{*before, std::this_thread::get_id()});
        if (!affinityOf(wanted, numbering).setThreadAffinity()) {
            throw Failure(QUARROW_ERROR_MACHINE, "the thread cannot be pinned to " + wanted.toList() +
                                                     ": the operating system does not allow it");
        }
        return pin.release();
    });
}

int quarrow_pin_restore(quarrow_pin* pin) {
    return attempt([&] {
        if (given(pin, "pin").thread != std::this_thread::get_id()) {
            throw Failure(QUARROW_ERROR_ARGUMENT, "the pin is another thread's, which has to put it back itself");
        }
        const std::shared_lock<std::shared_mutex> lock(currentMachineMutex());
        if (!pin->before.setThreadAffinity()) {
            throw Failure(QUARROW_ERROR_MACHINE, "the earlier affinity cannot be put back");
        }
        delete pin;
    });
}

void quarrow_pin_free(quarrow_pin* pin) {
    delete pin;
}
