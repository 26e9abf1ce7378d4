// A row of the table that a function's instructions for unwinding describe.
#pragma once

#include <zelk_core/services/dbghelp/private/unwindrecords.h>

namespace Z4::Private::Unwinding {

/// How to find what a register held in the caller.
enum class Rule : std::uint8_t {
    SAME,          ///< it was not changed
    UNDEFINED,     ///< nobody knows
    AT_OFFSET,     ///< it lies in memory, so far from the frame's address
    OFFSET,        ///< it is the frame's address and so much
    REGISTER,      ///< it is in another register
    AT_EXPRESSION, ///< it lies in memory, where an expression says
    EXPRESSION,    ///< it is what an expression says
};

/// A row of the table that the instructions describe: the rules at one address of the function.
struct Row {
    Rule rules[StackRegisters::COUNT];
    bool isFrameExpression;
    std::uint8_t frameRegister;
    std::uint32_t
        values[StackRegisters::COUNT]; ///< of the rules: an offset, a register, or where the expression begins
    std::uint32_t frameValue;          ///< likewise, of the frame's address
};

/// Carries out the instructions up to the row for `pc`, which lies in the function.
/// @param row the result; at first the row that holds without any instruction.
/// @return false when they are not understood.
bool FindRow(const MemoryView& table, const FunctionRecord& function, std::uint32_t pc, Row& row);

} // namespace Z4::Private::Unwinding
