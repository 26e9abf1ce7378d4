// The map of GNU ld. Behind a heading come the sections of the image, each with the sections of the object files that
// it was put together from, and each of those with its symbols:
//
//     .text           0x6a681000    0x29200
//      .text          0x6a683ed0     0x2cd0 strformat.cpp.obj
//                     0x6a685410                Z4::StrFormat::vsnprintf(char*, unsigned int, char const*, char*)
//      .text$_ZN6Engine4SpinEi
//                     0x6a686ba0       0x10 widget.cpp.obj
//
// Symbols that are local to an object file are missing; where functions have sections of their own, the section's name
// tells. Between all that stand the statements of the linker's script.
#include <zelk_core/base/str.h>
#include <zelk_core/services/dbghelp/private/symboltable.h>

namespace Z4::Private {

namespace {

class GnuMapReader {
public:
    explicit GnuMapReader(SymbolTableBuilder& builder) : m_builder(builder) {}

    void ReadLine(StrView line) {
        const StrView whole = line;
        const std::size_t indent = TakeBlanks(line);
        if (line.IsEmpty()) {
            return;
        }
        if (!m_isInBody) {
            m_isInBody = whole == "Linker script and memory map";
        } else if (indent == 0) {
            ReadSection(line, Expected::OUTPUT_SECTION);
        } else if (indent == 1) {
            ReadSection(line, Expected::INPUT_SECTION);
        } else if (Str::StartsWith(line, "0x")) {
            ReadAddress(line);
        } else {
            m_expected = Expected::SYMBOL;
        }
    }
    void Skip() {
        m_expected = Expected::SYMBOL;
        m_builder.Skip();
    }

private:
    /// What the numbers of a line are of: a long name of a section stands on a line before them.
    enum class Expected : unsigned char {
        SYMBOL,
        OUTPUT_SECTION,
        INPUT_SECTION,
    };

    void ReadSection(StrView line, Expected kind) {
        m_expected = Expected::SYMBOL;
        m_name = TakeWord(line);
        const bool isStatement = kind == Expected::OUTPUT_SECTION
                                     ? m_name[0] != '.' && m_name[0] != '/'
                                     : m_name[0] == '*' || Str::Find(m_name, "(") != StrView::NPOS;
        if (isStatement) {
            return;
        }
        m_expected = kind;
        TakeBlanks(line);
        if (!line.IsEmpty()) {
            ReadAddress(line);
        } else if (kind == Expected::OUTPUT_SECTION) {
            m_isInCode = false; // until its numbers come; one without any is empty
        }
    }

    void ReadAddress(StrView line) {
        const Expected expected = m_expected;
        m_expected = Expected::SYMBOL;
        std::uint64_t address = 0;
        if (!TakeHex(line, address) || TakeBlanks(line) == 0) {
            m_builder.Skip();
            return;
        }
        const std::uint64_t rva = address - m_base;
        if (expected == Expected::SYMBOL) {
            ReadSymbol(address, line);
            return;
        }
        std::uint64_t size = 0;
        if (!TakeHex(line, size)) {
            m_builder.Skip();
            return;
        }
        if (expected == Expected::OUTPUT_SECTION) {
            m_isInCode = m_builder.IsCode(rva, m_name);
            m_builder.AddSection(rva, size);
        } else if (m_isInCode && size != 0) {
            TakeBlanks(line);
            m_builder.AddExtent(rva, size, line);
            ReadSectionName(rva);
        }
    }

    void ReadSymbol(std::uint64_t address, StrView name) {
        if (Str::Find(name, " = ") != StrView::NPOS || Str::StartsWith(name, "PROVIDE")) {
            if (Str::StartsWith(name, "__image_base__ ")) {
                m_base = address;
            }
        } else if (m_isInCode && !Str::StartsWith(name, "0x")) { // else data that the script puts there
            m_builder.AddSymbol(address - m_base, name);
        }
    }

    /// Names of two letters behind the dollar sign are groups of some compilers.
    void ReadSectionName(std::uint64_t rva) {
        constexpr std::size_t LONGEST_GROUP = 2;
        const std::size_t dollar = Str::Find(m_name, "$");
        if (dollar != StrView::NPOS && m_name.Size() - dollar - 1 > LONGEST_GROUP) {
            m_builder.AddSubstitute(rva, m_name.Substring(dollar + 1));
        }
    }

    SymbolTableBuilder& m_builder;
    bool m_isInBody = false;
    bool m_isInCode = false;
    Expected m_expected = Expected::SYMBOL;
    StrView m_name; ///< of the section
    std::uint64_t m_base = 0;
};

} // namespace

void ReadGnuMap(const void* bytes, std::uint32_t size, SymbolTableBuilder& builder) {
    GnuMapReader reader(builder);
    Lines lines(bytes, size);
    StrView line;
    for (bool isTooLong = false; lines.Next(line, isTooLong);) {
        if (isTooLong) {
            reader.Skip();
        } else {
            reader.ReadLine(line);
        }
    }
}

} // namespace Z4::Private
