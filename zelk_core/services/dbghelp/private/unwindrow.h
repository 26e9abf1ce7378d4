// A row of the table that a function's instructions for unwinding describe.
#pragma once

#include <zelk_core/services/dbghelp/private/unwindrecords.h>

namespace Z4::Private::Unwinding {

/// Carries out the instructions up to the row for `pc`, which lies in the function.
/// @param common the function's; those of its instructions are carried out but once.
/// @return false when they are not understood.
bool FindRow(const MemoryView& table, CommonRecord& common, const FunctionRecord& function, std::uint32_t pc, Row& row);

} // namespace Z4::Private::Unwinding
