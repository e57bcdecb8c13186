#pragma once

#include <libQuarrow/document/ProcessorWords.h>
#include <libQuarrow/topology/Topology.h>
#include <tools/quarrow/Text.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// How the commands say what a machine has.

namespace quarrow {

// "48 KB", "1.25 MB"; bytes where it is not a round number of either.
std::string sizeText(std::uint64_t bytes);
// "1 core", "16 cores".
std::string counted(std::size_t count, const char* singular, const char* plural = nullptr);
// "L1 data", "L3".
std::string cacheName(const libQuarrow::topology::CacheFigures& figures);
// "48 KB"; of a trace cache "12K micro-ops".
std::string cacheSize(const libQuarrow::topology::CacheFigures& figures);
// "8-way", "fully associative"; empty where it is not known.
std::string waysText(const std::optional<std::uint32_t>& ways);
// "0-3 | 4-7"
std::string sharersText(const libQuarrow::topology::Cache& cache);
// "L1 data TLB"
std::string tlbName(const libQuarrow::topology::TlbFigures& figures);
// "2 MB or 4 MB"
std::string pageSizesText(const libQuarrow::topology::TlbFigures& figures);
using libQuarrow::document::affinityText;
using libQuarrow::document::processorName;
// "KVM"; the signature in quotes where it is of an unknown one; "KVM, with Hyper-V's interface" where it imitates
// others. Empty without a hypervisor.
std::string hypervisorName(const libQuarrow::topology::ProcessorIdentity& identity);
// "version 2, vectors of 128, 256 and 512 bits"; empty without AVX10.
std::string avx10Text(const std::optional<libQuarrow::topology::Avx10>& avx10);
// What a program has to do before it may use those features; empty where nothing.
std::string permissionText(const libQuarrow::topology::FeatureSet& usable);
// "x86-64-v3"; empty below the first level.
std::string levelText(const std::optional<std::uint32_t>& level);
// "0x2b000590", as systems write it; empty for a processor whose revision is not known.
std::string microcodeText(const std::optional<std::uint32_t>& revision);
// The names, blanks between them.
std::string featureNames(const libQuarrow::topology::FeatureSet& features);
// The text, or "none" for an empty one.
std::string orNone(const std::string& text);
// "a, b, c" of those that are not empty.
std::string joined(const std::vector<std::string>& texts, std::string_view separator = ", ");

// `text` in lines of so many columns behind what stands before it, broken at blanks, further lines below its beginning.
std::string hanging(std::string before, const std::string& text, std::size_t columns,
                    LongWords longWords = LongWords::cut);
// "Label               : value" and a line feed, the value broken at blanks, and long lists behind commas, where the
// line would be longer than `columns`, further lines indented to the value. A file name stays whole.
std::string paragraph(std::string_view label, std::string_view value, std::size_t columns);
// Columns of the terminal; where there is none, of $COLUMNS, or 80.
std::size_t outputColumns();

} // namespace quarrow
