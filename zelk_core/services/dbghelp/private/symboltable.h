// How the readers of symbol files fill the table that SymbolMap asks.
#pragma once

#include <cstdint>
#include <zelk_core/base/hostnew.h>
#include <zelk_core/base/strview.h>
#include <zelk_core/generics/stringpool.h>
#include <zelk_core/generics/vector.h>
#include <zelk_core/os/spinlock.h>
#include <zelk_core/services/dbghelp/symbolmap.h>

namespace Z4::Private {

/// The symbols of one image, sorted by address.
struct SymbolTable : HostNew<SymbolTable> {
    struct Entry {
        std::uint32_t rva;
        const char* name;
    };
    /// Code of one object file.
    struct Extent {
        std::uint32_t rva;
        std::uint32_t size;
        const char* object;
    };

    StringPool<NonRecursiveSpinLock> names;
    Vector<Entry> entries;
    Vector<Extent> extents;
    SymbolFormat format = SYMBOL_FORMAT_UNKNOWN;
    unsigned long skipped = 0;
};

/// Takes what a reader finds and makes the table of it. RVAs are taken in 64 bits, so that no sum wraps.
class SymbolTableBuilder {
public:
    /// What stands before names of C.
    enum Underscores : unsigned char {
        PRESENT,
        /// Depends on the options of the tool; where no name begins with a letter they are there.
        UNKNOWN,
    };

    SymbolTableBuilder(SymbolTable& table, const SymbolMap::Image& image, Underscores underscores)
        : m_table(table), m_image(image), m_underscores(underscores) {}

    /// Whether there is code at `rva`, as the image's sections say; without an image, as `name`, that of the section,
    /// suggests.
    bool IsCode(std::uint64_t rva, StrView name) const;
    /// A section as the file has it, to be compared with the image's, which may have up to `unlisted` bytes more.
    void AddSection(std::uint64_t rva, std::uint64_t size, std::uint32_t unlisted = 0);
    void AddTimeStamp(std::uint32_t timeStamp);
    void AddExtent(std::uint64_t rva, std::uint64_t size, StrView object);
    void AddSymbol(std::uint64_t rva, StrView name) { Add(rva, name, false); }
    /// A name that counts only where no other symbol stands.
    void AddSubstitute(std::uint64_t rva, StrView name) { Add(rva, name, true); }
    /// For a line that does not parse.
    void Skip() { ++m_table.skipped; }
    /// For a format without object files: the sections of code stand for them, or all from the first symbol on.
    void AddSectionsAsExtents();

    /// Puts the table in order. Nothing is added afterwards.
    /// @return as SymbolMap::Read() does.
    Error Finish();

private:
    struct Raw {
        std::uint32_t rva;
        std::uint32_t order; ///< in the file; substitutes are later than all others
        const char* name;
    };
    struct ListedSection {
        std::uint32_t rva;
        std::uint32_t size;
        std::uint32_t unlisted;
    };
    static constexpr std::uint32_t SUBSTITUTE = 0x80000000;

    void Add(std::uint64_t rva, StrView name, bool isSubstitute);
    bool IsInside(std::uint64_t rva, std::uint64_t size) const;
    const char* Keep(StrView text);
    static bool Fits(const ListedSection& listed, const SymbolMap::Section& own);
    bool IsOfImage() const;
    void DropUnderscores();

    SymbolTable& m_table;
    const SymbolMap::Image& m_image;
    Underscores m_underscores;
    bool m_hasPlainName = false; ///< one that begins with a letter
    Error m_error = ERR_OK;
    std::uint32_t m_timeStamp = 0;
    Vector<ListedSection> m_sections;
    Vector<Raw> m_symbols;
};

/// Walks the lines of a text, which end with a line feed, and a carriage return before it or none.
class Lines {
public:
    Lines(const void* bytes, std::uint32_t size);

    /// @return false at the end. A line that is longer than SymbolMap::LONGEST_LINE is given cut.
    bool Next(StrView& line, bool& isTooLong);

private:
    const char* m_next;
    const char* m_end;
};

/// Takes a hexadecimal number of 1 to 16 digits, with `0x` before it or not, from the front of `text`.
bool TakeHex(StrView& text, std::uint64_t& number);
/// Takes blanks from the front; how many there were.
std::size_t TakeBlanks(StrView& text);
/// Takes all up to the next blank.
StrView TakeWord(StrView& text);

// The readers. Each has been told the format by SymbolMap::Recognise().
void ReadGnuMap(const void* bytes, std::uint32_t size, SymbolTableBuilder& builder);
void ReadLldMap(const void* bytes, std::uint32_t size, SymbolTableBuilder& builder);
void ReadLinkMap(const void* bytes, std::uint32_t size, SymbolTableBuilder& builder);
void ReadNmList(const void* bytes, std::uint32_t size, SymbolTableBuilder& builder);
void ReadCoffSymbols(const void* bytes, std::uint32_t size, SymbolTableBuilder& builder);

} // namespace Z4::Private
