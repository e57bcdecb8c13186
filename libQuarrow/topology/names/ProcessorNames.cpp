#include <libQuarrow/topology/names/ProcessorNames.h>

#include <libQuarrow/topology/names/amd_names.h>
#include <libQuarrow/topology/names/amd_packages.h>
#include <libQuarrow/topology/names/intel_names.h>
#include <libQuarrow/topology/names/other_names.h>
#include <libQuarrow/topology/names/steppings.h>

#include <string>

namespace libQuarrow::topology {
namespace {

template <class Row>
struct Rows {
    const Row* first = nullptr;
    const Row* last = nullptr;

    Rows() = default;
    template <std::size_t count>
    constexpr Rows(const Row (&rows)[count]) : first(rows), last(rows + count) {}
    const Row* begin() const { return first; }
    const Row* end() const { return last; }
};

// The tables of a maker.
struct Maker {
    std::string_view vendor; // as leaf 0 answers
    Rows<NameRow> names;
    Rows<BrandRow> brands = {};
    Rows<HybridRow> hybrids = {};
    Rows<SteppingRow> steppings = {};
    Rows<PackageRow> packages = {};
};

const Maker makers[] = {
    {"GenuineIntel", intelNames, intelBrandNames, intelHybrids, intelSteppings},
    {"AuthenticAMD", amdNames, amdBrandNames, amdHybrids, amdSteppings, amdPackages},
    {"AMDisbetter!", amdNames}, // the first K5
    {"AMD ISBETTER", amdNames}, // a later spelling of the same
    {"HygonGenuine", amdNames, {}, {}, amdSteppings, amdPackages},
    {"CentaurHauls", centaurNames},
    {"  Shanghai  ", centaurNames},
    {"CyrixInstead", cyrixNames},
    {"Geode by NSC", cyrixNames},
    {"GenuineTMx86", transmetaNames},
    {"TransmetaCPU", transmetaNames},
    {"Vortex86 SoC", vortexNames, vortexBrandNames},
    {"Genuine  RDC", rdcNames},
    {"SiS SiS SiS ", sisNames},
    {"RiseRiseRise", riseNames},
    {"NexGenDriven", nexGenNames},
    {"UMC UMC UMC ", umcNames},
};

template <class Row>
bool hasModel(const Row& row, const NamedProcessor& processor) {
    return row.family == processor.family && row.firstModel <= processor.model && processor.model <= row.lastModel;
}

template <class Row>
bool fits(const Row& row, const NamedProcessor& processor) {
    return hasModel(row, processor) && row.firstStepping <= processor.stepping &&
           processor.stepping <= row.lastStepping;
}

// The brand string with one blank where there are several: makers pad it.
std::string withSingleBlanks(std::string_view brand) {
    std::string text;
    for (const char c : brand) {
        if (c != ' ' || text.empty() || text.back() != ' ') {
            text += c;
        }
    }
    return text;
}

std::string_view textOf(const char* text) {
    return text != nullptr ? std::string_view(text) : std::string_view();
}

std::string_view microarchitectureOf(const NameRow& row, const Maker& maker, const NamedProcessor& processor) {
    using Core = NamedProcessor::Core;
    if (processor.core == Core::efficient || processor.core == Core::lowPower) {
        for (const HybridRow& hybrid : maker.hybrids) {
            if (hybrid.family == processor.family && hybrid.model == processor.model) {
                return textOf(processor.core == Core::efficient ? hybrid.efficient : hybrid.lowPower);
            }
        }
        return {}; // the row names the performance cores
    }
    return textOf(row.microarchitecture);
}

std::string_view codenameOf(const NameRow& row, const Maker& maker, const NamedProcessor& processor) {
    const std::string brand = withSingleBlanks(processor.brand);
    for (const BrandRow& product : maker.brands) {
        if (fits(product, processor) && brand.find(product.word) != std::string::npos) {
            return product.codename;
        }
    }
    return textOf(row.codename);
}

std::string_view revisionOf(const Maker& maker, const NamedProcessor& processor) {
    for (const SteppingRow& row : maker.steppings) {
        if (hasModel(row, processor) && row.stepping == processor.stepping) {
            return row.name;
        }
    }
    return {};
}

std::string_view packageOf(const Maker& maker, const NamedProcessor& processor) {
    if (!processor.packageType) {
        return {};
    }
    constexpr std::uint32_t familyThatTellsByModel = 15;
    const std::uint32_t type =
        processor.family == familyThatTellsByModel ? processor.model & 3 : *processor.packageType;
    for (const PackageRow& row : maker.packages) {
        if (hasModel(row, processor) && row.type == type) {
            return row.name;
        }
    }
    return {};
}

} // namespace

ProcessorNames namesOf(const NamedProcessor& processor) {
    for (const Maker& maker : makers) {
        if (maker.vendor != processor.vendor) {
            continue;
        }
        for (const NameRow& row : maker.names) {
            if (fits(row, processor)) {
                return {microarchitectureOf(row, maker, processor), codenameOf(row, maker, processor),
                        textOf(row.process), revisionOf(maker, processor), packageOf(maker, processor)};
            }
        }
    }
    return {};
}

ProcessorNames namesOf(const Processor& processor) {
    using Core = NamedProcessor::Core;
    const ProcessorIdentity& identity = *processor.identity;
    const Core core = !processor.kind                            ? Core::only
                      : *processor.kind == CoreKind::performance ? Core::performance
                      : *processor.kind == CoreKind::efficient   ? Core::efficient
                                                                 : Core::lowPower;
    // Hypervisors that say nothing of the package leave zeros there.
    const bool told = !identity.hypervisor || identity.packageType != 0;
    return namesOf({identity.vendor, identity.brand, identity.family, identity.model, identity.stepping, core,
                    told ? std::make_optional(identity.packageType) : std::nullopt});
}

} // namespace libQuarrow::topology
