#include <libQuarrow/recording/formats/RecordingParser.h>

#include <libQuarrow/recording/formats/CpuIdWinXml.h>
#include <libQuarrow/recording/formats/CpuzReportReader.h>
#include <libQuarrow/recording/formats/Decompression.h>
#include <libQuarrow/recording/formats/FirecrackerJson.h>
#include <libQuarrow/recording/formats/HwlocFormatReader.h>
#include <libQuarrow/recording/formats/KcpuidFormatReader.h>
#include <libQuarrow/recording/formats/LibcpuidFormatReader.h>
#include <libQuarrow/recording/formats/LineCursor.h>
#include <libQuarrow/recording/formats/LinesParser.h>
#include <libQuarrow/recording/formats/ProcessorFiles.h>
#include <libQuarrow/recording/formats/QuarrowFormatReader.h>
#include <libQuarrow/recording/formats/ReportTextReader.h>
#include <libQuarrow/recording/formats/TarArchive.h>

#include <zel/String.h>

#include <algorithm>

namespace libQuarrow::os {
namespace {

// Whether the text is UTF-16: it begins with the byte order mark, as what PowerShell and Windows' editors write does.
bool isUtf16(std::string_view bytes) {
    return startsWith(bytes, "\xFF\xFE") || startsWith(bytes, "\xFE\xFF");
}

// Without the mark. A last byte that is half a unit is dropped.
std::string utf8FromUtf16(std::string_view bytes) {
    const std::size_t low = bytes.front() == '\xFF' ? 0 : 1;
    std::u16string units;
    units.reserve(bytes.size() / 2);
    for (std::size_t i = 2; i + 1 < bytes.size(); i += 2) {
        const auto byte = [&](std::size_t place) { return static_cast<unsigned char>(bytes[place]); };
        units.push_back(static_cast<char16_t>(byte(i + 1 - low) << 8 | byte(i + low)));
    }
    return zel::String(std::move(units)).toUtf8();
}

FormatReaders lineReaders() {
    FormatReaders readers;
    for (auto& make : {makeReportTextReader, makeQuarrowFormatReader, makeLibcpuidFormatReader, makeHwlocFormatReader,
                       makeKcpuidFormatReader, makeCpuzReportReader}) {
        readers.push_back(make());
    }
    return readers;
}

boost::optional<Recording> parseText(std::string_view text, const std::string& name, RecordingError& error) {
    if (startsWith(text, "\xEF\xBB\xBF")) {
        text.remove_prefix(3);
    }
    const std::string_view beginning = text.substr(std::min(text.size(), text.find_first_not_of(" \t\r\n")));
    if (startsWith(beginning, "<?xml") || startsWith(beginning, "<cpuid")) {
        return parseCpuIdWinXml(text, name, error);
    }
    if (startsWith(beginning, "{")) {
        return parseFirecrackerJson(text, name, error);
    }
    return parseLines(text, name, lineReaders(), error);
}

} // namespace

boost::optional<Recording> parseRecording(const std::string& bytes, const std::string& name, RecordingError& error) {
    const auto failed = [&](const std::string& what) {
        error.message = name + ": " + what + "; " + formatsRead;
        return boost::none;
    };
    if (bytes.size() > maxRecordingBytes) {
        return failed("it is larger than 64 MiB");
    }
    std::string_view content = bytes;
    std::string unpacked;
    const std::string problem = decompress(content, unpacked);
    if (!problem.empty()) {
        error.message = name + ": " + problem;
        return boost::none;
    }
    if (content.empty()) {
        return failed("it is empty");
    }
    if (isTarArchive(content)) {
        return parseProcessorArchive(content, name, error);
    }
    return isUtf16(content) ? parseText(utf8FromUtf16(content), name, error) : parseText(content, name, error);
}

} // namespace libQuarrow::os
