#pragma once

#include <zel/zel_export.h>

#include <stdexcept>
#include <string>

namespace zel {

// The one exception type that this library and those above it throw: a programming error, such as a bad index.
class ZEL_EXPORT AssertionError : public std::logic_error {
  public:
    AssertionError(std::string expression, std::string sourcePath, unsigned int line);

    const std::string& expression() const { return m_expression; }
    // Relative and without its ending, as in cpu/x86/x86_cpu.
    const std::string& sourcePath() const { return m_sourcePath; }
    unsigned int line() const { return m_line; }

  private:
    std::string m_expression;
    std::string m_sourcePath;
    unsigned int m_line;
};

// Logs the failed expression at priority 4 on the channel "DEFECT.ASSERTION" and throws AssertionError.
[[noreturn]] ZEL_EXPORT void assertionFailed(const char* expression, const char* sourcePath, unsigned int line);

} // namespace zel

// Raises the assertion `expressionText` of the source `sourcePath` (relative, without ending) unless `condition` holds.
#define ZEL_ASSERT_TEXT(condition, expressionText, sourcePath)                                                         \
    do {                                                                                                               \
        if (!(condition)) {                                                                                            \
            ::zel::assertionFailed(expressionText, sourcePath, __LINE__);                                              \
        }                                                                                                              \
    } while (false)
