// The COFF symbol table of an image: records of 18 bytes, and behind them the names that are longer than eight
// characters. "PE Format", Microsoft's documentation of Windows, has its layout.
#include <zelk_core/base/str.h>
#include <zelk_core/services/dbghelp/private/imageview.h>
#include <zelk_core/services/dbghelp/private/symboltable.h>

namespace Z4::Private {

namespace {

constexpr std::uint32_t RECORD_SIZE = 18;
constexpr unsigned FUNCTION = 2; ///< of derived types
constexpr unsigned char EXTERNAL = 2;
constexpr unsigned char STATIC = 3;

class CoffReader {
public:
    CoffReader(const void* bytes, std::uint32_t size, SymbolTableBuilder& builder)
        : m_bytes(static_cast<const char*>(bytes)), m_size(size), m_image(bytes, size), m_builder(builder) {}

    void Read() {
        const ImageView::SymbolTable table = m_image.GetSymbolTable();
        m_builder.AddTimeStamp(m_image.GetTimeStamp());
        ReadSections();
        if (!m_image.Has(table.offset, std::uint64_t{table.count} * RECORD_SIZE)) {
            m_builder.Skip();
            return;
        }
        m_names = table.offset + table.count * RECORD_SIZE;
        for (std::uint32_t i = 0; i < table.count; ++i) {
            const std::uint32_t record = table.offset + i * RECORD_SIZE;
            ReadRecord(record);
            i += m_image.Get<std::uint8_t>(record + 17); // records that tell more of this one
        }
    }

private:
    void ReadSections() {
        ImageView::Section section;
        for (std::uint32_t i = 0; m_image.GetSection(i, section); ++i) {
            m_builder.AddSection(section.rva, section.size);
            if (section.code) {
                m_builder.AddExtent(section.rva, section.size, {});
            }
        }
    }

    void ReadRecord(std::uint32_t record) {
        const auto number = m_image.Get<std::int16_t>(record + 12);
        const auto storage = m_image.Get<std::uint8_t>(record + 16);
        ImageView::Section section;
        // Numbers of sections begin with 1; others are for symbols without a place.
        if (number <= 0 || (storage != EXTERNAL && storage != STATIC) ||
            !m_image.GetSection(static_cast<std::uint32_t>(number) - 1, section) || !section.code) {
            return;
        }
        StrView name;
        if (!ReadName(record, name)) {
            m_builder.Skip();
            return;
        }
        const unsigned type = m_image.Get<std::uint16_t>(record + 14);
        if ((type >> 4 & 3) == FUNCTION || !Str::StartsWith(name, ".")) {
            m_builder.AddSymbol(std::uint64_t{section.rva} + m_image.Get<std::uint32_t>(record + 8), name);
        }
    }

    bool ReadName(std::uint32_t record, StrView& name) const {
        constexpr std::size_t LONGEST_HERE = 8;
        if (m_image.Get<std::uint32_t>(record) != 0) {
            name = StrView(m_bytes + record, Str::Length(m_bytes + record, LONGEST_HERE));
            return true;
        }
        const auto offset = m_image.Get<std::uint32_t>(record + 4);
        if (offset >= m_size - m_names) {
            return false;
        }
        const char* const text = m_bytes + m_names + offset;
        name = StrView(text, Str::Length(text, m_size - m_names - offset));
        return true;
    }

    const char* m_bytes;
    std::uint32_t m_size;
    ImageView m_image;
    SymbolTableBuilder& m_builder;
    std::uint32_t m_names = 0; ///< offset of the long names
};

} // namespace

void ReadCoffSymbols(const void* bytes, std::uint32_t size, SymbolTableBuilder& builder) {
    CoffReader(bytes, size, builder).Read();
}

} // namespace Z4::Private
