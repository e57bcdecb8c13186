#pragma once

#include <libQuarrow/cpu/AffinityMask.h>
#include <libQuarrow/cpu/ScopedAffinity.h>

#include <boost/optional.hpp>

// Private to the library: holds the calling thread (or the process) on one processor.

namespace libQuarrow::os {
class Machine;
}

namespace libQuarrow::cpu {

class x86_cpu;

// Pins to a processor until the end of the scope. A pin inside another one on the same processor, as each guarded
// instruction makes it, moves nothing: a query that needs many instructions holds one of its own around them all and
// migrates the thread once each way.
class x86_pin {
  public:
    explicit x86_pin(const x86_cpu& cpu);
    ~x86_pin();
    x86_pin(const x86_pin&) = delete;
    x86_pin& operator=(const x86_pin&) = delete;

    // Whether this thread is on the processor. False when it could not be moved there, and after a pin further in could
    // not put the thread back here.
    bool pinned() const { return m_pinned; }

  private:
    bool holds(const x86_cpu& cpu) const;

    x86_pin* const m_outer; // the pin of this thread around this one; null for the outermost
    const os::Machine* const m_machine;
    const AffinityMask& m_affinity; // the processor's own: pins do not outlive it
    const bool m_useThreadAffinity;
    boost::optional<ScopedAffinity> m_scope; // none where the pin around this one does the work
    bool m_pinned = false;
};

} // namespace libQuarrow::cpu
