#include <zelk_core/services/dbghelp/private/unwindrow.h>

namespace Z4::Private::Unwinding {

namespace {

using Registers = StackRegisters;

/// Carries out instructions up to the row of one address.
class RowMachine {
public:
    RowMachine(const MemoryView& table, const CommonRecord& common, Row& row)
        : m_table(table), m_common(common), m_row(row) {}

    /// Those that functions have in common, of which nothing is restored.
    bool RunCommon() { return Run({m_table, m_common.program, m_common.end}); }
    bool RunFunction(const FunctionRecord& function, std::uint32_t pc) {
        m_isFunction = true;
        m_location = function.begin;
        m_pc = pc;
        return Run({m_table, function.program, function.end});
    }

private:
    static constexpr unsigned DEPTH = 4;

    bool Run(Cursor cursor) {
        constexpr unsigned ADVANCE = 1;
        while (!cursor.IsAtEnd()) {
            const auto instruction = cursor.Take<std::uint8_t>();
            if (instruction >> 6 == ADVANCE) {
                Advance(instruction & 0x3F);
            } else if (!Step(instruction, cursor)) {
                return false;
            }
            if (m_location > m_pc) {
                return true;
            }
        }
        return cursor.IsGood();
    }

    void Set(std::uint32_t number, Rule rule, std::uint32_t value = 0) {
        // Those of the coprocessor and of SIMD are nobody's concern here.
        if (number < Registers::COUNT) {
            m_row.rules[number] = rule;
            m_row.values[number] = value;
        }
    }
    void SetFrameRegister(std::uint32_t number) {
        m_row.isFrameExpression = false;
        m_row.frameRegister = static_cast<std::uint8_t>(number < Registers::COUNT ? number : Registers::COUNT);
    }
    bool Restore(std::uint32_t number) {
        if (number < Registers::COUNT) {
            Set(number, m_common.row.rules[number], m_common.row.values[number]);
        }
        return m_isFunction;
    }
    void Advance(std::uint32_t count) {
        const std::uint32_t distance = count * m_common.codeFactor;
        // Around the end of the address space no function goes.
        m_location = distance <= ~m_location ? m_location + distance : ~std::uint32_t{0};
    }
    std::uint32_t TakeOffset(Cursor& cursor) { return cursor.TakeUnsigned() * m_common.dataFactor; }
    std::uint32_t TakeSignedOffset(Cursor& cursor) { return cursor.TakeSigned() * m_common.dataFactor; }
    static std::uint32_t TakeExpression(Cursor& cursor) {
        const std::uint32_t offset = cursor.Offset();
        cursor.Skip(cursor.TakeUnsigned());
        return offset;
    }

    bool Step(std::uint8_t instruction, Cursor& cursor) {
        const std::uint32_t operand = instruction & 0x3F;
        switch (instruction >> 6) {
        case 2: // offset
            Set(operand, Rule::AT_OFFSET, TakeOffset(cursor));
            return true;
        case 3: // restore
            return Restore(operand);
        default:
            // The second looks at what the first does not know, which has taken nothing then.
            return StepOnFrame(instruction, cursor) || StepOnRegister(instruction, cursor);
        }
    }

    bool StepOnRegister(std::uint8_t instruction, Cursor& cursor) {
        const std::uint32_t number = cursor.TakeUnsigned();
        switch (instruction) {
        case 0x05: // offset_extended
            Set(number, Rule::AT_OFFSET, TakeOffset(cursor));
            return true;
        case 0x06: // restore_extended
            return Restore(number);
        case 0x07: // undefined
            Set(number, Rule::UNDEFINED);
            return true;
        case 0x08: // same_value
            Set(number, Rule::SAME);
            return true;
        case 0x09: // register
            Set(number, Rule::REGISTER, cursor.TakeUnsigned());
            return true;
        case 0x10: // expression
            Set(number, Rule::AT_EXPRESSION, TakeExpression(cursor));
            return true;
        case 0x11: // offset_extended_sf
            Set(number, Rule::AT_OFFSET, TakeSignedOffset(cursor));
            return true;
        case 0x14: // val_offset
            Set(number, Rule::OFFSET, TakeOffset(cursor));
            return true;
        case 0x15: // val_offset_sf
            Set(number, Rule::OFFSET, TakeSignedOffset(cursor));
            return true;
        case 0x16: // val_expression
            Set(number, Rule::EXPRESSION, TakeExpression(cursor));
            return true;
        default:
            return false;
        }
    }

    bool StepOnFrame(std::uint8_t instruction, Cursor& cursor) {
        switch (instruction) {
        case 0x00: // nop
            return true;
        case 0x01: // set_loc
            m_location = TakeAddress(cursor, m_common.encoding);
            return true;
        case 0x02: // advance_loc1
            Advance(cursor.Take<std::uint8_t>());
            return true;
        case 0x03: // advance_loc2
            Advance(cursor.Take<std::uint16_t>());
            return true;
        case 0x04: // advance_loc4
            Advance(cursor.Take<std::uint32_t>());
            return true;
        case 0x0A: // remember_state
            if (m_depth == DEPTH) {
                return false;
            }
            m_remembered[m_depth++] = m_row;
            return true;
        case 0x0B: // restore_state
            if (m_depth == 0) {
                return false;
            }
            m_row = m_remembered[--m_depth];
            return true;
        case 0x0C: // def_cfa
            SetFrameRegister(cursor.TakeUnsigned());
            m_row.frameValue = cursor.TakeUnsigned();
            return true;
        case 0x0D: // def_cfa_register
            SetFrameRegister(cursor.TakeUnsigned());
            return true;
        case 0x0E: // def_cfa_offset
            m_row.frameValue = cursor.TakeUnsigned();
            return true;
        case 0x0F: // def_cfa_expression
            m_row.isFrameExpression = true;
            m_row.frameValue = TakeExpression(cursor);
            return true;
        case 0x12: // def_cfa_sf
            SetFrameRegister(cursor.TakeUnsigned());
            m_row.frameValue = TakeSignedOffset(cursor);
            return true;
        case 0x13: // def_cfa_offset_sf
            m_row.frameValue = TakeSignedOffset(cursor);
            return true;
        case 0x2E: // GNU_args_size
            cursor.TakeUnsigned();
            return true;
        default:
            return false;
        }
    }

    const MemoryView& m_table;
    const CommonRecord& m_common;
    Row& m_row;
    std::uint32_t m_pc = ~std::uint32_t{0};
    std::uint32_t m_location = 0;
    Row m_remembered[DEPTH];
    unsigned m_depth = 0;
    bool m_isFunction = false;
};

} // namespace

bool FindRow(const MemoryView& table, CommonRecord& common, const FunctionRecord& function, std::uint32_t pc,
             Row& row) {
    if (!common.isRowKnown) {
        common.row = {};
        common.row.frameRegister = Registers::COUNT;
        common.isRowKnown = RowMachine(table, common, common.row).RunCommon();
        if (!common.isRowKnown) {
            return false;
        }
    }
    row = common.row;
    return RowMachine(table, common, row).RunFunction(function, pc) &&
           (row.isFrameExpression || row.frameRegister < Registers::COUNT);
}

} // namespace Z4::Private::Unwinding
