#include <libQuarrow/topology/names/HypervisorNames.h>

namespace libQuarrow::topology {
namespace {

struct HypervisorRow {
    std::string_view signature; // leaf 0x40000000: EBX, ECX, EDX
    std::string_view name;
};

// What programs recognise: systemd, src/basic/virt.c; VMAware, its table of signatures; steam-runtime (FEX-Emu);
// kvmtool, which is LKVM; and Barevisor's own documents.
// clang-format off
constexpr HypervisorRow hypervisors[] = {
    {" QNXQVMBSQG ",  "QNX"},
    {" lrpepyh  vr",  "Parallels"},
    {" lrpepyh vr",   "Parallels"},
    {" prl hyperv ",  "Parallels"},
    {"ACRNACRNACRN",  "ACRN"},
    {"Apple VZ",      "Virtualization.framework"},
    {"BHyVE BHyVE ",  "bhyve"},
    {"Barevisor!",    "Barevisor"},
    {"EVMMEVMMEVMM",  "Intel KGT"},
    {"FEXIFEXIEMU",   "FEX-Emu"},
    {"HAXMHAXMHAXM",  "HAXM"},
    {"Jailhouse",     "Jailhouse"},
    {"KVMKVMKVM",     "KVM"},
    {"LKVMLKVMLKVM",  "KVM"},
    {"Linux KVM Hv",  "KVM"},
    {"Microsoft Hv",  "Hyper-V"},
    {"MiniVisor",     "MiniVisor"},
    {"NoirVisor ZT",  "NoirVisor"},
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
