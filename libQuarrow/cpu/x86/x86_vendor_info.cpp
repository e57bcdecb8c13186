#include <libQuarrow/cpu/x86/x86_vendor_info.h>

#include <libQuarrow/cpu/x86/x86_amd_info.h>
#include <libQuarrow/cpu/x86/x86_cpu.h>
#include <libQuarrow/cpu/x86/x86_intel_info.h>

namespace libQuarrow::cpu {

x86_vendor_info::~x86_vendor_info() = default;

bool x86_vendor_info::getCaches(x86_caches&) const {
    return false;
}

bool x86_vendor_info::getRevisionString(zel::String&) const {
    return false;
}

bool x86_vendor_info::getTechnologyString(zel::String&) const {
    return false;
}

bool x86_vendor_info::getSocketTypeString(zel::String&) const {
    return false;
}

bool x86_vendor_info::getSpeedMetrics(x86_speed_metrics&) const {
    return false;
}

x86_vendor_info* x86_vendor_info::getVendorInfoClass(const x86_cpu& cpu) {
    switch (cpu.getVendor()) {
    case x86_vendor_intel:
        return new x86_intel_info(cpu);
    case x86_vendor_amd:
        return new x86_amd_info(cpu);
    default:
        return new x86_vendor_info();
    }
}

} // namespace libQuarrow::cpu
