#include <tools/quarrow/Words.h>

#include <tools/quarrow/os/Console.h>

#include <libQuarrow/topology/names/HypervisorNames.h>

#include <algorithm>
#include <cstdlib>

namespace quarrow {

using libQuarrow::topology::Cache;
using libQuarrow::topology::CacheFigures;
using libQuarrow::topology::CacheType;
using libQuarrow::topology::Hypervisor;
using libQuarrow::topology::ProcessorIdentity;
using libQuarrow::topology::ProcessorSet;
using libQuarrow::topology::TlbFigures;

namespace {

constexpr std::size_t labelColumns = 20;
constexpr std::size_t narrowest = 40;
constexpr std::size_t widest = 1000;

// "1.25": a quotient with as many of two decimals as it needs.
std::string quotient(std::uint64_t value, std::uint64_t unit) {
    std::string text =
        zel::String::SprintfFormat("%.2f", static_cast<double>(value) / static_cast<double>(unit)).toUtf8();
    text.erase(text.find_last_not_of('0') + 1);
    if (text.back() == '.') {
        text.pop_back();
    }
    return text;
}

std::string nameOfSignature(const std::string& signature) {
    const std::string_view known = libQuarrow::topology::hypervisorNamed(signature);
    return !known.empty()      ? std::string(known)
           : signature.empty() ? "yes, of an unknown maker"
                               : "\"" + signature + "\"";
}

} // namespace

std::string sizeText(std::uint64_t bytes) {
    constexpr std::uint64_t kilobyte = 1024;
    constexpr std::uint64_t megabyte = 1024 * kilobyte;
    constexpr std::uint64_t gigabyte = 1024 * megabyte;
    if (bytes >= gigabyte && bytes % (gigabyte / 4) == 0) {
        return quotient(bytes, gigabyte) + " GB";
    }
    if (bytes >= megabyte && bytes % (megabyte / 8) == 0) {
        return bytes % (megabyte / 4) == 0 ? quotient(bytes, megabyte) + " MB"
                                           : std::to_string(bytes / kilobyte) + " KB";
    }
    return bytes % kilobyte == 0 && bytes != 0 ? std::to_string(bytes / kilobyte) + " KB" : counted(bytes, "byte");
}

std::string counted(std::size_t count, const char* singular, const char* plural) {
    const std::string word = count == 1 ? singular : plural != nullptr ? plural : std::string(singular) + "s";
    return std::to_string(count) + " " + word;
}

std::string cacheName(const CacheFigures& figures) {
    std::string name = "L" + std::to_string(figures.level);
    return figures.type == CacheType::unified ? name : name + " " + nameOf(figures.type);
}

std::string cacheSize(const CacheFigures& figures) {
    return figures.type == CacheType::trace ? std::to_string(figures.sizeBytes / 1024) + "K micro-ops"
                                            : sizeText(figures.sizeBytes);
}

std::string waysText(const std::optional<std::uint32_t>& ways) {
    if (!ways) {
        return {};
    }
    return *ways == 0 ? "fully associative" : *ways == 1 ? "direct mapped" : std::to_string(*ways) + "-way";
}

std::string sharersText(const Cache& cache) {
    if (!cache.sharedBy) {
        return "who shares it is not known";
    }
    std::vector<std::string> sets;
    for (const ProcessorSet& processors : *cache.sharedBy) {
        sets.push_back(processors.toList());
    }
    return joined(sets, " | ");
}

std::string tlbName(const TlbFigures& figures) {
    return "L" + std::to_string(figures.level) + " " + nameOf(figures.type) + " TLB";
}

std::string pageSizesText(const TlbFigures& figures) {
    std::vector<std::string> pages;
    for (const std::uint64_t size : figures.pageSizes.list()) {
        pages.push_back(sizeText(size));
    }
    return joined(pages, " or ");
}

// The last of its interfaces is the hypervisor's own: what it imitates comes before, for systems that look no further.
std::string hypervisorName(const ProcessorIdentity& identity) {
    constexpr std::uint32_t hyperVInterface = 0x31237648; // "Hv#1"
    if (!identity.hypervisor) {
        return {};
    }
    std::vector<Hypervisor> all = identity.furtherHypervisors;
    all.insert(all.begin(), *identity.hypervisor);
    const std::string name = nameOfSignature(all.back().signature);
    std::vector<std::string> imitated;
    for (const Hypervisor& other : all) {
        const std::string otherName =
            other.interfaceSignature == hyperVInterface ? "Hyper-V" : nameOfSignature(other.signature);
        if (otherName != name && std::find(imitated.begin(), imitated.end(), otherName) == imitated.end()) {
            imitated.push_back(otherName);
        }
    }
    return imitated.empty() ? name : name + ", with the interface of " + joined(imitated, " and of ");
}

std::string avx10Text(const std::optional<libQuarrow::topology::Avx10>& avx10) {
    if (!avx10) {
        return {};
    }
    std::string widths;
    for (std::size_t i = 0; i < avx10->vectorBits.size(); ++i) {
        widths += (i == 0                              ? ""
                   : i + 1 == avx10->vectorBits.size() ? " and "
                                                       : ", ") +
                  std::to_string(avx10->vectorBits[i]);
    }
    return "version " + std::to_string(avx10->version) + (widths.empty() ? "" : ", vectors of " + widths + " bits");
}

std::string permissionText(const libQuarrow::topology::FeatureSet& usable) {
    return usable.contains("amx_tile")
               ? "AMX: arch_prctl(ARCH_REQ_XCOMP_PERM) on Linux, EnableProcessOptionalXStateFeatures on Windows"
               : std::string();
}

std::string levelText(const std::optional<std::uint32_t>& level) {
    return level ? "x86-64-v" + std::to_string(*level) : std::string();
}

std::string microcodeText(const std::optional<std::uint32_t>& revision) {
    return revision ? zel::String::SprintfFormat("0x%x", *revision).toUtf8() : std::string();
}

std::string featureNames(const libQuarrow::topology::FeatureSet& features) {
    std::string text;
    for (const std::string_view name : features.names()) {
        text += (text.empty() ? "" : " ") + std::string(name);
    }
    return text;
}

std::string orNone(const std::string& text) {
    return text.empty() ? "none" : text;
}

std::string joined(const std::vector<std::string>& texts, std::string_view separator) {
    std::string all;
    for (const std::string& text : texts) {
        if (!text.empty()) {
            all += (all.empty() ? "" : std::string(separator)) + text;
        }
    }
    return all;
}

std::string hanging(std::string before, const std::string& text, std::size_t columns, LongWords longWords) {
    const std::size_t indent = before.size();
    std::string all;
    for (const zel::String& part :
         wrapped(zel::String::fromUtf8(text), std::max(columns, indent + 8) - indent, longWords)) {
        all += before + printable(part) + "\n";
        before.assign(indent, ' ');
    }
    return all;
}

std::string paragraph(std::string_view label, std::string_view value, std::size_t columns) {
    std::string before(label);
    before.resize(std::max(before.size(), labelColumns), ' ');
    before += ": ";
    const std::string text = hanging(before, std::string(value), std::max(columns, narrowest), LongWords::whole);
    return text.empty() ? before + "\n" : text;
}

std::size_t outputColumns() {
    std::size_t columns = terminalWidth();
    const char* const environment = std::getenv("COLUMNS");
    if (columns == 0 && environment != nullptr) {
        columns = std::strtoul(environment, nullptr, 10);
    }
    return columns == 0 ? 80 : std::clamp(columns, narrowest, widest);
}

} // namespace quarrow
