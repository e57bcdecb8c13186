#pragma once

#include <libQuarrow/cpu/AffinityAPI.h>
#include <libQuarrow/cpu/GroupAffinity.h>
#include <libQuarrow/quarrow_export.h>
#include <zel/String.h>

#include <boost/optional.hpp>

#include <cstdint>
#include <memory>
#include <vector>

namespace libQuarrow::cpu {

// A set of logical processors over processor groups of at most 64 processors each.
//
// The list of groups is always in normal form: ascending group numbers, each group once, no zero mask. Every value asks
// AffinityAPI::create() for a backend of its own when it is built, and nothing is kept between them, which is meant;
// copies share it.
class QUARROW_EXPORT WinAffinity {
  public:
    enum SplitType : std::uint32_t { PerLogicalCpu = 0, PerGroup = 1 };

    WinAffinity(); // empty
    explicit WinAffinity(std::uint64_t group0Mask);
    explicit WinAffinity(std::vector<GroupAffinity> groups);

    explicit operator bool() const { return !m_groups.empty(); }
    bool operator==(const WinAffinity& other) const;
    bool operator!=(const WinAffinity& other) const { return !(*this == other); }
    WinAffinity operator|(const WinAffinity& other) const;
    WinAffinity& operator|=(const WinAffinity& other);
    WinAffinity operator&(const WinAffinity& other) const;
    WinAffinity& operator&=(const WinAffinity& other);

    const std::vector<GroupAffinity>& groups() const { return m_groups; }

    // One value per processor (ascending group, then bit) or per group. Any other split type gives none.
    std::vector<WinAffinity> split(SplitType type) const;
    std::uint32_t logicalCpuCount() const;
    // The machine-wide number of a single processor; none for any other value, and none outside group 0 when the system
    // affinity cannot be read.
    //
    // An earlier group counts up to its highest processor, so that a hole in its mask still uses up a number. A group
    // that the system lists several times (once per package) counts each time.
    boost::optional<unsigned int> getLogicalCpuNumber() const;

    bool supportsCpuGroups() const;
    // Moves the process, or the calling thread, onto these processors. False without a backend or when it refuses.
    bool setProcessAffinity() const;
    bool setThreadAffinity() const;
    // None without a backend or when the affinity cannot be read. Setting a value that was read here puts back exactly
    // what was read, as far as the operating system allows: see the backend.
    static boost::optional<WinAffinity> systemAffinity();
    static boost::optional<WinAffinity> processAffinity();
    static boost::optional<WinAffinity> threadAffinity();

    // "group:mask" joined with "/", the mask as 16 hexadecimal digits and h: 0:000000000000FFFFh/1:0000000000000003h.
    // An empty value is 0:0000000000000000h. fromString reads what toString writes, and masks as zel::String::toUint64
    // reads numbers: 0:15, 0:0xF and 0:Fh are one value. Groups may stand in any order and more than once.
    zel::String toString() const;
    static boost::optional<WinAffinity> fromString(const zel::String& text);

  private:
    WinAffinity(std::vector<GroupAffinity> groups, std::shared_ptr<AffinityAPI> api);
    static std::shared_ptr<AffinityAPI> getAffinityAPI();
    static boost::optional<WinAffinity> read(boost::optional<std::vector<GroupAffinity>> (AffinityAPI::*reader)());
    void normalize();

    std::vector<GroupAffinity> m_groups;
    std::shared_ptr<AffinityAPI> m_api; // may be null
};

} // namespace libQuarrow::cpu
