#include <libQuarrow/os/linux/cpu/x86/ThreadAffinity.h>

#include <utility>

namespace libQuarrow::cpu {

ThreadAffinity::ThreadAffinity(ProcessorSet found) : m_found(std::move(found)), m_now(m_found) {}

int ThreadAffinity::readFrom(pid_t thread) {
    const int error = ProcessorSet::readFrom(thread, m_found);
    if (error == 0) {
        m_now = m_found;
    }
    return error;
}

bool ThreadAffinity::holds(pid_t thread) noexcept {
    return m_now.readAgainFrom(thread) == 0 && m_now == m_found;
}

int ThreadAffinity::putBack(pid_t thread) noexcept {
    m_now.fill();
    return m_now.applyTo(thread) == 0 && holds(thread) ? 0 : m_found.applyTo(thread);
}

} // namespace libQuarrow::cpu
