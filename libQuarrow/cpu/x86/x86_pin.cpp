#include <libQuarrow/cpu/x86/x86_pin.h>

#include <libQuarrow/cpu/x86/x86_cpu.h>
#include <libQuarrow/machine/Machine.h>

namespace libQuarrow::cpu {
namespace {

thread_local x86_pin* innermost = nullptr;

} // namespace

// Another processor, another machine and another way of pinning all need a migration of their own.
bool x86_pin::holds(const x86_cpu& cpu) const {
    return m_pinned && m_machine == &os::currentMachine() && m_useThreadAffinity == cpu.usesThreadAffinity() &&
           m_affinity == cpu.getAffinityMask();
}

x86_pin::x86_pin(const x86_cpu& cpu)
    : m_outer(innermost), m_machine(&os::currentMachine()), m_affinity(cpu.getAffinityMask()),
      m_useThreadAffinity(cpu.usesThreadAffinity()) {
    if (m_outer != nullptr && m_outer->holds(cpu)) {
        m_pinned = true;
    } else {
        m_scope.emplace(m_affinity, m_useThreadAffinity);
        m_pinned = m_scope->set();
    }
    innermost = this;
}

x86_pin::~x86_pin() {
    innermost = m_outer;
    if (m_scope && m_pinned && m_scope->restore()) {
        // restore() is true when it failed. The thread is still here, so no pin around this one holds it any more.
        for (x86_pin* pin = m_outer; pin != nullptr; pin = pin->m_outer) {
            pin->m_pinned = false;
        }
    }
}

} // namespace libQuarrow::cpu
