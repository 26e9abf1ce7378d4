#include <algorithm>
#include <cstring>
#include <zelk_core/base/assert.h>
#include <zelk_core/base/str.h>
#include <zelk_core/services/dbghelp/private/imageview.h>
#include <zelk_core/services/dbghelp/private/symboltable.h>
#include <zelk_core/services/dbghelp/symbolmap.h>

namespace Z4 {

namespace {

using Private::Lines;
using Private::SymbolTable;
using Private::SymbolTableBuilder;

/// The last of `elements`, which are sorted, that begins at or before `rva`; null when there is none.
template <class T>
const T* FindLast(const Vector<T>& elements, unsigned long rva) {
    const T* const next = std::upper_bound(elements.begin(), elements.end(), rva,
                                           [](unsigned long place, const T& element) { return place < element.rva; });
    return next == elements.begin() ? nullptr : next - 1;
}

bool IsNmLine(StrView line) {
    std::uint64_t address = 0;
    if (Private::TakeBlanks(line) == 0 && !Private::TakeHex(line, address)) {
        return false;
    }
    Private::TakeBlanks(line);
    return line.Size() > 2 && Private::TakeWord(line).Size() == 1 && Private::TakeBlanks(line) == 1;
}

SymbolFormat RecogniseLine(StrView line) {
    static constexpr StrView GNU_HEADINGS[] = {
        "Archive member included", "There are no discarded", "Discarded input sections",
        "Merging program",         "Memory Configuration",   "Linker script and memory map",
    };
    for (const StrView heading : GNU_HEADINGS) {
        if (Str::StartsWith(line, heading)) {
            return SYMBOL_FORMAT_GNU_MAP;
        }
    }
    if (line == "Address  Size     Align Out     In      Symbol") {
        return SYMBOL_FORMAT_LLD_MAP;
    }
    const StrView text = Str::TrimLeft(line);
    if (Str::StartsWith(text, "Timestamp is ") || Str::StartsWith(text, "Preferred load address is ")) {
        return SYMBOL_FORMAT_LINK_MAP;
    }
    return IsNmLine(line) ? SYMBOL_FORMAT_NM : SYMBOL_FORMAT_UNKNOWN;
}

} // namespace

SymbolMap::SymbolMap() = default;

SymbolMap::~SymbolMap() {
    delete m_table;
}

SymbolFormat SymbolMap::Recognise(const void* bytes, unsigned long size) {
    constexpr unsigned long ENOUGH_BYTES = 4096;
    constexpr int ENOUGH_LINES = 16;
    if (Private::ImageView(bytes, size).IsImage()) {
        return SYMBOL_FORMAT_COFF;
    }
    Lines lines(bytes, (std::min)(size, ENOUGH_BYTES));
    StrView line;
    bool isTooLong = false;
    for (int i = 0; i < ENOUGH_LINES && lines.Next(line, isTooLong); ++i) {
        if (const SymbolFormat format = RecogniseLine(line); format != SYMBOL_FORMAT_UNKNOWN) {
            return format;
        }
    }
    return SYMBOL_FORMAT_UNKNOWN;
}

Private::ErrorCodeWrapper SymbolMap::Read(const void* bytes, unsigned long size, const Image& image) {
    if (bytes == nullptr && size != 0) {
        return ERR_INVALID;
    }
    if (size > LARGEST_FILE) {
        return ERR_OVERFLOW;
    }
    const SymbolFormat format = Recognise(bytes, size);
    if (format == SYMBOL_FORMAT_UNKNOWN) {
        return ERR_UNSUPPORTED;
    }
    SymbolTable* const table = new SymbolTable;
    if (table == nullptr) {
        return ERR_OUT_OF_MEMORY;
    }
    table->format = format;
    const bool isListed = format == SYMBOL_FORMAT_GNU_MAP || format == SYMBOL_FORMAT_NM;
    SymbolTableBuilder builder(*table, image, isListed ? SymbolTableBuilder::UNKNOWN : SymbolTableBuilder::PRESENT);
    switch (format) {
    case SYMBOL_FORMAT_GNU_MAP:
        Private::ReadGnuMap(bytes, size, builder);
        break;
    case SYMBOL_FORMAT_LLD_MAP:
        Private::ReadLldMap(bytes, size, builder);
        break;
    case SYMBOL_FORMAT_LINK_MAP:
        Private::ReadLinkMap(bytes, size, builder);
        break;
    case SYMBOL_FORMAT_NM:
        Private::ReadNmList(bytes, size, builder);
        break;
    default:
        Private::ReadCoffSymbols(bytes, size, builder);
        break;
    }
    const Error error = builder.Finish();
    if (error != ERR_OK) {
        delete table;
        return error;
    }
    delete m_table;
    m_table = table;
    return ERR_OK;
}

bool SymbolMap::Find(unsigned long rva, Symbol& symbol) const {
    if (m_table == nullptr) {
        return false;
    }
    const SymbolTable::Extent* const extent = FindLast(m_table->extents, rva);
    if (extent == nullptr || rva - extent->rva >= extent->size) {
        return false;
    }
    const unsigned long end = extent->rva + extent->size;
    const SymbolTable::Entry* const entry = FindLast(m_table->entries, rva);
    const SymbolTable::Entry* const next = entry == nullptr ? m_table->entries.begin() : entry + 1;
    const bool isKnown = entry != nullptr && entry->rva >= extent->rva;
    symbol.function = isKnown ? entry->name : "";
    symbol.object = extent->object;
    symbol.rva = isKnown ? entry->rva : extent->rva;
    symbol.size = (next != m_table->entries.end() && next->rva < end ? next->rva : end) - symbol.rva;
    return true;
}

bool SymbolMap::FindName(const char* function, unsigned long& rva) const {
    if (m_table != nullptr) {
        for (const SymbolTable::Entry& entry : m_table->entries) {
            if (std::strcmp(entry.name, function) == 0) {
                rva = entry.rva;
                return true;
            }
        }
    }
    return false;
}

SymbolFormat SymbolMap::GetFormat() const {
    return m_table != nullptr ? m_table->format : SYMBOL_FORMAT_UNKNOWN;
}

unsigned long SymbolMap::GetCount() const {
    return m_table != nullptr ? m_table->entries.Size() : 0;
}

unsigned long SymbolMap::GetSkipped() const {
    return m_table != nullptr ? m_table->skipped : 0;
}

unsigned long SymbolMap::GetBytes() const {
    return m_table == nullptr ? 0
                              : static_cast<unsigned long>(sizeof *m_table + m_table->names.GetBytes() +
                                                           m_table->entries.Capacity() * sizeof(SymbolTable::Entry) +
                                                           m_table->extents.Capacity() * sizeof(SymbolTable::Extent));
}

} // namespace Z4
