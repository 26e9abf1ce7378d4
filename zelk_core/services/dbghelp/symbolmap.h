/// @file
/// The functions of one program or DLL by their addresses, read from what its linker or a tool has listed.
///
/// It asks the system nothing, so a tool can name the addresses of a report that comes from another machine. Addresses
/// are RVAs: counted from where the image begins. SymbolHandler::LoadSymbolFile() reads such a file for a module of
/// this process.
#pragma once

#include <zelk_core/base/api.h>
#include <zelk_core/base/error.h>
#include <zelk_core/base/hostnew.h>

namespace Z4 {

namespace Private {
struct SymbolTable;
} // namespace Private

/// What a file of symbols is written by.
enum SymbolFormat : int {
    SYMBOL_FORMAT_UNKNOWN = 0,
    SYMBOL_FORMAT_GNU_MAP = 1,  ///< GNU ld, `-Map=file`
    SYMBOL_FORMAT_LLD_MAP = 2,  ///< LLVM's lld, `-Map=file` for mingw or `/lldmap:file`
    SYMBOL_FORMAT_LINK_MAP = 3, ///< Microsoft's link or lld-link, `/map:file`
    SYMBOL_FORMAT_NM = 4,       ///< `nm -n image`, also with `-C`
    SYMBOL_FORMAT_COFF = 5,     ///< the image itself, or a copy with its symbols only, by its COFF symbol table
};

/// The symbols of one image from one file. Any number of threads may ask at a time; whoever reads a file into it must
/// be alone.
class SymbolMap : public HostNew<SymbolMap> {
public:
    static constexpr unsigned long LONGEST_LINE = 4095;       ///< characters
    static constexpr unsigned long LONGEST_NAME = 1023;       ///< characters
    static constexpr unsigned long MOST_SYMBOLS = 1ul << 20;  ///< in a file, and as many pieces of code
    static constexpr unsigned long LARGEST_FILE = 0x10000000; ///< bytes, 256 MiB

    /// A section of the image, as its headers tell of it.
    struct Section {
        unsigned long rva;
        unsigned long size; ///< bytes in memory
        bool code;
    };
    /// What is known of the image that the symbols are for; with it, files of other images are refused.
    struct Image {
        unsigned long size;      ///< bytes in memory; 0 when nothing is known, which makes the other fields meaningless
        unsigned long timeStamp; ///< as its headers have it; 0 when it has none
        unsigned long sectionCount;
        const Section* sections; ///< all, in the order of the headers
    };
    /// What Find() tells of an address. The texts live as long as the map does, and until the next Read() that
    /// succeeds.
    struct Symbol {
        /// As the file has it, so it can be decorated; but without the underscore that 32-bit Windows puts before names
        /// of C, and without `@8` and the like behind them. Empty when only the object file is known.
        const char* function;
        const char* object; ///< the object file; empty in formats that do not name it beside the code
        unsigned long rva;  ///< where the function begins, or the object's code
        unsigned long size; ///< in bytes, up to the next symbol or to the end of the object's code
    };

    Z4_API SymbolMap();
    Z4_API ~SymbolMap();
    SymbolMap(const SymbolMap&) = delete;
    SymbolMap& operator=(const SymbolMap&) = delete;

    /// By what a file seems to be written, from its first bytes, of which 4096 suffice.
    [[nodiscard]] Z4_API static SymbolFormat Recognise(const void* bytes, unsigned long size);

    /// Reads a file of any of the formats, given as a whole. Nothing of it is needed any more after the call. What was
    /// read before is replaced; after an error it stays as it was.
    ///
    /// A line that does not parse, is longer than LONGEST_LINE or has a name longer than LONGEST_NAME is skipped, and
    /// so is one whose address lies outside of the image; GetSkipped() counts them. Only functions are read: symbols in
    /// sections of code.
    /// @return ERR_INVALID for null with a size above 0; ERR_UNSUPPORTED for a file of no known format;
    /// ERR_CANNOT_ASSIGN for one that belongs to another image: both have a time stamp and these differ, or the file
    /// tells of sections and a section of code is not there with its size (which may be rounded up as in the image's
    /// file, and in link's maps lack up to 64 KiB that the linker does not list); ERR_CORRUPTED_DATA for one without
    /// any symbol; ERR_OVERFLOW beyond MOST_SYMBOLS or LARGEST_FILE; ERR_OUT_OF_MEMORY.
    [[nodiscard]] Z4_API ErrorCodeWrapper Read(const void* bytes, unsigned long size, const Image& image);

    /// Finds the function that `rva` lies in. No function is taken to reach beyond the code of its object file, where
    /// the file tells that. Of several symbols at one address it is the first of the file. Takes no lock and no memory.
    /// @return false, with `symbol` as it was, when `rva` lies in no code that the file tells of.
    [[nodiscard]] Z4_API bool Find(unsigned long rva, Symbol& symbol) const;
    /// Finds the address of a function by its name, which must be written as Symbol::function is. Looks at all symbols.
    /// @return false, with `rva` as it was, when there is none of that name; the lowest address when there are several.
    [[nodiscard]] Z4_API bool FindName(const char* function, unsigned long& rva) const;

    /// The format of what was read last; SYMBOL_FORMAT_UNKNOWN before.
    Z4_API SymbolFormat GetFormat() const;
    Z4_API unsigned long GetCount() const;   ///< symbols; the same one twice counts once
    Z4_API unsigned long GetSkipped() const; ///< lines, see Read()
    Z4_API unsigned long GetBytes() const;   ///< that all of it takes up

private:
    Private::SymbolTable* m_table = nullptr;
};

} // namespace Z4
