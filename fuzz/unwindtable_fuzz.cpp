// Any bytes as a table for unwinding, as registers and as a stack: the first bytes of the input choose an address of
// code, the registers and how long the table is, the rest is table and stack.
#include "body.h"
#include "hostmemory.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <vector>
#include <zelk_core/services/dbghelp/private/unwindrecords.h>

namespace {

using namespace Z4::Private;

constexpr std::uint32_t TABLE_ADDRESS = 0x10000;
constexpr std::uint32_t STACK_ADDRESS = 0x20000;

/// A copy of exactly the size, so that the sanitizer sees every access beyond it.
struct Block {
    Block(const std::uint8_t* data, std::size_t count)
        : bytes(new unsigned char[count]), size(static_cast<std::uint32_t>(count)) {
        std::copy_n(data, count, bytes.get());
    }
    MemoryView At(std::uint32_t address) const { return {bytes.get(), address, size}; }

    std::unique_ptr<unsigned char[]> bytes;
    std::uint32_t size;
};

/// By all entries, and by as many as fit into a room that is too small.
void Index(const MemoryView& table, std::uint32_t pc, bool isCovered) {
    const std::uint32_t count = CountEntries(table);
    for (const std::uint32_t room : {count, count / 2}) {
        const auto entries = std::make_unique<UnwindEntry[]>(room);
        Require(IndexEntries(table, entries.get(), room) == room);
        Require(
            std::is_sorted(entries.get(), entries.get() + room,
                           [](const UnwindEntry& left, const UnwindEntry& right) { return left.begin < right.begin; }));
        UnwindEntry found{};
        Require(!FindEntry(entries.get(), room, pc, found) || !Covers(table, found, pc) || isCovered);
    }
}

/// Unwinds by one entry until there is no caller, which what other entries left in `common` must not change.
void Walk(const MemoryView& table, const UnwindEntry& entry, std::uint32_t pc, const MemoryView& stack,
          StackRegisters registers, Unwinding::CommonRecord& common) {
    for (;;) {
        const StackRegisters before = registers;
        const Unwound result = UnwindFrame(table, entry, pc, stack, registers, common);
        StackRegisters alone = before;
        Unwinding::CommonRecord nothing;
        Require(UnwindFrame(table, entry, pc, stack, alone, nothing) == result);
        Require(std::memcmp(&alone, &registers, sizeof alone) == 0);
        if (result == Unwound::OUTERMOST || result == Unwound::UNKNOWN) {
            Require(std::memcmp(&before, &registers, sizeof before) == 0);
            return;
        }
        const std::uint32_t top = registers.values[StackRegisters::ESP];
        Require(top > before.values[StackRegisters::ESP] && top % 4 == 0);
        Require(top >= stack.address && top <= stack.address + stack.size);
        Require(registers.values[StackRegisters::EIP] != 0);
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    struct {
        std::uint32_t pc;
        std::uint16_t registers[8]; ///< above the stack's begin
        std::uint16_t tableSize;
        std::uint16_t unused;
    } head;
    if (size < sizeof head) {
        return 0;
    }
    std::memcpy(&head, data, sizeof head);
    const std::size_t tableSize = std::min<std::size_t>(head.tableSize, size - sizeof head);
    const Block tableBlock(data + sizeof head, tableSize);
    const Block stackBlock(data + sizeof head + tableSize, size - sizeof head - tableSize);
    const MemoryView table = tableBlock.At(TABLE_ADDRESS);
    StackRegisters registers{};
    for (unsigned i = 0; i < std::size(head.registers); ++i) {
        registers.values[i] = STACK_ADDRESS + head.registers[i];
    }
    UnwindEntry entry{};
    const bool isCovered = FindEntry(table, head.pc, entry);
    Require(IsUnwindTable(table) || !isCovered || CountEntries(table) != 0);
    Index(table, head.pc, isCovered);
    Unwinding::CommonRecord common;
    if (isCovered) {
        Walk(table, entry, head.pc, stackBlock.At(STACK_ADDRESS), registers, common);
    }
    // Any place in the bytes can be taken for an entry.
    entry.offset = head.registers[0] % (tableBlock.size + 1);
    Covers(table, entry, head.pc);
    Walk(table, entry, head.pc, stackBlock.At(STACK_ADDRESS), registers, common);
    return 0;
}
