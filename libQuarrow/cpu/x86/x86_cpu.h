#pragma once

#include <libQuarrow/cpu/AffinityMask.h>
#include <libQuarrow/cpu/x86/x86_cpu_location.h>
#include <libQuarrow/cpu/x86/x86_feature_flags.h>
#include <libQuarrow/cpu/x86/x86_inst.h>
#include <libQuarrow/quarrow_export.h>
#include <zel/Array.h>
#include <zel/String.h>

#include <cstdint>
#include <functional>
#include <memory>

namespace libQuarrow::cpu {

class CpuidReader;
class LogicalCpuNumbers;
class x86_caches;
class x86_physical_cpus;
class x86_vendor_info;
struct x86_speed_metrics;

// One logical processor: its identity, read once while pinned to it, and instructions that run on it.
//
// An object is not locked. The first query that needs the vendor object (caches, revision, technology, socket, speed)
// creates it; two threads must not do that on one object at once. With process affinity (useThreadAffinity false)
// objects are for one thread at a time.
class QUARROW_EXPORT x86_cpu {
  public:
    x86_cpu(); // no processor: invalid, empty affinity
    // The processor that `affinity` selects, refreshed at once. `useThreadAffinity` says how it is pinned: the calling
    // thread or the whole process. The two numbers are not used.
    x86_cpu(const AffinityMask& affinity, bool useThreadAffinity, unsigned int, unsigned int);
    // Copies and moves leave the vendor object out; it is made anew when first needed.
    x86_cpu(const x86_cpu& other);
    x86_cpu(x86_cpu&& other) noexcept;
    x86_cpu& operator=(const x86_cpu& other);
    x86_cpu& operator=(x86_cpu&& other) noexcept;
    ~x86_cpu();

    // One object per logical processor of the system, in the order of AffinityMask::getMaskPerLogicalDevice. Processors
    // that cannot be pinned are left out. False, with `cpus` empty, when the system affinity cannot be read.
    static bool findLogicalCpus(zel::Array<x86_cpu>& cpus, bool useThreadAffinity);
    // Reads everything again on the processor. Invalid afterwards when it cannot be pinned or has no CPUID leaf.
    void refresh();

    bool isValid() const { return m_valid; }
    bool isIntel() const { return m_vendor == x86_vendor_intel; }
    bool isAmd() const { return m_vendor == x86_vendor_amd; }
    bool isAmdOrIntel() const { return isAmd() || isIntel(); }
    x86_cpu_vendor getVendor() const { return m_vendor; }
    const zel::String& getVendorName() const { return m_vendorName; }
    const zel::String& getCpuName() const { return m_cpuName; }             // the brand string, blanks normalised
    bool getApicId(unsigned int& id) const;                                 // false when there is none
    unsigned int getLogicalCpuNumber() const { return m_logicalCpuNumber; } // 0xFFFFFFFF: cannot be determined
    const x86_cpu_location& getLocation() const { return m_location; }
    const x86_cpu_signature& getSignature() const { return m_signature; }
    const AffinityMask& getAffinityMask() const { return m_affinity; }
    bool usesThreadAffinity() const { return m_useThreadAffinity; } // else the whole process is pinned
    unsigned int getNumberCoresPerPhysicalPackage() const { return m_coresPerPackage; }
    unsigned int getNumberThreadsPerPhysicalPackage() const { return m_threadsPerPackage; }
    // How many core and thread numbers the package's APIC IDs leave room for.
    unsigned int getMaxAddressableCores() const { return m_maxAddressableCores; }
    unsigned int getMaxAddressableThreads() const { return m_maxAddressableThreads; }
    unsigned int maxCPUID() const { return m_maxCpuid; }
    unsigned int maxExtendedCPUID() const { return m_maxExtendedCpuid; }
    const x86_feature_flags& supportedFeatures() const { return m_supportedFeatures; }
    const x86_feature_flags& allowedFeatures() const { return m_allowedFeatures; }
    bool supportsFeature(x86_cpu_features feature) const { return m_supportedFeatures.hasFeature(feature); }
    // Knows CPUID, MSR, TSC, AVX and AVX2 alone: false for every other feature, whatever the processor has. What
    // programs can execute, of every feature, is in topology::ProcessorIdentity::usable
    // (libQuarrow/topology/Topology.h).
    bool isAllowedFeature(x86_cpu_features feature) const { return m_allowedFeatures.hasFeature(feature); }
    // Beware: both are true for every argument, as callers have come to rely on that. To compare with what the
    // processor has, ask topology::FeatureSet::containsAll(), or supportsFeature() for each feature.
    bool supportsFeatures(const x86_feature_flags& features) const;
    bool areAllowedFeatures(const x86_feature_flags& features) const;
    // Names of the supported features; `brief` keeps the instruction sets and a few others. MMX and 3DNow! are left out
    // where their extended forms are there.
    zel::String featureList(bool brief) const;
    zel::String toString() const; // the report

    // Pins the process or the thread to this processor for good. False when that fails.
    bool setProcessAffinity() const { return m_affinity.setProcessAffinity(); }
    bool setThreadAffinity() const { return m_affinity.setThreadAffinity(); }

    // By the processor's maker; false where it is not known.
    bool getCaches(x86_caches& caches) const;
    bool getRevisionString(zel::String& text) const;
    bool getTechnologyString(zel::String& text) const;
    bool getSocketTypeString(zel::String& text) const;
    // Reads the maker's registers, where a driver gives access to them, and measures for some milliseconds.
    bool getSpeedMetrics(x86_speed_metrics& metrics) const;

    // Ticks per second of the time-stamp counter, measured against the performance counter for about 25 milliseconds,
    // at a raised priority class of the whole process where that is allowed. Of several threads that measure at once,
    // each waits for the one before.
    // False, with `hz` untouched and the reason logged, when the processor must not execute RDTSC, cannot be pinned, or
    // the performance counter cannot be read.
    bool calculateSpeedTSC(std::uint64_t& hz) const;

    // Instructions on this processor: pin, execute, put the affinity back. False, with nothing written, when the
    // processor does not have the leaf or the feature, or cannot be pinned.
    bool callCPUID(unsigned int leaf, unsigned int* eax, unsigned int* ebx, unsigned int* ecx, unsigned int* edx) const;
    bool callCPUID(const cpuid_args& in, cpuid_args& out) const;
    bool callRDTSC(std::uint64_t& tsc) const;
    bool callRDMSR(unsigned int msr, std::uint64_t& value) const;
    bool callWRMSR(unsigned int msr, std::uint64_t value) const;

    // The vendor object, made on first use. Owned by this object.
    const x86_vendor_info* vendorInfo() const;

  private:
    friend class x86_physical_cpus;
    // Reads every logical processor of the system, in the order of findLogicalCpus, and calls `found` for each valid
    // one while the thread is still on it; what needs the processor is done there without another visit. `found` may
    // take the object. False when the system affinity cannot be read.
    static bool visitLogicalCpus(bool useThreadAffinity, const std::function<void(std::unique_ptr<x86_cpu>&)>& found);

    // Owns the vendor object, which points back at its x86_cpu: a copied or assigned holder is therefore empty.
    class VendorHolder {
      public:
        VendorHolder();
        VendorHolder(const VendorHolder&);
        VendorHolder& operator=(const VendorHolder&);
        ~VendorHolder();
        std::unique_ptr<x86_vendor_info> object;
    };

    x86_cpu(AffinityMask affinity, bool useThreadAffinity);
    void init();
    void refresh(LogicalCpuNumbers& numbers);
    void getTopologyInfo(CpuidReader& cpuid, const LogicalCpuNumbers& numbers);
    bool cpuidAllowed(unsigned int leaf) const;

    bool m_valid = false;
    bool m_useThreadAffinity = true;
    AffinityMask m_affinity;
    x86_feature_flags m_supportedFeatures;
    x86_feature_flags m_allowedFeatures;
    std::uint32_t m_logicalCpuNumber = 0;
    x86_cpu_location m_location;
    x86_cpu_signature m_signature;
    x86_cpu_vendor m_vendor = x86_vendor_unknown;
    zel::String m_vendorName;
    zel::String m_cpuName;
    std::uint32_t m_maxCpuid = 0;
    std::uint32_t m_maxExtendedCpuid = 0;
    std::uint32_t m_apicId = 0;
    bool m_apicIdValid = false;
    std::uint32_t m_coresPerPackage = 0;
    std::uint32_t m_threadsPerPackage = 0;
    std::uint32_t m_maxAddressableThreads = 0;
    std::uint32_t m_maxAddressableCores = 0;
    mutable VendorHolder m_pVendorSpecific;
};

} // namespace libQuarrow::cpu
