#include <zelk_core/services/dbghelp/private/registers.h>

namespace Z4::Private {

__attribute__((naked)) void ZelkReadRegisters(StackRegisters*) {
    __asm__("movl 4(%esp), %eax\n\t"
            "movl %ebx, 12(%eax)\n\t"
            "leal 4(%esp), %ecx\n\t"
            "movl %ecx, 16(%eax)\n\t"
            "movl %ebp, 20(%eax)\n\t"
            "movl %esi, 24(%eax)\n\t"
            "movl %edi, 28(%eax)\n\t"
            "movl (%esp), %ecx\n\t"
            "movl %ecx, 32(%eax)\n\t"
            "ret");
}

__attribute__((naked)) const std::uint32_t* ZelkReadFramePointer() {
    __asm__("movl %ebp, %eax\n\t"
            "ret");
}

} // namespace Z4::Private
