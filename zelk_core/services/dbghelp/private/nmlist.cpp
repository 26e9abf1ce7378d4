// The list of nm, `621c14b0 T _main`, in which a letter tells what the symbol stands for. Symbols of other modules have
// blanks for an address. Addresses count from where the image would like to lie, and one of the symbols is there.
#include <zelk_core/base/str.h>
#include <zelk_core/services/dbghelp/private/symboltable.h>

namespace Z4::Private {

namespace {

struct NmLine {
    std::uint64_t address;
    char kind;
    StrView name;
};

bool IsCodeKind(char kind) {
    return kind == 'T' || kind == 't' || kind == 'W' || kind == 'w';
}

bool Parse(StrView line, NmLine& parsed) {
    if (!TakeHex(line, parsed.address) || TakeBlanks(line) != 1) {
        return false;
    }
    const StrView kind = TakeWord(line);
    parsed.kind = kind.Size() == 1 ? kind[0] : '\0';
    TakeBlanks(line);
    parsed.name = line;
    return parsed.kind != '\0' && !line.IsEmpty();
}

/// Without the symbol: images lie at multiples of 64 KiB, and the first code is near the beginning.
std::uint64_t FindBase(const void* bytes, std::uint32_t size) {
    constexpr std::uint64_t GRANULARITY = 0x10000;
    std::uint64_t lowest = UINT64_MAX;
    Lines lines(bytes, size);
    StrView line;
    NmLine parsed;
    for (bool isTooLong = false; lines.Next(line, isTooLong);) {
        if (isTooLong || !Parse(line, parsed)) {
            continue;
        }
        // Tools that make names readable take one underscore away.
        if (parsed.name == "__image_base__" || parsed.name == "_image_base__" || parsed.name == "___ImageBase" ||
            parsed.name == "__ImageBase") {
            return parsed.address;
        }
        if (IsCodeKind(parsed.kind) && parsed.address < lowest) {
            lowest = parsed.address;
        }
    }
    return lowest / GRANULARITY * GRANULARITY;
}

} // namespace

void ReadNmList(const void* bytes, std::uint32_t size, SymbolTableBuilder& builder) {
    const std::uint64_t base = FindBase(bytes, size);
    builder.AddSectionsAsExtents();
    Lines lines(bytes, size);
    StrView line;
    NmLine parsed;
    for (bool isTooLong = false; lines.Next(line, isTooLong);) {
        if (isTooLong || (!line.IsEmpty() && line[0] != ' ' && !Parse(line, parsed))) {
            builder.Skip();
        } else if (!line.IsEmpty() && line[0] != ' ' && IsCodeKind(parsed.kind) && parsed.name[0] != '.' &&
                   builder.IsCode(parsed.address - base, ".text")) {
            builder.AddSymbol(parsed.address - base, parsed.name);
        }
    }
}

} // namespace Z4::Private
