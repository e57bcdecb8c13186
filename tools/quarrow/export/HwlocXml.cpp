#include <tools/quarrow/Text.h>
#include <tools/quarrow/TopologyReading.h>
#include <tools/quarrow/export/Exports.h>

#include <algorithm>
#include <map>

namespace quarrow {

using libQuarrow::topology::Cache;
using libQuarrow::topology::CacheType;
using libQuarrow::topology::CoreKind;
using libQuarrow::topology::NumaNode;

namespace {

struct HwlocObject {
    std::string type;
    std::optional<std::uint32_t> number; // hwloc's os_index
    ProcessorSet processors;
    std::string attributes = {};
    std::string infos = {};
    std::vector<std::size_t> children = {}; // normal ones
    std::vector<const NumaNode*> memory = {};
};

// hwloc's form of a set: words of 32 bits in hexadecimal, the highest first.
template <class Numbers>
std::string hwlocSet(const Numbers& numbers) {
    std::vector<std::uint32_t> words(1);
    for (const std::uint32_t number : numbers) {
        words.resize(std::max<std::size_t>(words.size(), number / 32 + 1));
        words[number / 32] |= std::uint32_t{1} << number % 32;
    }
    std::string text;
    for (auto word = words.rbegin(); word != words.rend(); ++word) {
        text += zel::String::SprintfFormat(text.empty() ? "0x%08x" : ",0x%08x", *word).toUtf8();
    }
    return text;
}

std::string hwlocInfo(const char* name, const std::string& value) {
    return value.empty()
               ? ""
               : "<info name=\"" + std::string(name) + "\" value=\"" + markup(zel::String::fromUtf8(value)) + "\"/>\n";
}

std::string xmlAttribute(const char* name, std::uint64_t value) {
    return " " + std::string(name) + "=\"" + std::to_string(value) + "\"";
}

// Builds the tree by containment and writes it.
class HwlocTree {
  public:
    explicit HwlocTree(const Topology& topology);
    std::string text() const;

  private:
    void collectLevels();
    void collectCaches();
    void nest();
    void placeMemory();
    ProcessorSet nodesOf(const ProcessorSet& processors) const;
    void write(std::size_t index, std::size_t depth, std::string& text, std::size_t& id) const;
    void writeMemory(const NumaNode& node, std::size_t depth, std::string& text, std::size_t& id) const;
    std::string kindsText() const;

    const Topology& m_topology;
    std::vector<NumaNode> m_nodes;
    std::vector<HwlocObject> m_objects; // the machine first
};

HwlocTree::HwlocTree(const Topology& topology) : m_topology(topology), m_nodes(topology.numaNodes()) {
    if (m_nodes.empty()) {
        m_nodes.push_back({0, topology.all()}); // hwloc knows no machine without memory
    }
    m_objects.push_back({"Machine", {}, topology.all()});
    collectLevels();
    collectCaches();
    for (const NumaNode& node : m_nodes) { // last, as the least of objects with the same processors
        const bool isAnObject = std::any_of(m_objects.begin(), m_objects.end(), [&node](const HwlocObject& object) {
            return object.processors == node.processors;
        });
        if (!isAnObject && !node.processors.empty()) {
            m_objects.push_back({"Group", {}, node.processors, " kind=\"0\" subkind=\"0\""});
        }
    }
    nest();
    placeMemory();
}

void HwlocTree::collectLevels() {
    const auto collect = [this](const char* type, const std::vector<ProcessorSet>& sets) {
        for (std::size_t n = 0; n < sets.size(); ++n) {
            m_objects.push_back({type, static_cast<std::uint32_t>(n), sets[n]});
        }
    };
    collect("Package", m_topology.packages());
    for (HwlocObject& object : m_objects) {
        if (object.type == "Package") {
            const auto& identity = *m_topology.find(*object.processors.first())->identity;
            object.infos = hwlocInfo("CPUVendor", identity.vendor) +
                           hwlocInfo("CPUFamilyNumber", std::to_string(identity.family)) +
                           hwlocInfo("CPUModelNumber", std::to_string(identity.model)) +
                           hwlocInfo("CPUModel", zel::String::fromUtf8(identity.brand).normalizeSpaces().toUtf8()) +
                           hwlocInfo("CPUStepping", std::to_string(identity.stepping));
        }
    }
    collect("Die", m_topology.dies());
    collect("Core", m_topology.cores());
    for (const Processor& processor : m_topology.processors()) {
        m_objects.push_back({"PU", processor.number, {processor.number}});
    }
}

void HwlocTree::collectCaches() {
    for (const Cache& cache : m_topology.caches()) {
        const auto& figures = cache.figures;
        const bool isInstruction = figures.type == CacheType::instruction;
        const std::uint32_t highest = isInstruction ? 3 : 5; // that hwloc has
        if (!cache.sharedBy || figures.type == CacheType::trace || figures.level > highest || figures.level == 0) {
            continue;
        }
        const int type = isInstruction ? 2 : figures.type == CacheType::data ? 1 : 0;
        // Of a fully associative cache hwloc says -1, of one that is not known 0.
        const std::string ways = !figures.ways ? "0" : *figures.ways == 0 ? "-1" : std::to_string(*figures.ways);
        const std::string attributes =
            xmlAttribute("cache_size", figures.sizeBytes) + xmlAttribute("depth", figures.level) +
            xmlAttribute("cache_linesize", figures.lineSizeBytes) + " cache_associativity=\"" + ways +
            "\" cache_type=\"" + std::to_string(type) + "\"";
        const std::string name = "L" + std::to_string(figures.level) + (isInstruction ? "iCache" : "Cache");
        for (const ProcessorSet& processors : *cache.sharedBy) {
            m_objects.push_back({name,
                                 {},
                                 processors,
                                 attributes,
                                 figures.inclusive ? hwlocInfo("Inclusive", *figures.inclusive ? "1" : "0") : ""});
        }
    }
}

// From the largest to the smallest, each goes below the innermost one so far of its processors. One that would lie in
// two is no part of a tree and is left out.
void HwlocTree::nest() {
    const std::vector<std::string> order = {"Machine", "Package",  "Die",      "Group",   "L5Cache",
                                            "L4Cache", "L3Cache",  "L3iCache", "L2Cache", "L2iCache",
                                            "L1Cache", "L1iCache", "Core",     "PU"};
    const auto rank = [&order](const HwlocObject& object) {
        return std::find(order.begin(), order.end(), object.type) - order.begin();
    };
    std::vector<std::size_t> counts;
    std::vector<std::size_t> sorted;
    for (const HwlocObject& object : m_objects) {
        sorted.push_back(counts.size());
        counts.push_back(object.processors.count());
    }
    std::stable_sort(sorted.begin(), sorted.end(), [&](std::size_t a, std::size_t b) {
        return counts[a] != counts[b] ? counts[a] > counts[b] : rank(m_objects[a]) < rank(m_objects[b]);
    });
    std::map<std::uint32_t, std::size_t> innermost;
    for (const std::uint32_t processor : m_topology.all()) {
        innermost[processor] = 0;
    }
    for (const std::size_t index : sorted) {
        const ProcessorSet& processors = m_objects[index].processors;
        if (index == 0 || processors.empty()) {
            continue;
        }
        const std::size_t parent = innermost.at(*processors.first());
        if (std::all_of(processors.begin(), processors.end(),
                        [&](std::uint32_t processor) { return innermost.at(processor) == parent; })) {
            m_objects[parent].children.push_back(index);
            for (const std::uint32_t processor : processors) {
                innermost[processor] = index;
            }
        }
    }
    for (HwlocObject& object : m_objects) {
        std::sort(object.children.begin(), object.children.end(), [this](std::size_t a, std::size_t b) {
            return *m_objects[a].processors.first() < *m_objects[b].processors.first();
        });
    }
}

// A node hangs on the outermost object below the machine with its processors, one without any on the machine.
void HwlocTree::placeMemory() {
    for (const NumaNode& node : m_nodes) {
        std::size_t place = 0;
        for (std::size_t index = 1; index < m_objects.size() && place == 0; ++index) {
            place = m_objects[index].processors == node.processors ? index : 0;
        }
        m_objects[place].memory.push_back(&node);
    }
}

// The numbers of the nodes that are near to any of them.
ProcessorSet HwlocTree::nodesOf(const ProcessorSet& processors) const {
    ProcessorSet nodes;
    for (const NumaNode& node : m_nodes) {
        if (!(node.processors & processors).empty() || processors == m_topology.all()) {
            nodes.insert(node.number);
        }
    }
    return nodes;
}

void HwlocTree::writeMemory(const NumaNode& node, std::size_t depth, std::string& text, std::size_t& id) const {
    const std::string set = hwlocSet(node.processors);
    const std::string number = hwlocSet(ProcessorSet{node.number});
    text += std::string(2 * depth, ' ') + "<object type=\"NUMANode\"" + xmlAttribute("os_index", node.number) +
            " cpuset=\"" + set + "\" complete_cpuset=\"" + set + "\" nodeset=\"" + number + "\" complete_nodeset=\"" +
            number + "\"" + xmlAttribute("gp_index", ++id) + "/>\n";
}

void HwlocTree::write(std::size_t index, std::size_t depth, std::string& text, std::size_t& id) const {
    const HwlocObject& object = m_objects[index];
    const std::string indent(2 * depth, ' ');
    const std::string set = hwlocSet(object.processors);
    const std::string nodes = hwlocSet(nodesOf(object.processors));
    text += indent + "<object type=\"" + object.type + "\"" +
            (object.number ? xmlAttribute("os_index", *object.number) : "") + " cpuset=\"" + set +
            "\" complete_cpuset=\"" + set + "\"" + (index == 0 ? " allowed_cpuset=\"" + set + "\"" : "") +
            " nodeset=\"" + nodes + "\" complete_nodeset=\"" + nodes + "\"" +
            (index == 0 ? " allowed_nodeset=\"" + nodes + "\"" : "") + xmlAttribute("gp_index", ++id) +
            object.attributes + ">\n" + object.infos;
    for (const NumaNode* node : object.memory) {
        writeMemory(*node, depth + 1, text, id);
    }
    for (const std::size_t child : object.children) {
        write(child, depth + 1, text, id);
    }
    text += indent + "</object>\n";
}

// The most efficient kind first, as hwloc ranks them. CoreType is what hwloc itself says of Intel's.
std::string HwlocTree::kindsText() const {
    std::string text;
    int efficiency = 0;
    for (const CoreKind kind : {CoreKind::lowPower, CoreKind::efficient, CoreKind::performance}) {
        const ProcessorSet processors = m_topology.ofKind(kind);
        if (!processors.empty()) {
            const bool isIntel = m_topology.find(*processors.first())->identity->vendor == "GenuineIntel";
            const char* const type = kind == CoreKind::performance ? "IntelCore" : "IntelAtom";
            text += "<cpukind cpuset=\"" + hwlocSet(processors) + "\" forced_efficiency=\"" +
                    std::to_string(efficiency++) + "\">\n" + hwlocInfo("CoreType", isIntel ? type : "") +
                    hwlocInfo("CoreKind", nameOf(kind)) + "</cpukind>\n";
        }
    }
    return text;
}

std::string HwlocTree::text() const {
    std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!DOCTYPE topology SYSTEM \"hwloc2.dtd\">\n"
                       "<topology version=\"2.0\">\n";
    std::size_t id = 0;
    write(0, 1, text, id);
    return text + kindsText() + "</topology>\n";
}

} // namespace

std::string hwlocXml(const Topology& topology) {
    return HwlocTree(topology).text();
}

} // namespace quarrow
