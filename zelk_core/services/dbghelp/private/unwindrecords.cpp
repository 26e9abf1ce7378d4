#include <algorithm>
#include <zelk_core/services/dbghelp/private/unwindrecords.h>

namespace Z4::Private {

using namespace Unwinding;

namespace {

// How addresses are encoded: the width in the lower half of a byte, what they count from in the upper.
constexpr std::uint8_t POINTER = 0x00;
constexpr std::uint8_t UNSIGNED_4 = 0x03;
constexpr std::uint8_t SIGNED_4 = 0x0B;
constexpr std::uint8_t FROM_HERE = 0x10;

bool IsKnownEncoding(std::uint8_t encoding) {
    const int width = encoding & 0x0F;
    return (width == POINTER || width == UNSIGNED_4 || width == SIGNED_4) && (encoding & 0xE0) == 0;
}

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
    if (returnColumn != StackRegisters::EIP) {
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

bool FindCommon(const MemoryView& table, std::uint32_t offset, CommonRecord& common) {
    if (common.table == table.bytes && common.offset == offset) {
        return true;
    }
    std::uint32_t next = offset;
    Record record{};
    common = {};
    if (!NextRecord(table, next, record) || !ReadCommon(table, record, common)) {
        return false;
    }
    common.table = table.bytes;
    common.offset = offset;
    return true;
}

/// @return false when the record is none of a function, or is not understood.
bool ReadFunction(const MemoryView& table, const Record& record, CommonRecord& common, FunctionRecord& function) {
    Cursor cursor(table, record.begin, record.end);
    const auto back = cursor.Take<std::uint32_t>();
    if (back == 0 || back > record.begin) { // a record has room for this number
        return false;
    }
    if (!FindCommon(table, record.begin - back, common)) {
        return false;
    }
    function.begin = TakeAddress(cursor, common.encoding);
    function.size = cursor.Take<std::uint32_t>();
    if (common.isAugmented) {
        cursor.Skip(cursor.TakeUnsigned());
    }
    function.program = cursor.Offset();
    function.end = record.end;
    return cursor.IsGood();
}

/// Calls `visit(entry, size)` for each function until it returns true.
/// @return whether it did.
template <class Visit>
bool VisitFunctions(const MemoryView& table, Visit visit) {
    std::uint32_t offset = 0;
    std::uint32_t start = 0;
    Record record{};
    CommonRecord common;
    while (start = offset, NextRecord(table, offset, record)) {
        FunctionRecord function;
        if (ReadFunction(table, record, common, function) && visit(UnwindEntry{function.begin, start}, function.size)) {
            return true;
        }
    }
    return false;
}

} // namespace

std::uint32_t Unwinding::TakeAddress(Cursor& cursor, std::uint8_t encoding) {
    const std::uint32_t here = (encoding & FROM_HERE) != 0 ? cursor.Address() : 0;
    return cursor.Take<std::uint32_t>() + here;
}

bool Unwinding::ReadFunctionAt(const MemoryView& table, std::uint32_t offset, CommonRecord& common,
                               FunctionRecord& function) {
    Record record{};
    return NextRecord(table, offset, record) && ReadFunction(table, record, common, function);
}

bool IsUnwindTable(const MemoryView& table) {
    std::uint32_t offset = 0;
    Record record{};
    CommonRecord common;
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
    CommonRecord common;
    FunctionRecord function;
    return ReadFunctionAt(table, entry.offset, common, function) && pc - function.begin < function.size;
}

} // namespace Z4::Private
