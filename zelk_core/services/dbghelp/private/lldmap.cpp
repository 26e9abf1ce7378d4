// The map of LLVM's lld. Sections of the image, sections of object files and symbols stand in columns of their own,
// eight blanks further to the right each:
//
//     Address  Size     Align Out     In      Symbol
//     00001000 00001540  4096 .text
//     000014b0 000000b0    16         lib.o:(.text)
//     000014d0 00000000     0                 Engine::Detail::Widget::Spin(int)
#include <zelk_core/base/str.h>
#include <zelk_core/services/dbghelp/private/symboltable.h>

namespace Z4::Private {

namespace {

struct LldLine {
    std::uint64_t rva;
    std::uint64_t size;
    std::size_t column; ///< blanks before the text
    StrView text;
};

bool Parse(StrView line, LldLine& parsed) {
    if (!TakeHex(line, parsed.rva) || TakeBlanks(line) == 0 || !TakeHex(line, parsed.size) || TakeBlanks(line) == 0) {
        return false;
    }
    TakeWord(line); // the alignment
    parsed.column = TakeBlanks(line);
    parsed.text = line;
    return !line.IsEmpty();
}

} // namespace

void ReadLldMap(const void* bytes, std::uint32_t size, SymbolTableBuilder& builder) {
    constexpr std::size_t OBJECTS = 9;
    constexpr std::size_t SYMBOLS = 17;
    bool isInCode = false;
    bool isHeading = true;
    Lines lines(bytes, size);
    StrView line;
    LldLine parsed;
    for (bool isTooLong = false; lines.Next(line, isTooLong); isHeading = false) {
        if (line.IsEmpty() || isHeading) {
            continue;
        }
        if (isTooLong || !Parse(line, parsed)) {
            builder.Skip();
        } else if (parsed.column < OBJECTS) {
            isInCode = builder.IsCode(parsed.rva, parsed.text);
            builder.AddSection(parsed.rva, parsed.size);
        } else if (isInCode && parsed.column < SYMBOLS) {
            builder.AddExtent(parsed.rva, parsed.size, parsed.text.Substring(0, Str::FindLast(parsed.text, ":(")));
        } else if (isInCode) {
            builder.AddSymbol(parsed.rva, parsed.text);
        }
    }
}

} // namespace Z4::Private
