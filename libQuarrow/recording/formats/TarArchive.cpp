#include <libQuarrow/recording/formats/TarArchive.h>

#include <libQuarrow/recording/formats/LineCursor.h>

namespace libQuarrow::os {
namespace {

constexpr std::size_t tarBlock = 512;

// A text of a header: up to a zero byte or the end of its field.
std::string_view tarField(std::string_view header, std::size_t offset, std::size_t length) {
    const std::string_view field = header.substr(offset, length);
    return field.substr(0, field.find('\0'));
}

// An octal number, blanks around it.
bool tarNumber(std::string_view field, std::size_t& number) {
    const std::size_t first = std::min(field.size(), field.find_first_not_of(' '));
    field = field.substr(first, field.find(' ', first) - first);
    const auto result = std::from_chars(field.data(), field.data() + field.size(), number, 8);
    return result.ec == std::errc() && result.ptr == field.data() + field.size();
}

// The path in the records of a pax header, "LENGTH path=VALUE" and a line end each; empty when there is none.
std::string_view paxPath(std::string_view records) {
    while (!records.empty()) {
        LineCursor cursor(records);
        std::size_t length = 0;
        if (!cursor.decimal(length) || !cursor.accept(" ") || length > records.size() ||
            records.size() - length > cursor.rest().size()) {
            return {};
        }
        if (cursor.accept("path=")) {
            const std::size_t rest = records.size() - length;
            return cursor.rest().size() > rest ? cursor.rest().substr(0, cursor.rest().size() - rest - 1)
                                               : std::string_view();
        }
        records.remove_prefix(length);
    }
    return {};
}

} // namespace

bool isTarArchive(std::string_view bytes) {
    if (bytes.size() < tarBlock || bytes.front() == '\0') {
        return false;
    }
    std::size_t checksum = 0;
    std::size_t sum = 8 * std::size_t{' '}; // the checksum's own field counts as blanks
    for (std::size_t i = 0; i < tarBlock; ++i) {
        sum += i >= 148 && i < 156 ? 0 : static_cast<unsigned char>(bytes[i]);
    }
    return tarNumber(tarField(bytes, 148, 8), checksum) && checksum == sum;
}

boost::optional<std::vector<ArchivedFile>> filesInTar(std::string_view bytes) {
    std::vector<ArchivedFile> files;
    std::string longPath; // of the file whose header comes next, where that has no room for it
    while (isTarArchive(bytes)) {
        const std::string_view header = bytes.substr(0, tarBlock);
        bytes.remove_prefix(tarBlock);
        std::size_t size = 0;
        if (!tarNumber(tarField(header, 124, 12), size) || size > bytes.size()) {
            return boost::none;
        }
        const std::string_view contents = bytes.substr(0, size);
        bytes.remove_prefix(std::min(bytes.size(), (size + tarBlock - 1) / tarBlock * tarBlock));
        const char type = header[156];
        if (type == 'L') {
            longPath = contents.substr(0, contents.find('\0'));
        } else if (type == 'x') {
            longPath = paxPath(contents);
        } else {
            const bool hasPrefix = header.substr(257, 6) == std::string_view("ustar\0", 6) && header[345] != '\0';
            std::string path = hasPrefix ? std::string(tarField(header, 345, 155)) + "/" : std::string();
            path += tarField(header, 0, 100);
            if (type == '0' || type == '\0') {
                files.push_back({longPath.empty() ? path : longPath, contents});
            }
            longPath.clear();
        }
    }
    // Two blocks of zeros are the end.
    if (bytes.size() < tarBlock || bytes.substr(0, tarBlock).find_first_not_of('\0') != std::string_view::npos) {
        return boost::none;
    }
    return files;
}

} // namespace libQuarrow::os
