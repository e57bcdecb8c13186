#pragma once

#include <stdexcept>
#include <string>

namespace libQuarrow::document {

// Why a file was not written: one line, fit for people.
class FileError : public std::runtime_error {
  public:
    enum Reason { Input, Disk }; // its name is none that can be written, or the writing failed

    FileError(Reason reason, const std::string& text) : std::runtime_error(text), m_reason(reason) {}
    bool isInput() const { return m_reason == Input; }

  private:
    Reason m_reason;
};

// Replaces or makes the file `path` (UTF-8): whole, or not at all. What is not a plain file (a device, a pipe) is
// written to directly. Throws FileError.
void writeWholeFile(const std::string& path, const std::string& text);

} // namespace libQuarrow::document
