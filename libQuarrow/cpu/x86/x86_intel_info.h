#pragma once

#include <libQuarrow/cpu/x86/x86_inst.h>
#include <libQuarrow/cpu/x86/x86_vendor_info.h>
#include <libQuarrow/quarrow_export.h>
#include <zel/Array.h>
#include <zel/String.h>

#include <boost/optional.hpp>

#include <cstdint>
#include <memory>

namespace libQuarrow::cpu {

class IntelIdentity;

// The step of a core's development, as Intel's documents name it.
enum IntelCoreStepping : std::uint32_t {
    IntelStepping_unknown = 0,
    IntelStepping_A0 = 1,
    IntelStepping_A1 = 2,
    IntelStepping_B0 = 3,
    IntelStepping_B1 = 4,
    IntelStepping_B2 = 5,
    IntelStepping_B3 = 6,
    IntelStepping_C0 = 7,
    IntelStepping_C1 = 8,
    IntelStepping_C2 = 9,
    IntelStepping_D0 = 10,
    IntelStepping_D1 = 11,
    IntelStepping_E0 = 12,
    IntelStepping_E1 = 13,
    IntelStepping_G0 = 14,
    IntelStepping_G1 = 15,
    IntelStepping_K0 = 16,
    IntelStepping_L2 = 17,
    IntelStepping_M0 = 18,
    IntelStepping_M1 = 19,
    IntelStepping_N0 = 20,
    IntelStepping_R0 = 21,
};

// The highest turbo multiplier while that many cores of the package are active.
struct IntelTurboRatioLimit {
    std::uint32_t activeCores = 0;
    std::uint32_t ratio = 0; // times the bus clock; never 0
};

// An Intel processor: its product class, stepping and process, its caches, and its thermal and turbo limits.
//
// Everything is worked out once, by the constructor, from the signature (CPUID leaf 1), the brand string and, for Core
// and Core 2, the platform identification register (MSR 0x17). Where that register cannot be read, what depends on it
// stays unknown. Queries that read the processor do so on it, through the x86_cpu, which must outlive this object.
class QUARROW_EXPORT x86_intel_info : public x86_vendor_info {
  public:
    // Product classes; a processor can be of several. Bit 0x100 belongs to none and stays free.
    enum TypeFlag : std::uint32_t {
        Pentium4Family = 0x1,
        CoreDuoSoloFamily = 0x2,
        Core2Family = 0x4,
        NehalemFamily = 0x8,
        Penryn = 0x10,
        Wolfdale = 0x20,
        Merom = 0x40,
        Atom = 0x80,
        NehalemCore = 0x200,
        WestmereCore = 0x400,
        SandyBridgeFamily = 0x800,
        SandyBridgeCore = 0x1000,
        SandyBridgeEPCore = 0x2000,
        IvyBridgeFamily = 0x4000,
        HaswellFamily = 0x8000,
        CloverTrail = 0x10000,
        BroadwellFamily = 0x20000,
        Skylake = 0x40000,
        Silvermont = 0x80000,
        Braswell = 0x100000,
        KabyLake = 0x200000,
    };

    explicit x86_intel_info(const x86_cpu& cpu);

    // Stepping text such as "C0". False, with an empty text, when it is unknown.
    bool getRevisionString(zel::String& text) const override;
    IntelCoreStepping getCpuRevision() const;
    // Manufacturing process, as in "45 nm" or "0.13 um". False, with an empty text, when it is unknown.
    bool getTechnologyString(zel::String& text) const override;

    // Whether the processor is of any of the classes in `mask`.
    bool isType(std::uint32_t mask) const;
    std::uint32_t getType() const;
    // Names of the classes, such as "Core2Family" and "Wolfdale". Empty when there is none.
    zel::Array<zel::String> getTypeNames() const;

    // The model number in the brand string, such as E8400: the last word before the last "@". Read for Core, Core 2,
    // Nehalem and Atom only: for others false, with `number` untouched. False, with `number` empty, when there is none.
    bool getProcessorNumber(zel::String& number) const;
    // The frequency in MHz that the brand string ends in: 2660 for 2.66GHz. The whole gigahertz are multiplied in 32
    // bits, so that 5GHz and above come out too small (5.00GHz as 705). False, with `mhz` untouched, when there is
    // none.
    bool getCpuDesignedFrequency(std::uint32_t& mhz) const;

    // Whether it is a mobile part. Known for Core and for those Core 2 that MSR 0x17 bit 28 or the number tells.
    const boost::optional<bool>& isMobile() const;
    // Whether it is the server die (true) or the client die (false). Known for some Ivy Bridge and Broadwell.
    const boost::optional<bool>& isServerDie() const;
    // Whether bit 27 of MSR 0x17 is clear. Known for Core and Core 2 whose register could be read.
    const boost::optional<bool>& isPlatformIdBit27Clear() const;

    // Adds the caches of this processor: from CPUID leaf 4 where there is one, else from leaves 0x80000006 and 2.
    // Trace caches always come from leaf 2. True when `caches` is not empty afterwards.
    bool getCaches(x86_caches& caches) const override;
    // The single sources of getCaches. False when the leaf is not there.
    bool getDeterministicCacheInfo(zel::Array<x86_cache>& caches) const; // leaf 4; replaces `caches`
    bool getL2CacheInfo(zel::Array<x86_cache>& caches) const;            // leaf 0x80000006; replaces `caches`
    bool getCacheAndTLBInfo(zel::Array<x86_cache>& caches) const;        // leaf 2; appends
    // Appends what a descriptor byte of leaf 2 stands for, or nothing when it is no cache.
    void addCacheOrTLBEntry(zel::Array<x86_cache>& caches, std::uint8_t descriptor) const;
    // Fills in the number of threads that share a cache where it is still 0 and the package's counts tell it.
    void determineCacheSharingByCPUType(x86_caches& caches) const;

    // How hot, in degrees Celsius, the processor may get before its thermal control circuit slows it down: from MSR
    // 0x1A2 or MSR 0xEE, or for older parts from Intel's data sheets. False, with 0, when it is not known.
    bool getTCCActivationTemperature(std::uint32_t& temperature) const;
    // The turbo ratio limits (MSR 0x1AD and following), ascending by active cores; counts without a limit are left out.
    // False, with `limits` empty, when the processor has no turbo, its registers cannot be read, or none holds a ratio.
    bool getTurboRatioLimits(zel::Array<IntelTurboRatioLimit>& limits) const;
    // Bus clock, multipliers and speeds: from the MSRs of the generation where a driver gives access to them, else what
    // CPUID leaves 0x15 and 0x16 and the brand string tell. The dynamic acceleration of a mobile Core 2 is its turbo. A
    // bus clock that nothing tells is left open. False, with `metrics` untouched, when nothing is known.
    bool getSpeedMetrics(x86_speed_metrics& metrics) const override;

  private:
    enum MatchRule : std::uint32_t {
        MatchExact = 0,  // the processor number equals an entry
        MatchPrefix = 1, // the processor number begins with an entry
    };

    // Exported under these names since the first release, and kept for what was linked with it.
    void findType();
    bool getPlatformId(std::uint64_t& value, bool refresh) const;
    bool processorNumberInList(const zel::String& list, MatchRule rule) const;
    bool getWolfdale_TCCActivationTemp(std::uint32_t& temperature) const;
    bool getAtom_TCCActivationTemp(std::uint32_t& temperature) const;
    bool getMaxTurboRatioAndSpeed(std::uint64_t busClock, std::uint32_t& maxRatio, std::uint64_t& maxSpeed) const;

    const x86_cpu* m_cpu;                      // not owned
    std::shared_ptr<IntelIdentity> m_identity; // copies share it: all but its memory of MSR 0x17 is settled
};

} // namespace libQuarrow::cpu
