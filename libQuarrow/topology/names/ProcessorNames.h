#pragma once

#include <libQuarrow/quarrow_export.h>
#include <libQuarrow/topology/Processor.h>

#include <cstdint>
#include <optional>
#include <string_view>

namespace libQuarrow::topology {

// What a processor, or a core of a processor with several kinds of them, is told by.
struct NamedProcessor {
    std::string_view vendor;  // the 12 characters of CPUID leaf 0
    std::string_view brand;   // the brand string of leaves 0x80000002 to 0x80000004; empty where there is none
    std::uint32_t family = 0; // as people say it: the extended field added where the base field is 15
    std::uint32_t model = 0;  // the extended field in front, where the maker uses it
    std::uint32_t stepping = 0;
    enum class Core { only, performance, efficient, lowPower } core = Core::only; // of which kind, on a hybrid
    std::optional<std::uint32_t> packageType = {}; // AMD and Hygon: leaf 0x80000001 EBX bits 28 to 31; none: its
                                                   // package is not asked for
};

// How people call it. Each is empty where no public source tells: there is no nearest row. The texts are constants of
// the library.
struct ProcessorNames {
    std::string_view microarchitecture; // of this kind of core, such as "Golden Cove" or "Zen 4"
    std::string_view codename;          // of the product, such as "Alder Lake" or "Genoa"
    std::string_view process;           // that the cores are made in: "45 nm", or as foundries name it, "Intel 7"
    std::string_view revision; // its stepping as the maker calls it: "D0", "RS-B1"; "C1/M0" where dies of one signature
                               // have steppings of their own
    std::string_view package;  // that AMD's processors are in: "AM5", "SP5"
};

// Looked up in tables of this library by maker, family, model and stepping, then by the brand where products of one
// signature have names of their own. Reads nothing; may be called from any thread.
QUARROW_EXPORT ProcessorNames namesOf(const NamedProcessor& processor);
QUARROW_EXPORT ProcessorNames namesOf(const Processor& processor);

} // namespace libQuarrow::topology
