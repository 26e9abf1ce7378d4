#include <zelk_core/services/dbghelp/private/registers.h>

namespace Z4::Private {

__declspec(naked) void ZelkReadRegisters(StackRegisters*) {
    __asm {
        mov eax, [esp + 4]
        mov [eax + 12], ebx
        lea ecx, [esp + 4]
        mov [eax + 16], ecx
        mov [eax + 20], ebp
        mov [eax + 24], esi
        mov [eax + 28], edi
        mov ecx, [esp]
        mov [eax + 32], ecx
        ret
    }
}

__declspec(naked) const std::uint32_t* ZelkReadFramePointer() {
    __asm {
        mov eax, ebp
        ret
    }
}

} // namespace Z4::Private
