#pragma once

#include <libQuarrow/cpu/AffinityMask.h>
#include <libQuarrow/quarrow_export.h>

namespace libQuarrow::cpu {

// Pins the calling thread, or the whole process, and puts the earlier affinity back at the end.
//
// With thread scope everything happens on the thread that made the object. With process scope nothing keeps another
// thread from doing the same at once.
class QUARROW_EXPORT ScopedAffinity {
  public:
    // Reads the affinity in force and changes nothing.
    ScopedAffinity(const AffinityMask& mask, bool thread);
    ~ScopedAffinity(); // restore()
    ScopedAffinity(const ScopedAffinity&) = delete;
    ScopedAffinity& operator=(const ScopedAffinity&) = delete;

    // Pins. False when that fails, and always when the affinity in force could not be read: what could not be put back
    // is not changed. Only what the last call did is undone: where it failed, what one before it did stays.
    bool set();
    // Puts the earlier affinity back. Mind the result, which is the opposite of set()'s: false after success, true when
    // there was nothing to undo and when it failed. After a failure a later call, or the destructor, tries again.
    bool restore();

  private:
    bool setAffinity(AffinityMask& mask);

    bool m_threadScope; // the thread, or the whole process
    bool m_savedValid;  // m_saved could be read
    bool m_applied;     // the last set() succeeded and has not been undone
    AffinityMask m_saved;
    AffinityMask m_target;
};

} // namespace libQuarrow::cpu
