#include <libQuarrow/os/windows/cpu/x86/CpuSetAPI.h>

#include <libQuarrow/os/windows/cpu/x86/bind.h>

namespace libQuarrow::cpu {
namespace {

std::vector<GROUP_AFFINITY> read(CpuSetAPI::Get get, HANDLE object) {
    USHORT count = 0;
    get(object, nullptr, 0, &count); // fails for want of room where there are some
    std::vector<GROUP_AFFINITY> masks(count);
    if (count == 0 || get(object, masks.data(), count, &count) == FALSE || count > masks.size()) {
        return {};
    }
    masks.resize(count);
    return masks;
}

boost::optional<CpuSetAPI> bindAll() {
    CpuSetAPI api;
    api.m_kernel32 = zel::DynamicLibrary("kernel32.dll");
    if (!api.m_kernel32.load()) {
        return boost::none;
    }
    WORD(WINAPI * groupCount)() = nullptr;
    bind(api.m_kernel32, "GetActiveProcessorGroupCount", groupCount);
    bind(api.m_kernel32, "GetThreadSelectedCpuSetMasks", api.m_pGetThreadSelectedCpuSetMasks);
    bind(api.m_kernel32, "SetThreadSelectedCpuSetMasks", api.m_pSetThreadSelectedCpuSetMasks);
    bind(api.m_kernel32, "GetProcessDefaultCpuSetMasks", api.m_pGetProcessDefaultCpuSetMasks);
    const bool useful = groupCount != nullptr && groupCount() > 1 && api.m_pGetThreadSelectedCpuSetMasks != nullptr &&
                        api.m_pSetThreadSelectedCpuSetMasks != nullptr &&
                        api.m_pGetProcessDefaultCpuSetMasks != nullptr;
    return boost::make_optional(useful, api);
}

} // namespace

boost::optional<CpuSetAPI> CpuSetAPI::create() {
    static const boost::optional<CpuSetAPI> bound = bindAll();
    return bound;
}

std::vector<GROUP_AFFINITY> CpuSetAPI::ofThread() const {
    return read(m_pGetThreadSelectedCpuSetMasks, GetCurrentThread());
}

std::vector<GROUP_AFFINITY> CpuSetAPI::ofProcess() const {
    return read(m_pGetProcessDefaultCpuSetMasks, GetCurrentProcess());
}

} // namespace libQuarrow::cpu
