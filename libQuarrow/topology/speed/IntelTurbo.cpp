#include <libQuarrow/topology/speed/IntelTurbo.h>

#include <libQuarrow/topology/decode/LeafReader.h>
#include <libQuarrow/topology/speed/IntelSpeed.h>
#include <libQuarrow/topology/speed/intel_models.h>

#include <array>

namespace libQuarrow::topology {
namespace {

// The ratios and the numbers of active cores that they hold for, a byte each.
struct TurboRegisters {
    std::uint32_t ratios;
    std::uint32_t counts;
};
constexpr TurboRegisters turboRegisters = {0x1AD, 0x1AE}; // MSR_TURBO_RATIO_LIMIT, _CORES
// MSR_SECONDARY_TURBO_RATIO_LIMIT, _CORES: of the efficient cores of a hybrid.
constexpr TurboRegisters secondaryTurboRegisters = {0x650, 0x651};

constexpr std::uint32_t bytesPerRegister = 8;
constexpr std::uint64_t oneToEight = 0x0807060504030201;
constexpr std::uint64_t semaphore = std::uint64_t{1} << 63; // of the last register of those of cores15 and cores18

std::uint32_t byteOf(std::uint64_t value, std::uint32_t index) {
    return static_cast<std::uint32_t>(value >> 8 * index & 0xFF);
}

// The registers of a table that is not of groups: how many there are, and whether the last one has the semaphore.
struct Extent {
    std::uint32_t registers;
    bool semaphoreInLast;
};
constexpr Extent extentOf(IntelTurboTable table) {
    return table == IntelTurboTable::cores18   ? Extent{3, true}
           : table == IntelTurboTable::cores15 ? Extent{2, true}
                                               : Extent{1, false};
}

// Counts ascend; an entry whose count is 0 is not in use, and one that repeats the count before it adds nothing.
class TurboList {
  public:
    explicit TurboList(std::uint32_t cores) : m_cores(cores) {}

    void add(std::uint64_t ratios, std::uint64_t counts, std::uint32_t countsBefore = 0) {
        for (std::uint32_t i = 0; i < bytesPerRegister; ++i) {
            const std::uint32_t count = byteOf(counts, i) == 0 ? 0 : countsBefore + byteOf(counts, i);
            const bool complete = m_cores != 0 && m_last >= m_cores;
            if (count > m_last && !complete && byteOf(ratios, i) != 0) {
                m_list.push_back({count, byteOf(ratios, i)});
                m_last = count;
            }
        }
    }
    std::vector<TurboRatio> take() && { return std::move(m_list); }

  private:
    const std::uint32_t m_cores; // 0: not known
    std::uint32_t m_last = 0;
    std::vector<TurboRatio> m_list;
};

} // namespace

std::uint32_t intelCoresOfPackage(const SpeedSources& sources) {
    using Level = cpu::TopologyLevelLeaf;
    constexpr std::uint32_t mostLevels = 8;
    LeafReader leaves(sources.cpuid);
    if (sources.model.identity.coreType) {
        return 0;
    }
    const std::uint32_t leaf =
        leaves.has(Level::v2Number) && leaves.read(Level::v2Number).ebx != 0 ? Level::v2Number : Level::number;
    std::uint32_t threadsPerCore = 0;
    std::uint32_t threads = 0;
    for (std::uint32_t i = 0; i < mostLevels; ++i) {
        const Level level(leaves.read(leaf, i));
        if (level.type == Level::invalid) {
            break;
        }
        threads = level.logicalProcessors;
        threadsPerCore = level.type == Level::thread ? level.logicalProcessors : threadsPerCore;
    }
    return threadsPerCore == 0 ? 0 : threads / threadsPerCore;
}

std::vector<TurboRatio> readIntelTurbo(const SpeedSources& sources) {
    const ProcessorIdentity& identity = sources.model.identity;
    const IntelTurboTable table = intelModelRow(identity.family, identity.model).turbo;
    const TurboRegisters registers = isEfficientIntelCore(sources) ? secondaryTurboRegisters : turboRegisters;
    std::uint64_t ratios = 0;
    if (table == IntelTurboTable::none || !identity.features.contains("ida") ||
        !sources.readMsr(registers.ratios, ratios)) {
        return {};
    }
    TurboList list(intelCoresOfPackage(sources));
    if (table == IntelTurboTable::groups || table == IntelTurboTable::groupsOrCores8) {
        std::uint64_t counts = 0;
        const bool told = sources.readMsr(registers.counts, counts) && counts != 0;
        // Without its count a group is of one core at least, and the first is the fastest.
        const std::uint64_t otherwise = table == IntelTurboTable::groups ? 1 : oneToEight;
        list.add(ratios, told ? counts : otherwise);
        return std::move(list).take();
    }
    const Extent extent = extentOf(table);
    list.add(ratios, oneToEight);
    for (std::uint32_t i = 1; i < extent.registers && sources.readMsr(registers.ratios + i, ratios); ++i) {
        const bool last = extent.semaphoreInLast && i == extent.registers - 1;
        list.add(last ? ratios & ~semaphore : ratios, oneToEight, i * bytesPerRegister);
    }
    return std::move(list).take();
}

} // namespace libQuarrow::topology
