// What the headers and the exports of a program or a DLL say, read from bytes that nobody vouches for.
#pragma once

#include <cstdint>
#include <cstring>

namespace Z4::Private {

/// An image, a program or a DLL, as it lies in memory or in its file. Nothing outside of its bytes is read, whatever
/// they say; nothing is allocated, and no lock is taken. Any thread.
class ImageView {
public:
    struct Section {
        char name[8]; ///< not terminated when it has eight characters
        std::uint32_t rva;
        std::uint32_t size;   ///< in memory
        std::uint32_t offset; ///< in the file
        std::uint32_t fileSize;
        std::uint32_t flags; ///< the header's characteristics
        bool code;
    };

    /// The addresses of the functions that the image imports, in memory; all 0 when there are none.
    struct Imports {
        std::uint32_t rva;
        std::uint32_t size;
    };

    /// The table of symbols that compilers leave in the file, by offsets into it; all 0 when there is none.
    struct SymbolTable {
        std::uint32_t offset;
        std::uint32_t count;
    };

    /// `bytes` must stay as long as the view is used.
    ImageView(const void* bytes, std::uint32_t size);

    /// Whether the bytes begin with the headers of an image. When they do not, all else is 0 or false.
    bool IsImage() const { return m_headers != 0; }
    std::uint32_t GetTimeStamp() const { return m_timeStamp; }
    std::uint32_t GetImageSize() const { return m_imageSize; }
    std::uint32_t GetSectionCount() const { return m_sectionCount; }
    /// False when there is no section of that number, from 0.
    bool GetSection(std::uint32_t index, Section& section) const;
    /// The section of code that `rva` lies in.
    bool FindCode(std::uint32_t rva, Section& section) const;
    SymbolTable GetSymbolTable() const { return m_symbolTable; }
    Imports GetImports() const { return m_imports; }

    /// Of an image in its file: the name of the file that debug information was split off to, which GNU's tools leave
    /// in a section. False when there is none.
    bool GetDebugLink(char (&name)[260]) const;

    // What follows is for images in memory.

    /// The function with a name that begins last at or before `rva`, in the same section of code. When an export
    /// without a name begins later, the function is not known.
    bool FindExport(std::uint32_t rva, const char*& name, std::uint32_t& start) const;
    /// Where the code of the export `name` begins; false for one that another module has.
    bool FindExportByName(const char* name, std::uint32_t& rva) const;
    /// The name that the image gives itself; empty when it has no exports.
    const char* GetName() const;

    /// Whether `size` bytes at `offset` are there.
    bool Has(std::uint32_t offset, std::uint64_t size) const { return offset <= m_size && size <= m_size - offset; }
    /// The number at `offset`, which must be there.
    template <class T>
    T Get(std::uint32_t offset) const {
        T value;
        std::memcpy(&value, m_bytes + offset, sizeof value);
        return value;
    }

private:
    struct Exports {
        std::uint32_t begin;
        std::uint32_t end;
        std::uint32_t name;
        std::uint32_t functionCount;
        std::uint32_t nameCount;
        std::uint32_t functions;
        std::uint32_t names;
        std::uint32_t ordinals;
    };

    /// Whether a section has that name, which can stand among the long names behind the symbols.
    bool HasName(const Section& section, const char* name) const;
    bool ReadExports(Exports& exports) const;
    const char* GetText(std::uint32_t offset) const;
    /// Where the export's code begins; 0 when it has none here.
    std::uint32_t GetFunction(const Exports& exports, std::uint32_t ordinal) const;

    const unsigned char* m_bytes;
    std::uint32_t m_size;
    std::uint32_t m_headers = 0; ///< offset of the signature behind the old program
    std::uint32_t m_timeStamp = 0;
    std::uint32_t m_imageSize = 0;
    std::uint32_t m_sections = 0; ///< offset of the table
    std::uint32_t m_sectionCount = 0;
    std::uint32_t m_exports = 0; ///< RVA and size of the directory
    std::uint32_t m_exportsSize = 0;
    SymbolTable m_symbolTable{};
    Imports m_imports{};
};

} // namespace Z4::Private
