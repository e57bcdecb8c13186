#include <libQuarrow/cpu/x86/x86_physical_cpus.h>

#include <zel/Log.h>

#include <algorithm>
#include <utility>

namespace libQuarrow::cpu {
namespace {

// Depths of x86_cpu_location::equals.
constexpr std::uint32_t samePackage = 0x07; // chassis, node, cpu
constexpr std::uint32_t sameCore = 0x0F;    // and core

// The channel's name has its s one word too early on purpose: it is the one that people's log settings know.
zel::LogChannel& treeLog() {
    static zel::LogChannel& channel = zel::LogFactory::channel("libQuarrow.cpu_x86.x86_physicals_cpus");
    return channel;
}

zel::String coreReport(const x86_cpu_core& core, std::size_t number) {
    zel::String report = zel::String::SprintfFormat("   CORE[%u]       ", number).getFixedStr(17) + ": " +
                         core.getLocation().toString(true) + "\n";
    for (std::size_t k = 0; k < core.getThreadCount(); ++k) {
        const x86_cpu& thread = core.getThread(k);
        unsigned int apicId = 0;
        const zel::String apicIdText = thread.getApicId(apicId) ? zel::String::SprintfFormat("%08Xh", apicId) : " None";
        report +=
            zel::String::SprintfFormat("     THREAD[%u]   : %s - APICID:%s, Logical CPU#:%u\n", k,
                                       thread.getLocation().toString(true), apicIdText, thread.getLogicalCpuNumber());
    }
    return report;
}

} // namespace

x86_physical_cpus::x86_physical_cpus(bool useThreadAffinity) : x86_physical_cpus(useThreadAffinity, Visitor()) {}

x86_physical_cpus::x86_physical_cpus(bool useThreadAffinity, const Visitor& visit) {
    x86_cpu::visitLogicalCpus(useThreadAffinity, [&](std::unique_ptr<x86_cpu>& cpu) {
        const x86_cpu& read = *cpu;
        m_threads.append(x86_shared_cpu(cpu.release()));
        if (visit) {
            visit(read);
        }
    });
    const auto before = [](const x86_shared_cpu& a, const x86_shared_cpu& b) {
        return a->getLocation() < b->getLocation();
    };
    // Without the memory that sorting takes, where they are in order as often.
    if (!std::is_sorted(m_threads.begin(), m_threads.end(), before)) {
        std::stable_sort(m_threads.begin(), m_threads.end(), before);
    }
    for (std::size_t begin = 0; begin < m_threads.size();) {
        const std::size_t end = endOfRun(begin, m_threads.size(), samePackage);
        m_packages.append(makePackage(begin, end));
        begin = end;
    }
    if (treeLog().admits(zel::LogTrace)) {
        treeLog().log(zel::LogTrace, __LINE__, "\n" + toString());
    }
}

x86_physical_cpu x86_physical_cpus::makePackage(std::size_t begin, std::size_t end) const {
    zel::Array<x86_cpu_core> cores;
    for (std::size_t first = begin; first < end;) {
        const std::size_t next = endOfRun(first, end, sameCore);
        cores.append(x86_cpu_core(threads(first, next)));
        first = next;
    }
    return x86_physical_cpu(std::move(cores), threads(begin, end));
}

zel::Array<x86_shared_cpu> x86_physical_cpus::threads(std::size_t begin, std::size_t end) const {
    zel::Array<x86_shared_cpu> part;
    part.reserve(end - begin);
    for (std::size_t i = begin; i < end; ++i) {
        part.append(m_threads[i]);
    }
    return part;
}

// Where the threads from `begin` on stop agreeing with it in the fields that `depth` selects.
std::size_t x86_physical_cpus::endOfRun(std::size_t begin, std::size_t end, std::uint32_t depth) const {
    const x86_cpu_location& first = getThread(begin).getLocation();
    std::size_t i = begin + 1;
    while (i < end && getThread(i).getLocation().equals(first, depth)) {
        ++i;
    }
    return i;
}

zel::String x86_physical_cpus::toString() const {
    zel::String report;
    for (std::size_t i = 0; i < size(); ++i) {
        const x86_physical_cpu& package = m_packages[i];
        report += zel::String::SprintfFormat("PHYSICAL_CPU[%u]  : %s - %s\n", i, package.getLocation().toString(true),
                                             package.get().getCpuName());
        for (std::size_t j = 0; j < package.getCoreCount(); ++j) {
            report += coreReport(package.getCore(j), j);
        }
    }
    return report;
}

} // namespace libQuarrow::cpu
