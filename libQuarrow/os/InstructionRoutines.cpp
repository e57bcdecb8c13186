#include <libQuarrow/os/InstructionRoutines.h>

#if !defined(__x86_64__) || !defined(__GNUC__)
#error "Write these routines for this compiler: the contract of each stands in Machine.h."
#endif

namespace libQuarrow::os {

void InstructionRoutines::cpuid(cpu::cpuid_args& registers) {
    // RBX may be the compiler's base pointer here (unoptimised or instrumented code), so it is no operand: its content
    // is exchanged with that of a register of the compiler's choice before and after.
    std::uint64_t rbx = registers.ebx;
    asm volatile("xchgq %%rbx, %[rbx]\n\t"
                 "cpuid\n\t"
                 "xchgq %%rbx, %[rbx]"
                 : "+a"(registers.eax), [rbx] "+&r"(rbx), "+c"(registers.ecx), "+d"(registers.edx));
    registers.ebx = static_cast<std::uint32_t>(rbx);
}

std::uint64_t InstructionRoutines::rdtsc() {
    std::uint32_t low = 0;
    std::uint32_t high = 0;
    asm volatile("rdtsc" : "=a"(low), "=d"(high));
    return (std::uint64_t{high} << 32) | low;
}

std::uint64_t InstructionRoutines::xgetbv(std::uint32_t index) {
    std::uint32_t low = 0;
    std::uint32_t high = 0;
    asm volatile("xgetbv" : "=a"(low), "=d"(high) : "c"(index));
    return (std::uint64_t{high} << 32) | low;
}

bool InstructionRoutines::cpuidBitToggles() {
    constexpr std::uint64_t identificationBit = 0x200000;
    std::uint64_t before = 0;
    std::uint64_t after = 0;
    // One block, so that no other instruction changes flags between the readings. It steps over the 128 bytes below the
    // stack pointer first, where a System V function without calls may keep its variables.
    asm volatile("leaq -128(%%rsp), %%rsp\n\t"
                 "pushfq\n\t"
                 "popq %[before]\n\t"
                 "movq %[before], %[after]\n\t"
                 "xorq %[bit], %[after]\n\t"
                 "pushq %[after]\n\t"
                 "popfq\n\t"
                 "pushfq\n\t"
                 "popq %[after]\n\t"
                 "leaq 128(%%rsp), %%rsp"
                 : [before] "=&r"(before), [after] "=&r"(after)
                 : [bit] "r"(identificationBit)
                 : "cc", "memory");
    return after != before;
}

} // namespace libQuarrow::os
