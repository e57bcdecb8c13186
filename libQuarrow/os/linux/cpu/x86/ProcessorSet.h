#pragma once

#include <libQuarrow/cpu/GroupAffinity.h>

#include <boost/optional.hpp>

#include <sys/types.h>

#include <string_view>
#include <vector>

namespace libQuarrow::cpu {

// Any number of processors as the Linux scheduler knows them: processor n is bit n mod 64 of group n / 64.
class ProcessorSet {
  public:
    ProcessorSet() = default;
    explicit ProcessorSet(const std::vector<GroupAffinity>& groups);
    // Processors 0 to count - 1.
    static ProcessorSet first(unsigned int count);
    // The kernel's list form: "0-3,8,10-11", with or without a line end. None for any other text, an empty one too.
    static boost::optional<ProcessorSet> parseList(std::string_view text);

    // Ascending group numbers, no empty group.
    std::vector<GroupAffinity> groups() const;
    ProcessorSet& operator|=(const ProcessorSet& other);
    // These three allocate nothing. Equal sets were read from the kernel, which always fills the same number of words.
    bool operator==(const ProcessorSet& other) const { return m_words == other.m_words; }
    bool is(const std::vector<GroupAffinity>& groups) const; // in ascending order, none empty
    void fill();                                             // every processor of the groups there is room for

    // The processors that a thread may run on (0: the calling one). Both answer 0 or what errno says. On applying, the
    // kernel leaves out what is offline or forbidden to the thread, and refuses (EINVAL) when nothing remains.
    static int readFrom(pid_t thread, ProcessorSet& processors);
    int readAgainFrom(pid_t thread); // into a set that was read before: allocates nothing
    int applyTo(pid_t thread) const;

  private:
    void add(unsigned int processor);

    // One word per group from group 0. On x86-64 that is also the layout of the kernel's masks.
    std::vector<std::uint64_t> m_words;
};

} // namespace libQuarrow::cpu
