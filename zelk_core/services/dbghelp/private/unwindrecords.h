// The records of a table for unwinding: unwindtable.h says where its format is published.
#pragma once

#include <cstring>
#include <zelk_core/services/dbghelp/private/unwindtable.h>

namespace Z4::Private::Unwinding {

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

std::uint32_t TakeAddress(Cursor& cursor, std::uint8_t encoding);

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

/// A row of the table that the instructions describe: the rules at one address of a function.
struct Row {
    Rule rules[StackRegisters::COUNT];
    bool isFrameExpression;
    std::uint8_t frameRegister;
    /// Of the rules: an offset, a register, or where the expression begins.
    std::uint32_t values[StackRegisters::COUNT];
    std::uint32_t frameValue; ///< likewise, of the frame's address
};

/// What many functions have in common.
struct CommonRecord {
    const unsigned char* table = nullptr; ///< the bytes of its table; null when nothing was read
    std::uint32_t offset = 0;
    std::uint32_t codeFactor = 0;
    std::uint32_t dataFactor = 0;
    std::uint8_t encoding = 0; ///< of addresses
    bool isAugmented = false;
    bool isSignalFrame = false;
    bool isRowKnown = false;
    std::uint32_t program = 0; ///< offset of its first instruction
    std::uint32_t end = 0;
    Row row{}; ///< where its instructions lead to, once that is known
};

/// One function's record.
struct FunctionRecord {
    std::uint32_t begin = 0;
    std::uint32_t size = 0;
    std::uint32_t program = 0;
    std::uint32_t end = 0;
};

/// Reads the function's record at `offset`.
/// @param common what was read for the last function, or nothing: it stays when this function has the same.
/// @return false when there is none, or it is not understood.
bool ReadFunctionAt(const MemoryView& table, std::uint32_t offset, CommonRecord& common, FunctionRecord& function);

} // namespace Z4::Private::Unwinding
