#include <libKernelMode/Driver.h>

namespace libKernelMode {

Driver::~Driver() = default;

bool Driver::openDriver() {
    m_failureReason.clear();
    return open(m_failureReason);
}

} // namespace libKernelMode
