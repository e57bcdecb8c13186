#include <tools/quarrow/Text.h>
#include <tools/quarrow/export/Exports.h>
#include <tools/quarrow/fleet/FleetMachine.h>

namespace quarrow {
namespace {

using Labels = std::vector<std::pair<const char*, std::string>>;

std::string labelsText(const Labels& labels) {
    std::string text;
    for (const auto& [name, value] : labels) {
        text += (text.empty() ? "{" : ",") + std::string(name) + "=\"";
        for (const char c : oneLine(value)) {
            text += c == '"' || c == '\\' ? std::string{'\\', c} : std::string(1, c);
        }
        text += '"';
    }
    return text.empty() ? text : text + "}";
}

// All samples of a metric stand together, below what says what it is.
class Metric {
  public:
    Metric(const char* name, const char* help)
        : m_name(name), m_text("# HELP " + m_name + " " + help + "\n# TYPE " + m_name + " gauge\n") {}
    Metric& add(std::uint64_t value, const Labels& labels = {}) {
        m_text += m_name + labelsText(labels) + " " + std::to_string(value) + "\n";
        return *this;
    }
    const std::string& text() const { return m_text; }

  private:
    std::string m_name;
    std::string m_text;
};

std::string prometheusCaches(const libQuarrow::topology::Topology& topology) {
    Metric sizes("quarrow_cache_size_bytes", "Size of one cache.");
    Metric instances("quarrow_caches", "How many such caches the machine has.");
    for (const auto& cache : topology.caches()) {
        if (cache.figures.type == libQuarrow::topology::CacheType::trace) {
            continue; // has no size in bytes
        }
        const Labels labels = {{"level", std::to_string(cache.figures.level)},
                               {"type", nameOf(cache.figures.type)},
                               {"processors", cache.processors.toList()}};
        sizes.add(cache.figures.sizeBytes, labels);
        if (cache.instances()) {
            instances.add(*cache.instances(), labels);
        }
    }
    return topology.caches().empty() ? std::string() : sizes.text() + instances.text();
}

} // namespace

std::string prometheusText(const libQuarrow::topology::Topology& topology) {
    const FleetMachine machine = fleetMachineOf(topology);
    Metric kindCores("quarrow_kind_cores", "Cores of each kind.");
    Metric kindThreads("quarrow_kind_threads", "Logical processors of each kind of core.");
    for (const FleetKind& kind : machine.kinds) {
        const Labels labels = {{"kind", kind.kind}, {"microarchitecture", kind.microarchitecture}};
        kindCores.add(kind.cores, labels);
        kindThreads.add(kind.threads, labels);
    }
    Metric usable("quarrow_feature_usable", "Features that programs can use on every logical processor.");
    for (const std::string_view feature : machine.usable.names()) {
        usable.add(1, {{"feature", std::string(feature)}});
    }
    std::string text =
        Metric("quarrow_machine_info", "What the processors are.")
            .add(1, {{"name", fleetName(machine)},
                     {"vendor", machine.vendor},
                     {"codename", machine.codename},
                     {"family", std::to_string(machine.family)},
                     {"model", std::to_string(machine.model)},
                     {"stepping", std::to_string(machine.stepping)},
                     {"hypervisor", machine.hypervisor},
                     {"quarrow", QUARROW_VERSION}})
            .text() +
        Metric("quarrow_x86_64_level", "The x86-64 level that every logical processor runs; 0 below the first.")
            .add(machine.level.value_or(0))
            .text() +
        Metric("quarrow_packages", "Processor packages.").add(machine.packages).text() +
        Metric("quarrow_cores", "Cores.").add(machine.cores).text() +
        Metric("quarrow_threads", "Logical processors.").add(machine.threads).text();
    if (machine.dies) {
        text += Metric("quarrow_dies", "Dies.").add(*machine.dies).text();
    }
    if (!topology.numaNodes().empty()) {
        text += Metric("quarrow_numa_nodes", "NUMA nodes.").add(topology.numaNodes().size()).text();
    }
    return text + kindCores.text() + kindThreads.text() + prometheusCaches(topology) +
           (machine.usable.empty() ? std::string() : usable.text());
}

} // namespace quarrow
