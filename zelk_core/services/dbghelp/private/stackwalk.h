// From frame to frame of a stack of this process.
#pragma once

#include <zelk_core/services/dbghelp/callstack.h>
#include <zelk_core/services/dbghelp/private/codemodules.h>
#include <zelk_core/services/dbghelp/private/unwindrecords.h>

namespace Z4::Private {

/// Walks one stack, innermost frame first. Takes no lock, allocates nothing and makes no system call; reads nothing but
/// the stack and known modules. Its user keeps a CodeModules::Reader as long as he calls it.
class StackWalk {
public:
    /// @param registers those of the first frame.
    /// @param isExact whether their eip is the instruction itself, not one behind a call.
    /// @param stack from the stack pointer to the stack's end, all readable; of size 0 for none.
    /// @param ignored a part of the stack that holds addresses of code without being frames.
    StackWalk(const StackRegisters& registers, bool isExact, const MemoryView& stack, const ImagePart& ignored)
        : m_registers(registers), m_stack(stack), m_ignored(ignored), m_isExact(isExact) {}

    std::uint32_t Pc() const { return m_registers.values[StackRegisters::EIP]; }

    /// Goes on to the caller.
    /// @return false when there is none, or it is unknown.
    bool Next(FrameOrigin& origin);
    /// Goes on from the first frame, which is in a function of this library that keeps a frame pointer. This works
    /// without any known module, too.
    bool LeaveLibrary();

private:
    bool FindModule(std::uint32_t pc);
    Unwound NextByTable(std::uint32_t pc);
    bool NextByProvenCall(std::uint32_t pc);
    bool NextByFramePointer();
    bool NextByGuess();
    bool NextByTopOfStack();
    template <class Accept>
    bool ScanTo(std::uint32_t end, Accept accept) const;
    bool ReturnThrough(std::uint32_t at);
    bool ReadReturnAddress(std::uint32_t& returnAddress) const;

    StackRegisters m_registers;
    MemoryView m_stack;
    ImagePart m_ignored;
    bool m_isExact;
    // What most frames share with the one before.
    CodeModule m_module{}; ///< the one that FindModule() found
    Unwinding::CommonRecord m_common;
};

} // namespace Z4::Private
