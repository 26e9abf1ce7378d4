// The map of Microsoft's linker, and of lld-link in its place. Sections come first, then symbols by address, then those
// that are local to an object file. The first number of a line is that of a section and what is added to its beginning;
// addresses count from where the image would like to lie:
//
//      Preferred load address is 0000000010000000
//      0001:00000000 000000f0H .text                   CODE
//       Address         Publics by Value              Rva+Base               Lib:Object
//      0001:00000010       ?Spin@Widget@Detail@Engine@@QAEHH@Z 0000000010001010     ms14.obj
//      Static symbols
//      0001:00000070       ?Hidden@Detail@Engine@@YAHH@Z 0000000010001070     ms14.obj
#include <zelk_core/base/str.h>
#include <zelk_core/services/dbghelp/private/symboltable.h>

namespace Z4::Private {

namespace {

class LinkMapReader {
public:
    explicit LinkMapReader(SymbolTableBuilder& builder) : m_builder(builder) {}

    /// @return false when there are no more symbols.
    bool ReadLine(StrView line) {
        TakeBlanks(line);
        std::uint64_t number = 0;
        if (TakeHeading(line, "Timestamp is ", number)) {
            m_builder.AddTimeStamp(static_cast<std::uint32_t>(number));
        } else if (TakeHeading(line, "Preferred load address is ", number)) {
            m_base = number;
        } else if (Str::StartsWith(line, "Address ")) {
            m_isInSymbols = true;
        } else if (m_isInSymbols && IsEnd(line)) {
            return false;
        } else if (!line.IsEmpty() && line[0] >= '0' && line[0] <= '9' && !ReadPlace(line)) {
            m_builder.Skip();
        }
        return true;
    }

    /// Tells the builder of the sections, whose addresses only symbols tell.
    void Finish() {
        for (const Segment& segment : m_segments) {
            if (segment.isCode && segment.isPlaced) {
                m_builder.AddSection(segment.rva, segment.size, THUNKS);
                m_builder.AddExtent(segment.rva, segment.size, {});
            }
        }
    }

private:
    struct Segment {
        std::uint64_t rva;
        std::uint64_t size;
        bool isCode;
        bool isPlaced;
    };
    /// Jumps to imported functions, which the linker makes itself, stand behind the code and in no list of lld-link's.
    static constexpr std::uint32_t THUNKS = 0x10000;
    static constexpr std::uint64_t MOST_SEGMENTS = 97; // one more than an image can have: they count from 1

    static bool TakeHeading(StrView line, StrView heading, std::uint64_t& number) {
        if (!Str::StartsWith(line, heading)) {
            return false;
        }
        line = line.Substring(heading.Size());
        return TakeHex(line, number);
    }
    static bool IsEnd(StrView line) {
        return Str::StartsWith(line, "Line numbers") || Str::StartsWith(line, "FIXUPS") ||
               Str::StartsWith(line, "Exports");
    }

    bool ReadPlace(StrView line) {
        std::uint64_t number = 0;
        std::uint64_t offset = 0;
        if (!TakeHex(line, number) || !Str::StartsWith(line, ":")) {
            return false;
        }
        line = line.Substring(1);
        if (!TakeHex(line, offset) || TakeBlanks(line) == 0) {
            return false;
        }
        if (number == 0) {
            return true; // not in the image
        }
        if (number >= MOST_SEGMENTS) {
            return false;
        }
        return m_isInSymbols ? ReadSymbol(m_segments[number], offset, line)
                             : ReadPiece(m_segments[number], offset, line);
    }

    static bool ReadPiece(Segment& segment, std::uint64_t offset, StrView line) {
        std::uint64_t size = 0;
        if (!TakeHex(line, size) || !Str::StartsWith(line, "H")) {
            return false;
        }
        segment.size = offset + size > segment.size ? offset + size : segment.size;
        segment.isCode = segment.isCode || Str::EndsWith(Str::TrimRight(line), " CODE");
        return true;
    }

    bool ReadSymbol(Segment& segment, std::uint64_t offset, StrView line) {
        const StrView name = TakeWord(line);
        std::uint64_t address = 0;
        TakeBlanks(line);
        if (!TakeHex(line, address)) {
            return false;
        }
        const std::uint64_t rva = address - m_base;
        if (!segment.isPlaced) {
            segment.isPlaced = true;
            segment.rva = rva - offset;
        }
        if (segment.isCode) {
            m_builder.AddSymbol(rva, name);
        }
        return true;
    }

    SymbolTableBuilder& m_builder;
    Segment m_segments[MOST_SEGMENTS] = {};
    std::uint64_t m_base = 0;
    bool m_isInSymbols = false;
};

} // namespace

void ReadLinkMap(const void* bytes, std::uint32_t size, SymbolTableBuilder& builder) {
    LinkMapReader reader(builder);
    Lines lines(bytes, size);
    StrView line;
    for (bool isTooLong = false; lines.Next(line, isTooLong);) {
        if (isTooLong) {
            builder.Skip();
        } else if (!reader.ReadLine(line)) {
            break;
        }
    }
    reader.Finish();
}

} // namespace Z4::Private
