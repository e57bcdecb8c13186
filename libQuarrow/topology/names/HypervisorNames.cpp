#include <libQuarrow/topology/names/HypervisorNames.h>

namespace libQuarrow::topology {
namespace {

struct HypervisorRow {
    std::string_view signature; // leaf 0x40000000: EBX, ECX, EDX
    std::string_view name;
};

// From the hypervisors' own documents (KVM: Linux, Documentation/virt/kvm/x86/cpuid.rst; Hyper-V: top-level functional
// reference; Xen: public/arch-x86/cpuid.h) and what Linux and systemd recognise.
// clang-format off
constexpr HypervisorRow hypervisors[] = {
    {" QNXQVMBSQG ",  "QNX"},
    {" lrpepyh  vr",  "Parallels"},
    {" lrpepyh vr",   "Parallels"},
    {"ACRNACRNACRN",  "ACRN"},
    {"Apple VZ",      "Virtualization.framework"},
    {"EVMMEVMMEVMM",  "Intel KGT"},
    {"HAXMHAXMHAXM",  "HAXM"},
    {"Jailhouse",     "Jailhouse"},
    {"KVMKVMKVM",     "KVM"},
    {"Linux KVM Hv",  "KVM"},
    {"Microsoft Hv",  "Hyper-V"},
    {"OpenBSDVMM58",  "OpenBSD VMM"},
    {"QNXQVMBSQG",    "QNX"},
    {"SRESRESRESRE",  "LMHS"},
    {"TCGTCGTCGTCG",  "QEMU TCG"},
    {"UnisysSpar64",  "Unisys s-Par"},
    {"VBoxVBoxVBox",  "VirtualBox"},
    {"VMwareVMware",  "VMware"},
    {"XenVMMXenVMM",  "Xen"},
    {"___ NVMM ___",  "NVMM"},
    {"bhyve bhyve ",  "bhyve"},
    {"prl hyperv  ",  "Parallels"},
};
// clang-format on

} // namespace

std::string_view hypervisorNamed(std::string_view signature) {
    for (const HypervisorRow& row : hypervisors) {
        if (row.signature == signature) {
            return row.name;
        }
    }
    return {};
}

} // namespace libQuarrow::topology
