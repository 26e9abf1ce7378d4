// Call-frame information, as compilers put it into the section .eh_frame: how to get from the registers in a function
// to those in its caller. The format is that of the DWARF Debugging Information Format, version 4, section 6.4, with
// the changes of the Linux Standard Base, core volume, section 10.6, for i386.
//
// The bytes are not trusted: whatever they hold, nothing outside the views is read, every loop ends, and what is not
// understood counts as unknown. Nothing is allocated. Any thread.
#pragma once

#include <cstdint>

namespace Z4::Private {

namespace Unwinding {
struct CommonRecord;
}

/// Bytes of a process with addresses of 32 bits, and where they lie there.
struct MemoryView {
    const unsigned char* bytes;
    std::uint32_t address;
    std::uint32_t size;

    /// The word at `at`, in the processor's byte order and however aligned.
    /// @return false when it does not lie in the view wholly.
    bool Read(std::uint32_t at, std::uint32_t& word) const;
};

struct StackRegisters {
    /// By the numbers that the tables use.
    enum Number : unsigned {
        EAX,
        ECX,
        EDX,
        EBX,
        ESP,
        EBP,
        ESI,
        EDI,
        EIP,
        COUNT
    };

    std::uint32_t values[COUNT];
};

/// A function of a table.
struct UnwindEntry {
    std::uint32_t begin;  ///< the function's first address
    std::uint32_t offset; ///< of its record in the table
};

/// Whether the view begins as a table does.
bool IsUnwindTable(const MemoryView& table);

/// How many functions the table has.
std::uint32_t CountEntries(const MemoryView& table);
/// Fills `entries` with the functions of the table, as many as there is room for, sorted by their begin.
/// @return their number.
std::uint32_t IndexEntries(const MemoryView& table, UnwindEntry* entries, std::uint32_t capacity);

/// Finds the function that `pc` lies in, by search of the whole table.
bool FindEntry(const MemoryView& table, std::uint32_t pc, UnwindEntry& found);
/// Finds the only function that `pc` can lie in by what IndexEntries() made of the table; whether it does is for
/// Covers() to say.
bool FindEntry(const UnwindEntry* entries, std::uint32_t count, std::uint32_t pc, UnwindEntry& found);
/// Whether `pc` lies in the function.
bool Covers(const MemoryView& table, const UnwindEntry& entry, std::uint32_t pc);

enum class Unwound : std::uint8_t {
    TO_CALLER,      ///< whose new eip is the one behind the call
    TO_INTERRUPTED, ///< that the system interrupted, rather than that it called: its new eip is the instruction itself
    OUTERMOST,      ///< nobody called the function
    UNKNOWN,
};

/// Turns the registers in a function, at the instruction that `pc` lies in, into those in its caller. In the last two
/// cases they stay as they were. What counts as unknown, too: a `pc` that does not lie in the function, and a caller
/// whose stack pointer would not be above that of the function and within `stack` or at its end.
/// @param common at first empty; what it keeps makes the next frames of the same stack faster.
Unwound UnwindFrame(const MemoryView& table, const UnwindEntry& entry, std::uint32_t pc, const MemoryView& stack,
                    StackRegisters& registers, Unwinding::CommonRecord& common);

} // namespace Z4::Private
