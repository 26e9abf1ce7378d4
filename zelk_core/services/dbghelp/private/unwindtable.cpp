#include <zelk_core/services/dbghelp/private/unwindtable.h>

#include <algorithm>
#include <cstring>

namespace Z4::Private {

namespace {

using Registers = StackRegisters;

/// Reads on from some place. Beyond the end everything is 0, and the cursor is no longer good.
class Cursor {
public:
    Cursor(const MemoryView& view, std::uint32_t begin, std::uint32_t end)
        : m_view(&view), m_good(begin <= end && end <= view.size) {
        m_at = view.bytes + (m_good ? begin : 0);
        m_end = view.bytes + (m_good ? end : 0);
    }

    bool IsGood() const { return m_good; }
    bool IsAtEnd() const { return m_at == m_end; }
    std::uint32_t Offset() const { return static_cast<std::uint32_t>(m_at - m_view->bytes); }
    std::uint32_t Address() const { return m_view->address + Offset(); }

    /// Goes on behind the next `count` bytes.
    void Skip(std::uint32_t count) {
        if (count <= static_cast<std::size_t>(m_end - m_at)) {
            m_at += count;
        } else {
            m_at = m_end;
            m_good = false;
        }
    }

    template <class T>
    T Take() {
        T value{};
        if (sizeof value <= static_cast<std::size_t>(m_end - m_at)) {
            std::memcpy(&value, m_at, sizeof value);
            m_at += sizeof value;
        } else {
            m_at = m_end;
            m_good = false;
        }
        return value;
    }

    /// A number in groups of seven bits, least significant first. Bits above the 32nd are dropped.
    std::uint32_t TakeUnsigned() {
        const auto first = Take<std::uint8_t>();
        return first < 0x80 ? first : TakeGroups(first, false);
    }
    /// The same in two's complement, the sign in the last group.
    std::uint32_t TakeSigned() { return TakeGroups(Take<std::uint8_t>(), true); }

private:
    std::uint32_t TakeGroups(std::uint8_t byte, bool isSigned) {
        std::uint32_t value = byte & 0x7F;
        std::uint32_t shift = 7;
        for (; (byte & 0x80) != 0; shift += 7) {
            byte = Take<std::uint8_t>();
            value |= shift < 32 ? std::uint32_t{byte & 0x7Fu} << shift : 0;
        }
        return isSigned && (byte & 0x40) != 0 && shift < 32 ? value | ~std::uint32_t{0} << shift : value;
    }

    const MemoryView* m_view;
    const unsigned char* m_at;
    const unsigned char* m_end;
    bool m_good;
};

// How addresses are encoded: the width in the lower half of a byte, what they count from in the upper.
constexpr std::uint8_t POINTER = 0x00;
constexpr std::uint8_t UNSIGNED_4 = 0x03;
constexpr std::uint8_t SIGNED_4 = 0x0B;
constexpr std::uint8_t FROM_HERE = 0x10;

bool IsKnownEncoding(std::uint8_t encoding) {
    const int width = encoding & 0x0F;
    return (width == POINTER || width == UNSIGNED_4 || width == SIGNED_4) && (encoding & 0xE0) == 0;
}

std::uint32_t TakeAddress(Cursor& cursor, std::uint8_t encoding) {
    const std::uint32_t here = (encoding & FROM_HERE) != 0 ? cursor.Address() : 0;
    return cursor.Take<std::uint32_t>() + here;
}

/// What many functions have in common.
struct CommonRecord {
    std::uint32_t codeFactor;
    std::uint32_t dataFactor;
    std::uint8_t encoding = POINTER; ///< of addresses
    bool isAugmented = false;
    bool isSignalFrame = false;
    std::uint32_t program = 0; ///< offset of its first instruction
    std::uint32_t end = 0;
};

/// One record's place: from behind its length to its end.
struct Record {
    std::uint32_t begin;
    std::uint32_t end;
};

/// @return false at the end of the table, which is a length of 0 or whatever does not fit.
bool NextRecord(const MemoryView& table, std::uint32_t& offset, Record& record) {
    Cursor cursor(table, offset, table.size);
    const auto length = cursor.Take<std::uint32_t>();
    // The largest lengths stand for records of 64 bits, which no view has room for.
    if (!cursor.IsGood() || length < sizeof length || length > table.size - cursor.Offset()) {
        return false;
    }
    record = {cursor.Offset(), cursor.Offset() + length};
    offset = record.end;
    return true;
}

bool TakeAugmentation(Cursor& cursor, const char* letters, CommonRecord& common) {
    if (*letters == '\0') {
        return true;
    }
    if (*letters != 'z') {
        return false;
    }
    common.isAugmented = true;
    cursor.TakeUnsigned();
    for (++letters; *letters != '\0'; ++letters) {
        switch (*letters) {
        case 'R':
            common.encoding = cursor.Take<std::uint8_t>();
            break;
        case 'P': {
            const auto encoding = cursor.Take<std::uint8_t>();
            if (!IsKnownEncoding(encoding & 0x7F)) {
                return false;
            }
            cursor.Take<std::uint32_t>();
            break;
        }
        case 'L':
            cursor.Take<std::uint8_t>();
            break;
        case 'S':
            common.isSignalFrame = true;
            break;
        default:
            return false;
        }
    }
    return IsKnownEncoding(common.encoding);
}

bool ReadCommon(const MemoryView& table, const Record& record, CommonRecord& common) {
    Cursor cursor(table, record.begin, record.end);
    if (cursor.Take<std::uint32_t>() != 0) { // an identifier of 0 tells it from a function's record
        return false;
    }
    const auto version = cursor.Take<std::uint8_t>();
    char letters[8] = {};
    unsigned count = 0;
    do {
        letters[count] = static_cast<char>(cursor.Take<std::uint8_t>());
    } while (letters[count] != '\0' && ++count < sizeof letters);
    if ((version != 1 && version != 3) || count == sizeof letters) {
        return false;
    }
    common.codeFactor = cursor.TakeUnsigned();
    common.dataFactor = cursor.TakeSigned();
    const std::uint32_t returnColumn = version == 1 ? cursor.Take<std::uint8_t>() : cursor.TakeUnsigned();
    if (returnColumn != Registers::EIP) {
        return false;
    }
    // What the letters do not tell of is skipped by the length in front of them.
    Cursor behind = cursor;
    if (!TakeAugmentation(cursor, letters, common)) {
        return false;
    }
    if (common.isAugmented) {
        behind.Skip(behind.TakeUnsigned());
    }
    common.program = behind.Offset();
    common.end = record.end;
    return cursor.IsGood() && behind.IsGood();
}

/// One function's record.
struct FunctionRecord {
    CommonRecord common;
    std::uint32_t begin = 0;
    std::uint32_t size = 0;
    std::uint32_t program = 0;
    std::uint32_t end = 0;
};

/// @return false when the record is none of a function, or is not understood.
bool ReadFunction(const MemoryView& table, const Record& record, FunctionRecord& function) {
    Cursor cursor(table, record.begin, record.end);
    const auto back = cursor.Take<std::uint32_t>();
    if (!cursor.IsGood() || back == 0 || back > record.begin) {
        return false;
    }
    std::uint32_t offset = record.begin - back;
    Record common{};
    if (!NextRecord(table, offset, common) || !ReadCommon(table, common, function.common)) {
        return false;
    }
    function.begin = TakeAddress(cursor, function.common.encoding);
    function.size = cursor.Take<std::uint32_t>();
    if (function.common.isAugmented) {
        cursor.Skip(cursor.TakeUnsigned());
    }
    function.program = cursor.Offset();
    function.end = record.end;
    return cursor.IsGood();
}

bool ReadFunctionAt(const MemoryView& table, std::uint32_t offset, FunctionRecord& function) {
    Record record{};
    return NextRecord(table, offset, record) && ReadFunction(table, record, function);
}

/// Calls `visit(entry, size)` for each function until it returns true.
/// @return whether it did.
template <class Visit>
bool VisitFunctions(const MemoryView& table, Visit visit) {
    std::uint32_t offset = 0;
    std::uint32_t start = 0;
    Record record{};
    while (start = offset, NextRecord(table, offset, record)) {
        FunctionRecord function;
        if (ReadFunction(table, record, function) && visit(UnwindEntry{function.begin, start}, function.size)) {
            return true;
        }
    }
    return false;
}

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
    Rule rules[Registers::COUNT];
    bool isFrameExpression;
    std::uint8_t frameRegister;
    std::uint32_t values[Registers::COUNT]; ///< of the rules: an offset, a register, or where the expression begins
    std::uint32_t frameValue;               ///< likewise, of the frame's address
};

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
            m_good = m_good && number < Registers::COUNT;
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
            m_good = m_good && m_stack.Read(Pop(), word);
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

/// Carries out the instructions up to the row of one address.
class RowMachine {
public:
    RowMachine(const MemoryView& table, const FunctionRecord& function, std::uint32_t pc)
        : m_table(table), m_function(function), m_pc(pc), m_location(function.begin) {}

    bool FindRow(Row& row) {
        m_row = &row;
        const CommonRecord& common = m_function.common;
        if (!Run(Cursor(m_table, common.program, common.end))) {
            return false;
        }
        m_initial = row;
        m_isFunction = true;
        if (!Run(Cursor(m_table, m_function.program, m_function.end))) {
            return false;
        }
        return row.isFrameExpression || row.frameRegister < Registers::COUNT;
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
            m_row->rules[number] = rule;
            m_row->values[number] = value;
        }
    }
    void SetFrameRegister(std::uint32_t number) {
        m_row->isFrameExpression = false;
        m_row->frameRegister = static_cast<std::uint8_t>(number < Registers::COUNT ? number : Registers::COUNT);
    }
    bool Restore(std::uint32_t number) {
        if (number < Registers::COUNT) {
            Set(number, m_initial.rules[number], m_initial.values[number]);
        }
        return m_isFunction;
    }
    void Advance(std::uint32_t count) {
        const std::uint32_t distance = count * m_function.common.codeFactor;
        // Around the end of the address space no function goes.
        m_location = distance <= ~m_location ? m_location + distance : ~std::uint32_t{0};
    }
    std::uint32_t TakeOffset(Cursor& cursor) { return cursor.TakeUnsigned() * m_function.common.dataFactor; }
    std::uint32_t TakeSignedOffset(Cursor& cursor) { return cursor.TakeSigned() * m_function.common.dataFactor; }
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
            m_location = TakeAddress(cursor, m_function.common.encoding);
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
            m_remembered[m_depth++] = *m_row;
            return true;
        case 0x0B: // restore_state
            if (m_depth == 0) {
                return false;
            }
            *m_row = m_remembered[--m_depth];
            return true;
        case 0x0C: // def_cfa
            SetFrameRegister(cursor.TakeUnsigned());
            m_row->frameValue = cursor.TakeUnsigned();
            return true;
        case 0x0D: // def_cfa_register
            SetFrameRegister(cursor.TakeUnsigned());
            return true;
        case 0x0E: // def_cfa_offset
            m_row->frameValue = cursor.TakeUnsigned();
            return true;
        case 0x0F: // def_cfa_expression
            m_row->isFrameExpression = true;
            m_row->frameValue = TakeExpression(cursor);
            return true;
        case 0x12: // def_cfa_sf
            SetFrameRegister(cursor.TakeUnsigned());
            m_row->frameValue = TakeSignedOffset(cursor);
            return true;
        case 0x13: // def_cfa_offset_sf
            m_row->frameValue = TakeSignedOffset(cursor);
            return true;
        case 0x2E: // GNU_args_size
            cursor.TakeUnsigned();
            return true;
        default:
            return false;
        }
    }

    const MemoryView& m_table;
    const FunctionRecord& m_function;
    const std::uint32_t m_pc;
    std::uint32_t m_location;
    Row* m_row = nullptr;
    Row m_initial{};
    Row m_remembered[DEPTH];
    unsigned m_depth = 0;
    bool m_isFunction = false;
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

bool IsUnwindTable(const MemoryView& table) {
    std::uint32_t offset = 0;
    Record record{};
    CommonRecord common{};
    return NextRecord(table, offset, record) && ReadCommon(table, record, common);
}

std::uint32_t CountEntries(const MemoryView& table) {
    std::uint32_t count = 0;
    VisitFunctions(table, [&](const UnwindEntry&, std::uint32_t) {
        ++count;
        return false;
    });
    return count;
}

std::uint32_t IndexEntries(const MemoryView& table, UnwindEntry* entries, std::uint32_t capacity) {
    std::uint32_t count = 0;
    VisitFunctions(table, [&](const UnwindEntry& entry, std::uint32_t) {
        if (count != capacity) {
            entries[count++] = entry;
        }
        return count == capacity;
    });
    std::sort(entries, entries + count,
              [](const UnwindEntry& left, const UnwindEntry& right) { return left.begin < right.begin; });
    return count;
}

bool FindEntry(const MemoryView& table, std::uint32_t pc, UnwindEntry& found) {
    return VisitFunctions(table, [&](const UnwindEntry& entry, std::uint32_t size) {
        found = pc - entry.begin < size ? entry : found;
        return pc - entry.begin < size;
    });
}

bool FindEntry(const UnwindEntry* entries, std::uint32_t count, std::uint32_t pc, UnwindEntry& found) {
    const UnwindEntry* const behind =
        std::upper_bound(entries, entries + count, pc,
                         [](std::uint32_t address, const UnwindEntry& entry) { return address < entry.begin; });
    if (behind == entries) {
        return false;
    }
    found = behind[-1];
    return true;
}

bool Covers(const MemoryView& table, const UnwindEntry& entry, std::uint32_t pc) {
    FunctionRecord function;
    return ReadFunctionAt(table, entry.offset, function) && pc - function.begin < function.size;
}

Unwound UnwindFrame(const MemoryView& table, const UnwindEntry& entry, std::uint32_t pc, const MemoryView& stack,
                    StackRegisters& registers) {
    FunctionRecord function;
    Row row{};
    row.frameRegister = Registers::COUNT;
    if (!ReadFunctionAt(table, entry.offset, function) || pc - function.begin >= function.size ||
        !RowMachine(table, function, pc).FindRow(row)) {
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
    return function.common.isSignalFrame ? Unwound::TO_INTERRUPTED : Unwound::TO_CALLER;
}

} // namespace Z4::Private
