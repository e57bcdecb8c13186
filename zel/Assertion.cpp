#include <zel/Assertion.h>

#include <zel/Log.h>

#include <utility>

namespace zel {

namespace {

std::string describe(const std::string& expression, const std::string& sourcePath, unsigned int line) {
    return "assertion failed: " + expression + " (" + sourcePath + ", line " + std::to_string(line) + ")";
}

} // namespace

AssertionError::AssertionError(std::string expression, std::string sourcePath, unsigned int line)
    : std::logic_error(describe(expression, sourcePath, line)), m_expression(std::move(expression)),
      m_sourcePath(std::move(sourcePath)), m_line(line) {}

void assertionFailed(const char* expression, const char* sourcePath, unsigned int line) {
    const AssertionError error(expression, sourcePath, line);
    LogFactory::channel("DEFECT.ASSERTION").log(LogFailure, line, error.what());
    throw error;
}

} // namespace zel
