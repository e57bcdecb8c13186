#pragma once

#include <libQuarrow/os/linux/cpu/x86/ProcessorSet.h>

namespace libQuarrow::cpu {

// The processors that a thread was found on, with all the memory that putting it back takes.
class ThreadAffinity {
  public:
    ThreadAffinity() = default;
    explicit ThreadAffinity(ProcessorSet found);

    // What a thread (0: the calling one) may run on now. Answers 0 or what errno says.
    int readFrom(pid_t thread);
    const ProcessorSet& found() const { return m_found; }
    // Whether that is what a thread may run on now. Allocates nothing.
    bool holds(pid_t thread) noexcept;

    // Gives the thread what was found; where that is all that it may be given, everything, so that it follows its
    // cpuset when that widens later. Allocates nothing. Answers 0 or what errno says.
    //
    // What it may be given is asked by giving it everything for a moment. No other way is as sure: the files that tell
    // of processors and control groups may be hidden, or be those of the host or of a container.
    int putBack(pid_t thread) noexcept;

  private:
    ProcessorSet m_found;
    ProcessorSet m_now; // as many words as m_found
};

} // namespace libQuarrow::cpu
