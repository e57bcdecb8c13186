// The machine that the tests run on: what the kernel shows of it.

#include <libQuarrow/topology/Topology.h>
#include <tests/support/TopologyInvariants.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

using namespace libQuarrow::topology;

namespace {

const std::string folder = "/sys/devices/system/cpu/cpu";

std::string lineOf(const std::string& path) {
    std::ifstream in(path);
    std::string line;
    std::getline(in, line);
    return line;
}

std::optional<CacheType> typeOf(const std::string& text) {
    return text == "Data"          ? std::make_optional(CacheType::data)
           : text == "Instruction" ? std::make_optional(CacheType::instruction)
           : text == "Unified"     ? std::make_optional(CacheType::unified)
                                   : std::nullopt;
}

// The kernel's caches are all there, with the same figures and users. Answers how many.
std::size_t compareCaches(const Topology& topology, const Processor& processor) {
    std::size_t compared = 0;
    for (;; ++compared) {
        const std::string path = folder + std::to_string(processor.number) + "/cache/index" + std::to_string(compared);
        if (!std::filesystem::exists(path)) {
            return compared;
        }
        const std::uint32_t level = static_cast<std::uint32_t>(std::stoul(lineOf(path + "/level")));
        bool found = false;
        for (const Processor::CacheUse& use : processor.caches) {
            const Cache& cache = topology.caches()[use.cache];
            if (cache.figures.level != level || cache.figures.type != typeOf(lineOf(path + "/type"))) {
                continue;
            }
            found = true;
            EXPECT_EQ(std::to_string(cache.figures.sizeBytes / 1024) + "K", lineOf(path + "/size")) << path;
            EXPECT_EQ(std::to_string(cache.figures.lineSizeBytes), lineOf(path + "/coherency_line_size")) << path;
            EXPECT_EQ(std::to_string(cache.figures.ways.value_or(99)), lineOf(path + "/ways_of_associativity")) << path;
            EXPECT_EQ(use.instance ? (*cache.sharedBy)[*use.instance] : ProcessorSet(),
                      ProcessorSet::fromList(lineOf(path + "/shared_cpu_list")).value())
                << path;
        }
        EXPECT_TRUE(found) << path;
    }
}

TEST(LiveTopology, IsWhatTheKernelShows) {
    const Topology topology = Topology::read().value();
    EXPECT_EQ(testing_support::contradictionIn(topology), "");
    ASSERT_FALSE(topology.processors().empty());
    if (!topology.leftOut().empty()) {
        GTEST_SKIP() << "the kernel shows processors that this process may not use";
    }
    EXPECT_EQ(topology.all(), ProcessorSet::fromList(lineOf("/sys/devices/system/cpu/online")));
    for (const Processor& processor : topology.processors()) {
        const std::string place = folder + std::to_string(processor.number) + "/topology/";
        EXPECT_EQ(topology.packages()[processor.package], ProcessorSet::fromList(lineOf(place + "package_cpus_list")));
        EXPECT_EQ(topology.cores()[processor.core], ProcessorSet::fromList(lineOf(place + "core_cpus_list")));
        if (processor.die) {
            EXPECT_EQ(topology.dies()[*processor.die], ProcessorSet::fromList(lineOf(place + "die_cpus_list")));
        }
        if (std::filesystem::exists(folder + std::to_string(processor.number) + "/cache/index0")) {
            EXPECT_EQ(compareCaches(topology, processor), processor.caches.size());
        }
    }
    for (const NumaNode& node : topology.numaNodes()) {
        const std::string list = lineOf("/sys/devices/system/node/node" + std::to_string(node.number) + "/cpulist");
        EXPECT_EQ(node.processors.toList(), list);
    }
    EXPECT_EQ(topology.numaNodes().empty(), !std::filesystem::exists("/sys/devices/system/node/node0"));
}

// /proc/cpuinfo is the other place where the kernel shows it.
TEST(LiveTopology, HasTheMicrocodeThatTheKernelShows) {
    std::map<std::uint32_t, std::uint32_t> shown;
    std::ifstream report("/proc/cpuinfo");
    std::uint32_t processor = 0;
    for (std::string word, colon, value; report >> word;) {
        if (word == "processor" && report >> colon >> value) {
            processor = static_cast<std::uint32_t>(std::stoul(value));
        } else if (word == "microcode" && report >> colon >> value && std::stoull(value, nullptr, 16) != 0xFFFFFFFF) {
            shown[processor] = static_cast<std::uint32_t>(std::stoull(value, nullptr, 16));
        }
    }
    TopologyRequest request;
    request.microcode = true;
    std::map<std::uint32_t, std::uint32_t> told;
    const Topology topology = Topology::read(request).value();
    for (const Processor& p : topology.processors()) {
        if (p.microcode) {
            told[p.number] = *p.microcode;
        }
    }
    EXPECT_EQ(told, shown);
}

} // namespace
