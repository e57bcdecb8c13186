#include <libQuarrow/cpu/x86/x86_cache.h>
#include <libQuarrow/cpu/x86/x86_vendor_info.h>

#include <gtest/gtest.h>
#include <tests/support/AmdProcessor.h>
#include <tests/support/LogCapture.h>

using namespace libQuarrow::cpu;
using testing_support::AmdProcessor;

namespace {

struct Access : x86_vendor_info {
    using x86_vendor_info::getCacheTopologyInfo;
};

// Intel's leaf 4 is tested with x86_intel_info.
TEST(x86_cache_topology, is_read_on_amd_where_topology_extensions_are) {
    for (const bool supported : {true, false}) {
        AmdProcessor processor(0x600F12);
        processor.maxExtendedLeaf(0x8000001E).leaf(0x80000001, {0, 0, supported ? 1u << 22 : ~(1u << 22), 0});
        processor.leaf(0x8000001D, {0x00004143, 0x03C0003F, 0x000007FF, 0});
        const testing_support::CurrentMachine machine(std::vector<AmdProcessor>{processor});
        const x86_cpu cpu(AffinityMask(WinAffinity(1)), true, 0, 0);

        const testing_support::LogCapture log;
        zel::Array<x86_cache> caches{x86_cache(), x86_cache()};
        EXPECT_EQ(Access::getCacheTopologyInfo(cpu, caches), supported);
        EXPECT_EQ(log.messages(), std::vector<std::string>{
                                      std::string("1 libQuarrow.x86_vendor_info: CPUID - Cache topology supported: ") +
                                      (supported ? "yes" : "no")});
        EXPECT_EQ(caches.size(), supported ? 1u : 2u); // refused: left as it was
        std::uint32_t id = 0;
        std::uint32_t mask = 0;
        EXPECT_FALSE(caches[0].getTopologyIds(id, mask)); // those are for Intel
    }
}

} // namespace
