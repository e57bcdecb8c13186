#pragma once

#include <libQuarrow/quarrow_export.h>
#include <zel/Array.h>
#include <zel/String.h>

namespace libQuarrow::cpu {

class x86_cache;
class x86_caches;
class x86_cpu;
struct x86_speed_metrics;

// What is known of a logical processor by its maker. This base knows nothing: every query is false and leaves its
// argument untouched.
class QUARROW_EXPORT x86_vendor_info {
  public:
    x86_vendor_info() = default;
    x86_vendor_info(const x86_vendor_info&) = default;
    x86_vendor_info& operator=(const x86_vendor_info&) = default;
    virtual ~x86_vendor_info();

    virtual bool getCaches(x86_caches& caches) const;
    virtual bool getRevisionString(zel::String& text) const;
    virtual bool getTechnologyString(zel::String& text) const;
    virtual bool getSocketTypeString(zel::String& text) const;
    virtual bool getSpeedMetrics(x86_speed_metrics& metrics) const;

    // A new object for the processor's maker, owned by the caller. It keeps a pointer to `cpu`, which must outlive it.
    static x86_vendor_info* getVendorInfoClass(const x86_cpu& cpu);

  protected:
    // Replaces `caches` by what CPUID leaf 4 (Intel) or 0x8000001D (AMD) says, in the leaf's order. The only source
    // that tells how many threads share a cache; for Intel with topology IDs where the APIC ID is known. False when it
    // describes no cache, or when a read fails, with what was found before that; with `caches` untouched for another
    // maker and for an AMD processor without topology extensions.
    static bool getCacheTopologyInfo(const x86_cpu& cpu, zel::Array<x86_cache>& caches);
};

} // namespace libQuarrow::cpu
