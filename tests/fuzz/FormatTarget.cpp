// Any bytes in one format of recordings, or in one wrapping of them: CMake makes a target of each function of
// `formats`, which it names in QUARROW_FUZZED_FORMAT. What tells the formats apart is passed by; recording_fuzz has
// that.

#include <libQuarrow/recording/formats/CpuIdWinXml.h>
#include <libQuarrow/recording/formats/CpuzReportReader.h>
#include <libQuarrow/recording/formats/Decompression.h>
#include <libQuarrow/recording/formats/FirecrackerJson.h>
#include <libQuarrow/recording/formats/HwlocFormatReader.h>
#include <libQuarrow/recording/formats/KcpuidFormatReader.h>
#include <libQuarrow/recording/formats/LibcpuidFormatReader.h>
#include <libQuarrow/recording/formats/LinesParser.h>
#include <libQuarrow/recording/formats/ProcessorFiles.h>
#include <libQuarrow/recording/formats/QuarrowFormatReader.h>
#include <libQuarrow/recording/formats/ReportTextReader.h>
#include <tests/fuzz/RecordingCheck.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

using namespace libQuarrow::os;

namespace formats {

using Parsed = boost::optional<Recording>;

template <std::unique_ptr<FormatReader> (*makeReader)()>
Parsed lines(const std::string& bytes, const std::string& name, RecordingError& error) {
    FormatReaders readers;
    readers.push_back(makeReader());
    return parseLines(bytes, name, std::move(readers), error);
}

inline constexpr auto report_text = lines<makeReportTextReader>;
inline constexpr auto quarrow = lines<makeQuarrowFormatReader>;
inline constexpr auto libcpuid = lines<makeLibcpuidFormatReader>;
inline constexpr auto hwloc = lines<makeHwlocFormatReader>;
inline constexpr auto kcpuid = lines<makeKcpuidFormatReader>;
inline constexpr auto cpuz = lines<makeCpuzReportReader>;

inline Parsed cpuidwin(const std::string& bytes, const std::string& name, RecordingError& error) {
    return parseCpuIdWinXml(bytes, name, error);
}

inline Parsed firecracker(const std::string& bytes, const std::string& name, RecordingError& error) {
    return parseFirecrackerJson(bytes, name, error);
}

// With the checksums of its headers made right, which no mutation would find.
inline Parsed tar(std::string bytes, const std::string& name, RecordingError& error) {
    constexpr std::size_t block = 512;
    for (std::size_t at = 0; at < bytes.size() && bytes.size() - at >= block && bytes[at] != '\0';) {
        bytes.replace(at + 148, 8, 8, ' ');
        unsigned int sum = 0;
        for (std::size_t i = at; i < at + block; ++i) {
            sum += static_cast<unsigned char>(bytes[i]);
        }
        char number[16];
        std::snprintf(number, sizeof number, "%06o", sum);
        bytes.replace(at + 148, 7, number, 7);
        const std::size_t size = std::strtoull(bytes.substr(at + 124, 12).c_str(), nullptr, 8);
        at += block + std::min(size, bytes.size()) / block * block + (size % block != 0 ? block : 0);
    }
    return parseProcessorArchive(bytes, name, error);
}

inline Parsed compressed(const std::string& bytes, const std::string& name, RecordingError& error) {
    std::string_view contents = bytes;
    std::string unpacked;
    const std::string problem = decompress(contents, unpacked);
    require(unpacked.size() <= maxRecordingBytes, "no more is unpacked than a recording may have");
    if (!problem.empty()) {
        error.message = name + ": " + problem;
        return boost::none;
    }
    return quarrow(std::string(contents), name, error);
}

} // namespace formats

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    checkRecording(std::string(reinterpret_cast<const char*>(bytes), size), formats::QUARROW_FUZZED_FORMAT);
    return 0;
}
