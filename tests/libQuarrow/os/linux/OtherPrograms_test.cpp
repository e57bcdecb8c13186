// The machine that the tests run on: what lscpu and lstopo say of it, where they are installed.

#include <libQuarrow/topology/Topology.h>

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <map>
#include <memory>
#include <set>
#include <sstream>

using namespace libQuarrow::topology;

namespace {

std::string printedBy(const std::string& command) {
    std::string text;
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> pipe(popen((command + " 2>/dev/null").c_str(), "r"), pclose);
    std::array<char, 4096> buffer{};
    for (std::size_t count = 0; pipe && (count = std::fread(buffer.data(), 1, buffer.size(), pipe.get())) != 0;) {
        text.append(buffer.data(), count);
    }
    return text;
}

// The numbers of objects are each program's own, so that what is compared is which processors are together.
using Partition = std::set<std::string>;

Partition partitionOf(const std::vector<ProcessorSet>& sets) {
    Partition partition;
    for (const ProcessorSet& set : sets) {
        partition.insert(set.toList());
    }
    return partition;
}

TEST(LiveTopology, IsWhatLscpuShows) {
    std::istringstream lines(printedBy("lscpu -p=CPU,SOCKET,CORE"));
    std::map<std::string, ProcessorSet> sockets;
    std::map<std::string, ProcessorSet> cores;
    for (std::string line; std::getline(lines, line);) {
        std::uint32_t cpu = 0;
        char socket[16] = {};
        char core[16] = {};
        if (std::sscanf(line.c_str(), "%u,%15[^,],%15s", &cpu, socket, core) == 3) {
            sockets[socket].insert(cpu);
            cores[std::string(socket) + "," + core].insert(cpu);
        }
    }
    if (cores.empty()) {
        GTEST_SKIP() << "lscpu tells no cores";
    }
    const auto valuesOf = [](const std::map<std::string, ProcessorSet>& sets) {
        std::vector<ProcessorSet> values;
        for (const auto& [name, set] : sets) {
            values.push_back(set);
        }
        return values;
    };
    const Topology topology = Topology::read().value();
    EXPECT_EQ(partitionOf(topology.packages()), partitionOf(valuesOf(sockets)));
    EXPECT_EQ(partitionOf(topology.cores()), partitionOf(valuesOf(cores)));

    // Name, bytes of one, bytes of all, ways, type, level.
    std::istringstream caches(printedBy("lscpu --bytes -C=NAME,ONE-SIZE,ALL-SIZE,WAYS,TYPE,LEVEL"));
    std::size_t compared = 0;
    std::string name, type;
    std::uint64_t one = 0, all = 0;
    std::uint32_t ways = 0, level = 0;
    for (std::getline(caches, name); caches >> name >> one >> all >> ways >> type >> level; ++compared) {
        bool found = false;
        for (const Cache& cache : topology.caches()) {
            const auto& figures = cache.figures;
            found = found ||
                    (figures.level == level && std::string(nameOf(figures.type)).front() == (type.front() | 0x20) &&
                     figures.sizeBytes == one && figures.ways == ways && cache.instances() == all / one);
        }
        EXPECT_TRUE(found) << name << " " << one << " " << all << " " << ways << " " << type;
    }
    EXPECT_EQ(compared, topology.caches().size());
}

TEST(LiveTopology, IsWhatLstopoShows) {
    const std::string xml = printedBy("lstopo --of xml -");
    if (xml.empty()) {
        GTEST_SKIP() << "lstopo is not installed";
    }
    const Topology topology = Topology::read().value();
    std::map<std::string, std::size_t> ours = {{"Package", topology.packages().size()},
                                               {"Core", topology.cores().size()},
                                               {"PU", topology.processors().size()},
                                               {"NUMANode", topology.numaNodes().size()}};
    for (const Cache& cache : topology.caches()) {
        const bool isInstruction = cache.figures.type == CacheType::instruction;
        ours["L" + std::to_string(cache.figures.level) + (isInstruction ? "iCache" : "Cache")] +=
            cache.instances().value_or(0);
    }
    for (const auto& [type, count] : ours) {
        std::size_t theirs = 0;
        const std::string object = "object type=\"" + type + "\"";
        for (std::size_t at = xml.find(object); at != std::string::npos; at = xml.find(object, at + 1)) {
            ++theirs;
        }
        EXPECT_EQ(theirs, count) << type;
    }
}

} // namespace
