#include <cstring>
#include <zelk_core/services/dbghelp/private/unwindrow.h>

namespace Z4::Private {

using namespace Unwinding;

namespace {

using Registers = StackRegisters;

/// Computes what expressions of registers and memory describe, as far as compilers use them here.
class Calculator {
public:
    Calculator(const MemoryView& table, const MemoryView& stack, const Registers& registers)
        : m_table(table), m_stack(stack), m_registers(registers) {}

    /// @param offset where the expression's length stands.
    /// @param first what it finds on its stack; null for nothing.
    bool Compute(std::uint32_t offset, const std::uint32_t* first, std::uint32_t& result) {
        Cursor length(m_table, offset, m_table.size);
        const std::uint32_t size = length.TakeUnsigned();
        if (!length.IsGood() || size > m_table.size - length.Offset()) {
            return false;
        }
        Cursor cursor(m_table, length.Offset(), length.Offset() + size);
        m_depth = 0;
        m_good = true;
        if (first != nullptr) {
            Push(*first);
        }
        while (m_good && !cursor.IsAtEnd()) {
            Step(cursor);
        }
        m_good = m_good && cursor.IsGood();
        result = Pop();
        return m_good;
    }

private:
    static constexpr unsigned DEPTH = 8;

    void Push(std::uint32_t value) {
        m_good = m_good && m_depth < DEPTH;
        if (m_good) {
            m_values[m_depth++] = value;
        }
    }
    std::uint32_t Pop() {
        m_good = m_good && m_depth != 0;
        return m_good ? m_values[--m_depth] : 0;
    }

    void Step(Cursor& cursor) {
        constexpr std::uint8_t LITERAL_0 = 0x30;
        constexpr std::uint8_t REGISTER_0 = 0x70;
        constexpr std::uint8_t KINDS = 0x20;
        const auto operation = cursor.Take<std::uint8_t>();
        if (operation >= LITERAL_0 && operation < LITERAL_0 + KINDS) {
            Push(operation - LITERAL_0);
        } else if (operation >= REGISTER_0 && operation < REGISTER_0 + KINDS) {
            const unsigned number = operation - REGISTER_0;
            m_good = number < Registers::COUNT;
            Push((m_good ? m_registers.values[number] : 0) + cursor.TakeSigned());
        } else {
            Combine(operation, cursor);
        }
    }

    void Combine(std::uint8_t operation, Cursor& cursor) {
        switch (operation) {
        case 0x03: // addr
        case 0x0C: // const4u
        case 0x0D: // const4s
            Push(cursor.Take<std::uint32_t>());
            break;
        case 0x06: { // deref
            std::uint32_t word = 0;
            const std::uint32_t at = Pop();
            m_good = m_good && m_stack.Read(at, word);
            Push(word);
            break;
        }
        case 0x08: // const1u
            Push(cursor.Take<std::uint8_t>());
            break;
        case 0x09: // const1s
            Push(static_cast<std::uint32_t>(cursor.Take<std::int8_t>()));
            break;
        case 0x10: // constu
            Push(cursor.TakeUnsigned());
            break;
        case 0x11: // consts
            Push(cursor.TakeSigned());
            break;
        case 0x1A: // and
            Push(Pop() & Pop());
            break;
        case 0x1C: { // minus
            const std::uint32_t subtrahend = Pop();
            Push(Pop() - subtrahend);
            break;
        }
        case 0x22: // plus
            Push(Pop() + Pop());
            break;
        case 0x23: // plus_uconst
            Push(Pop() + cursor.TakeUnsigned());
            break;
        default:
            m_good = false;
            break;
        }
    }

    const MemoryView& m_table;
    const MemoryView& m_stack;
    const Registers& m_registers;
    std::uint32_t m_values[DEPTH];
    unsigned m_depth = 0;
    bool m_good = true;
};

/// What register `number` held in the caller.
bool Recover(const Row& row, unsigned number, std::uint32_t frame, const Registers& registers, const MemoryView& stack,
             Calculator& calculator, std::uint32_t& value) {
    const std::uint32_t ruleValue = row.values[number];
    switch (row.rules[number]) {
    case Rule::SAME:
    case Rule::UNDEFINED:
        value = number == Registers::ESP ? frame : registers.values[number];
        return number != Registers::EIP;
    case Rule::AT_OFFSET:
        return stack.Read(frame + ruleValue, value);
    case Rule::OFFSET:
        value = frame + ruleValue;
        return true;
    case Rule::REGISTER:
        value = registers.values[ruleValue < Registers::COUNT ? ruleValue : Registers::EAX];
        return ruleValue < Registers::COUNT;
    case Rule::AT_EXPRESSION:
        return calculator.Compute(ruleValue, &frame, value) && stack.Read(value, value);
    case Rule::EXPRESSION:
        return calculator.Compute(ruleValue, &frame, value);
    }
    return false;
}

} // namespace

bool MemoryView::Read(std::uint32_t at, std::uint32_t& word) const {
    const std::uint32_t offset = at - address;
    if (offset >= size || size - offset < sizeof word) {
        return false;
    }
    std::memcpy(&word, bytes + offset, sizeof word);
    return true;
}

Unwound UnwindFrame(const MemoryView& table, const UnwindEntry& entry, std::uint32_t pc, const MemoryView& stack,
                    StackRegisters& registers, CommonRecord& common) {
    FunctionRecord function;
    Row row;
    if (!ReadFunctionAt(table, entry.offset, common, function) || pc - function.begin >= function.size ||
        !FindRow(table, common, function, pc, row)) {
        return Unwound::UNKNOWN;
    }
    if (row.rules[Registers::EIP] == Rule::UNDEFINED) {
        return Unwound::OUTERMOST;
    }
    Calculator calculator(table, stack, registers);
    std::uint32_t frame = 0;
    if (!row.isFrameExpression) {
        frame = registers.values[row.frameRegister] + row.frameValue;
    } else if (!calculator.Compute(row.frameValue, nullptr, frame)) {
        return Unwound::UNKNOWN;
    }
    StackRegisters caller{};
    for (unsigned i = 0; i < Registers::COUNT; ++i) {
        if (!Recover(row, i, frame, registers, stack, calculator, caller.values[i])) {
            return Unwound::UNKNOWN;
        }
    }
    const std::uint32_t top = caller.values[Registers::ESP];
    if (top <= registers.values[Registers::ESP] || top % sizeof(std::uint32_t) != 0 ||
        top - stack.address > stack.size) {
        return Unwound::UNKNOWN;
    }
    if (caller.values[Registers::EIP] == 0) {
        return Unwound::OUTERMOST;
    }
    registers = caller;
    return common.isSignalFrame ? Unwound::TO_INTERRUPTED : Unwound::TO_CALLER;
}

} // namespace Z4::Private
