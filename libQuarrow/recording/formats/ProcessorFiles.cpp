#include <libQuarrow/recording/formats/ProcessorFiles.h>

#include <libQuarrow/recording/formats/HwlocFormatReader.h>
#include <libQuarrow/recording/formats/LineCursor.h>
#include <libQuarrow/recording/formats/LinesParser.h>
#include <libQuarrow/recording/formats/TarArchive.h>

#include <algorithm>
#include <iterator>

namespace libQuarrow::os {

boost::optional<std::uint32_t> processorFileNumber(std::string_view fileName) {
    LineCursor cursor(fileName);
    std::uint32_t number = 0;
    if (!cursor.accept("pu") || (startsWith(cursor.rest(), "0") && cursor.rest() != "0") || !cursor.decimal(number) ||
        !cursor.atEnd()) {
        return boost::none;
    }
    return number;
}

boost::optional<Recording> parseProcessorFiles(const ProcessorFiles& files, const std::string& name,
                                               RecordingError& error) {
    const auto failed = [&](const std::string& what) {
        error.message = name + ": " + what;
        return boost::none;
    };
    if (files.empty()) {
        return failed(
            std::string("it is a folder or an archive without the files pu0, pu1 ... of hwloc-gather-cpuid; ") +
            formatsRead);
    }
    if (files.size() > maxRecordedProcessors || files.rbegin()->first / 64 > 0xFFFF) {
        return failed("expected no more than " + std::to_string(maxRecordedProcessors) +
                      " files, the last one no higher than pu4194303");
    }
    Recording whole;
    for (const auto& [number, text] : files) {
        const std::string file = name + "/pu" + std::to_string(number);
        FormatReaders reader;
        reader.push_back(makeHwlocFormatReader());
        boost::optional<Recording> one = parseLines(text, file, std::move(reader), error);
        if (!one) {
            return boost::none;
        }
        if (one->processors.size() != 1) {
            error.message = file + ": expected the values of one processor, with leaf 0 once";
            return boost::none;
        }
        RecordedProcessor& processor = one->processors.front();
        processor.group = static_cast<std::uint16_t>(number / 64);
        processor.bit = static_cast<std::uint8_t>(number % 64);
        whole.processors.push_back(std::move(processor));
    }
    return whole;
}

boost::optional<Recording> parseProcessorArchive(std::string_view archive, const std::string& name,
                                                 RecordingError& error) {
    const auto files = filesInTar(archive);
    if (!files) {
        error.message = name + ": it is a tar archive that is damaged or breaks off; fetch it anew";
        return boost::none;
    }
    std::map<std::string, ProcessorFiles> folders;
    for (const ArchivedFile& file : *files) {
        const std::size_t slash = file.path.rfind('/');
        const std::size_t nameBegins = slash == std::string::npos ? 0 : slash + 1;
        if (const auto number = processorFileNumber(std::string_view(file.path).substr(nameBegins))) {
            std::string folder = file.path.substr(0, nameBegins);
            std::replace_if(
                folder.begin(), folder.end(), [](char c) { return c >= 0 && c < ' '; }, '?');
            folders[folder][*number] = std::string(file.contents); // named in messages, which are one line
        }
    }
    if (folders.size() > 1) {
        error.message = name + ": it holds several machines, " + folders.begin()->first + " and " +
                        std::next(folders.begin())->first + "; unpack it and name one of its folders";
        return boost::none;
    }
    if (folders.empty()) {
        return parseProcessorFiles({}, name, error);
    }
    std::string folder = "/" + folders.begin()->first;
    folder.pop_back();
    return parseProcessorFiles(folders.begin()->second, name + folder, error);
}

} // namespace libQuarrow::os
