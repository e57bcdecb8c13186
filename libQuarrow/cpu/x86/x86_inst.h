#pragma once

#include <libQuarrow/cpu/x86/x86_feature_flags.h>
#include <libQuarrow/machine/cpuid_args.h>
#include <libQuarrow/quarrow_export.h>
#include <zel/String.h>

#include <cstdint>

namespace libQuarrow::cpu {

class AffinityMask;

// Who made the processor, by the vendor string of CPUID leaf 0.
enum x86_cpu_vendor : std::uint32_t {
    x86_vendor_unknown = 0,
    x86_vendor_intel = 1,
    x86_vendor_amd = 2,
    x86_vendor_centaur = 3,
    x86_vendor_cyrix = 4,
};

// CPUID leaf 1 EAX, decoded.
struct x86_cpu_signature {
    std::uint32_t signature = 0;    // EAX as returned
    std::uint8_t family = 0;        // bits 8 to 11
    std::uint8_t model = 0;         // bits 4 to 7
    std::uint8_t extFamily = 0;     // bits 20 to 27
    std::uint8_t extModel = 0;      // bits 16 to 19
    std::uint8_t stepping = 0;      // bits 0 to 3
    std::uint8_t displayFamily = 0; // what the maker calls family and model; 0 unless displayValid
    std::uint8_t displayModel = 0;
    bool displayValid = false; // Intel and AMD only
};

// The processor's instructions, executed on the calling thread, and what they say of the processor that the thread
// happens to be on. Nothing here pins, logs or throws: whoever needs the answer of one particular processor moves the
// thread there first, or asks an x86_cpu. All members may be called from any thread.
class QUARROW_EXPORT x86_inst {
  public:
    // CPUID with EAX = leaf and EBX = ECX = EDX = 0. Null pointers are skipped.
    static void callCPUID(std::uint32_t leaf, std::uint32_t* eax, std::uint32_t* ebx, std::uint32_t* ecx,
                          std::uint32_t* edx);
    // CPUID with all four registers loaded from `in` and stored in `out`, which may be `in` itself.
    static void callCPUID(const cpuid_args& in, cpuid_args& out);
    static std::uint32_t maxCPUID();         // leaf 0 EAX
    static std::uint32_t maxExtendedCPUID(); // leaf 0x80000000 EAX

    // The time-stamp counter, read after a serialising CPUID.
    static std::uint64_t callRDTSC();

    // An MSR of the processor that the thread is on, through a driver opened for this one access. False when the driver
    // is not there or the access fails. The affinity is not used.
    static bool callRDMSR(std::uint32_t msr, std::uint64_t& value, const AffinityMask* affinity);
    static bool callWRMSR(std::uint32_t msr, std::uint64_t value, const AffinityMask* affinity);

    static x86_cpu_vendor getVendor();
    static zel::String getVendorName(); // the 12 characters of leaf 0
    // The brand string as leaves 0x80000002 to 0x80000004 hold it, blanks included; for Pentium II and III, which have
    // none, a name by signature; else empty.
    static zel::String getCpuName();
    static std::uint32_t getLocalApicId(); // leaf 1 EBX bits 24 to 31; 0 without leaf 1
    // False, with `signature` untouched, when there is no leaf 1.
    static bool getSignature(x86_cpu_signature& signature);

    // What the processor reports, and what of that the library itself relies on and the operating system has enabled.
    static x86_feature_flags getSupportedFeatures();
    static x86_feature_flags getAllowedFeatures();
    // True for every argument, as callers have come to rely on that. To compare with what a processor has, ask an
    // x86_cpu's supportsFeature().
    static bool featuresSupported(const x86_feature_flags& flags);
    static bool featuresAllowed(const x86_feature_flags& flags);

  private:
    static bool systemSupportsCPUID();
    static bool avxEnabled();
    static bool avx2Enabled();
    static void impSupportedFeatures(x86_feature_flags& out);
};

} // namespace libQuarrow::cpu
