#include <libQuarrow/document/WholeFile.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <random>
#include <system_error>

namespace libQuarrow::document {
namespace {

namespace fs = std::filesystem;

std::string reason(int error) {
    return std::generic_category().message(error);
}

void writeStream(const fs::path& place, const std::string& path, const std::string& text) {
    errno = 0;
    std::ofstream file(place, std::ios::binary | std::ios::trunc);
    if (!file.is_open()) {
        throw FileError(FileError::Input, "cannot make " + path + ": " + reason(errno));
    }
    file << text;
    file.close();
    if (!file.good()) {
        throw FileError(FileError::Disk, "cannot write " + path + ": " + reason(errno));
    }
}

// A name beside `path` that no other process picks.
fs::path besideIt(const fs::path& path) {
    fs::path name = path;
    name += "." + std::to_string(std::random_device()()) + ".part";
    return name;
}

} // namespace

void writeWholeFile(const std::string& path, const std::string& text) {
    if (path.empty()) {
        throw FileError(FileError::Input, "the name of the file to write is empty; name one");
    }
    std::error_code error;
    // Through links, so that the file they lead to is replaced and not the link.
    fs::path target = fs::weakly_canonical(fs::u8path(path), error);
    if (error) {
        target = fs::u8path(path);
    }
    const fs::file_status status = fs::status(target, error);
    if (fs::is_directory(status)) {
        throw FileError(FileError::Input, path + " is a folder; name a file");
    }
    const bool isDeadLink = fs::is_symlink(target, error); // what it leads to is made through it
    if (isDeadLink || (fs::exists(status) && !fs::is_regular_file(status))) {
        writeStream(target, path, text);
        return;
    }
    const fs::path part = besideIt(target);
    try {
        writeStream(part, path, text);
        if (fs::exists(status)) {
            fs::permissions(part, status.permissions());
        }
        fs::rename(part, target);
    } catch (const fs::filesystem_error& failure) {
        fs::remove(part, error);
        throw FileError(FileError::Disk, "cannot write " + path + ": " + failure.code().message());
    } catch (const FileError&) {
        fs::remove(part, error);
        throw;
    }
}

} // namespace libQuarrow::document
