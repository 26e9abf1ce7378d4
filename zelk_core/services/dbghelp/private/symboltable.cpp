#include <algorithm>
#include <cstring>
#include <zelk_core/base/str.h>
#include <zelk_core/services/dbghelp/private/symboltable.h>

namespace Z4::Private {

namespace {

constexpr std::uint64_t NO_LIMIT = 0xFFFFFFFF;
constexpr unsigned MOST = SymbolMap::MOST_SYMBOLS;

bool IsDigit(char character) {
    return character >= '0' && character <= '9';
}

bool IsLetter(char character) {
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z');
}

/// Whether the name is as the linker knows it, so not made readable for people.
bool IsRaw(StrView name) {
    return Str::FindAny(name, " :(") == StrView::NPOS;
}

/// Takes off what calling conventions add: the `@8` of __stdcall and the `@` at both ends of __fastcall.
StrView WithoutArgumentSize(StrView name) {
    std::size_t digits = name.Size();
    while (digits != 0 && IsDigit(name[digits - 1])) {
        --digits;
    }
    if (digits == name.Size() || digits < 2 || name[digits - 1] != '@' || name[0] == '?') {
        return name;
    }
    const std::size_t first = name[0] == '@' ? 1 : 0;
    return name.Substring(first, digits - 1 - first);
}

} // namespace

bool SymbolTableBuilder::IsCode(std::uint64_t rva, StrView name) const {
    if (m_image.size == 0 || m_image.sectionCount == 0) {
        return Str::StartsWith(name, ".text");
    }
    return std::any_of(m_image.sections, m_image.sections + m_image.sectionCount,
                       [&](const SymbolMap::Section& section) {
                           return section.code && rva >= section.rva && rva - section.rva < section.size;
                       });
}

bool SymbolTableBuilder::IsInside(std::uint64_t rva, std::uint64_t size) const {
    const std::uint64_t limit = m_image.size != 0 ? m_image.size : NO_LIMIT;
    return rva < limit && size <= limit - rva;
}

void SymbolTableBuilder::AddSection(std::uint64_t rva, std::uint64_t size, std::uint32_t unlisted) {
    // Beyond the largest address there is none to compare with.
    if (rva <= NO_LIMIT && size <= NO_LIMIT && m_sections.Size() < MOST) {
        m_sections.PushBack({static_cast<std::uint32_t>(rva), static_cast<std::uint32_t>(size), unlisted});
    }
}

void SymbolTableBuilder::AddTimeStamp(std::uint32_t timeStamp) {
    m_timeStamp = timeStamp;
}

void SymbolTableBuilder::AddExtent(std::uint64_t rva, std::uint64_t size, StrView object) {
    if (!IsInside(rva, size) || object.Size() > SymbolMap::LONGEST_NAME) {
        Skip();
    } else if (m_table.extents.Size() == MOST) {
        m_error = ERR_OVERFLOW;
    } else if (size != 0) {
        m_table.extents.PushBack({static_cast<std::uint32_t>(rva), static_cast<std::uint32_t>(size), Keep(object)});
    }
}

void SymbolTableBuilder::AddSectionsAsExtents() {
    for (unsigned long i = 0; m_image.size != 0 && i < m_image.sectionCount; ++i) {
        if (m_image.sections[i].code) {
            AddExtent(m_image.sections[i].rva, m_image.sections[i].size, {});
        }
    }
}

void SymbolTableBuilder::Add(std::uint64_t rva, StrView name, bool isSubstitute) {
    const bool isRaw = IsRaw(name);
    m_hasPlainName = m_hasPlainName || (isRaw && !isSubstitute && !name.IsEmpty() && IsLetter(name[0]));
    name = WithoutArgumentSize(name);
    if (m_underscores == PRESENT && isRaw && name.Size() > 1 && name[0] == '_') {
        name = name.Substring(1);
    }
    if (!IsInside(rva, 1) || name.IsEmpty() || name.Size() > SymbolMap::LONGEST_NAME) {
        Skip();
        return;
    }
    if (m_symbols.Size() == MOST) {
        m_error = ERR_OVERFLOW;
        return;
    }
    m_symbols.PushBack(
        {static_cast<std::uint32_t>(rva), m_symbols.Size() | (isSubstitute ? SUBSTITUTE : 0), Keep(name)});
}

const char* SymbolTableBuilder::Keep(StrView text) {
    unsigned long handle = 0;
    const Error error = m_table.names.Add(text.Data(), static_cast<unsigned long>(text.Size()), handle);
    m_error = error != ERR_OK ? error : m_error;
    return m_table.names.Get(handle);
}

bool SymbolTableBuilder::Fits(const ListedSection& listed, const SymbolMap::Section& own) {
    constexpr std::uint32_t FILE_ALIGNMENT = 512;
    if (listed.rva != own.rva) {
        return false;
    }
    // Some linkers print sizes as they are in the file.
    const bool isRounded =
        listed.size % FILE_ALIGNMENT == 0 && listed.size > own.size && listed.size - own.size < FILE_ALIGNMENT;
    return isRounded || (listed.size <= own.size && own.size - listed.size <= listed.unlisted);
}

bool SymbolTableBuilder::IsOfImage() const {
    if (m_image.size == 0) {
        return true;
    }
    if (m_timeStamp != 0 && m_image.timeStamp != 0 && m_timeStamp != m_image.timeStamp) {
        return false;
    }
    for (unsigned long i = 0; !m_sections.IsEmpty() && i < m_image.sectionCount; ++i) {
        const SymbolMap::Section& own = m_image.sections[i];
        const bool isThere = std::any_of(m_sections.begin(), m_sections.end(),
                                         [&](const ListedSection& listed) { return Fits(listed, own); });
        if (own.code && own.size != 0 && !isThere) {
            return false;
        }
    }
    return true;
}

void SymbolTableBuilder::DropUnderscores() {
    if (m_underscores != UNKNOWN || m_hasPlainName) {
        return;
    }
    for (Raw& symbol : m_symbols) {
        if (symbol.name[0] == '_' && symbol.name[1] != '\0' && symbol.order < SUBSTITUTE && IsRaw(symbol.name)) {
            ++symbol.name;
        }
    }
}

Error SymbolTableBuilder::Finish() {
    if (m_error != ERR_OK) {
        return m_error;
    }
    if (m_symbols.WasRefused() || m_sections.WasRefused() || m_table.extents.WasRefused()) {
        return ERR_OUT_OF_MEMORY;
    }
    if (!IsOfImage()) {
        return ERR_CANNOT_ASSIGN;
    }
    if (m_symbols.IsEmpty()) {
        return ERR_CORRUPTED_DATA;
    }
    DropUnderscores();
    // Of equal addresses the first one of the file comes last, where a search for the last that fits ends.
    std::sort(m_symbols.begin(), m_symbols.end(), [](const Raw& left, const Raw& right) {
        return left.rva != right.rva ? left.rva < right.rva : left.order > right.order;
    });
    const unsigned kept = m_symbols.Size() - 1;
    unsigned count = 0;
    for (unsigned i = 0; i < m_symbols.Size(); ++i) {
        const bool isLast = i == kept || m_symbols[i + 1].rva != m_symbols[i].rva;
        if (isLast || (m_symbols[i].order < SUBSTITUTE && m_symbols[i + 1].name != m_symbols[i].name)) {
            m_symbols[count++] = m_symbols[i];
        }
    }
    if (!m_table.entries.Reserve(count)) {
        return ERR_OUT_OF_MEMORY;
    }
    for (unsigned i = 0; i < count; ++i) {
        m_table.entries.PushBack({m_symbols[i].rva, m_symbols[i].name});
    }
    Vector<SymbolTable::Extent>& extents = m_table.extents;
    if (extents.IsEmpty() &&
        !extents.PushBack({m_symbols[0].rva, m_symbols[count - 1].rva - m_symbols[0].rva + 1, ""})) {
        return ERR_OUT_OF_MEMORY;
    }
    std::sort(extents.begin(), extents.end(), [](const SymbolTable::Extent& left, const SymbolTable::Extent& right) {
        return left.rva != right.rva ? left.rva < right.rva : left.size < right.size;
    });
    return ERR_OK;
}

Lines::Lines(const void* bytes, std::uint32_t size) : m_next(static_cast<const char*>(bytes)), m_end(m_next + size) {
    constexpr StrView BYTE_ORDER_MARK = "\xEF\xBB\xBF";
    if (Str::StartsWith(StrView(m_next, size), BYTE_ORDER_MARK)) {
        m_next += BYTE_ORDER_MARK.Size();
    }
}

bool Lines::Next(StrView& line, bool& isTooLong) {
    if (m_next == m_end) {
        return false;
    }
    const auto rest = static_cast<std::size_t>(m_end - m_next);
    const void* const found = std::memchr(m_next, '\n', rest);
    const char* const end = found != nullptr ? static_cast<const char*>(found) : m_end;
    std::size_t length = static_cast<std::size_t>(end - m_next);
    if (length != 0 && m_next[length - 1] == '\r') {
        --length;
    }
    isTooLong = length > SymbolMap::LONGEST_LINE;
    line = StrView(m_next, isTooLong ? SymbolMap::LONGEST_LINE : length);
    m_next = found != nullptr ? end + 1 : m_end;
    return true;
}

bool TakeHex(StrView& text, std::uint64_t& number) {
    constexpr std::size_t MOST_DIGITS = 16;
    const std::size_t begin = Str::StartsWith(text, "0x") ? 2 : 0;
    std::size_t end = begin;
    number = 0;
    for (; end < text.Size() && end - begin <= MOST_DIGITS; ++end) {
        const char character = text[end];
        const char lower = static_cast<char>(character | 0x20);
        unsigned digit = 0;
        if (IsDigit(character)) {
            digit = static_cast<unsigned>(character - '0');
        } else if (lower >= 'a' && lower <= 'f') {
            digit = static_cast<unsigned>(lower - 'a') + 10;
        } else {
            break;
        }
        number = number << 4 | digit;
    }
    if (end == begin || end - begin > MOST_DIGITS) {
        return false;
    }
    text = text.Substring(end);
    return true;
}

std::size_t TakeBlanks(StrView& text) {
    std::size_t count = 0;
    while (count < text.Size() && text[count] == ' ') {
        ++count;
    }
    text = text.Substring(count);
    return count;
}

StrView TakeWord(StrView& text) {
    std::size_t count = 0;
    while (count < text.Size() && text[count] != ' ') {
        ++count;
    }
    const StrView word = text.Substring(0, count);
    text = text.Substring(count);
    return word;
}

} // namespace Z4::Private
