#include <zelk_core/services/dbghelp/private/imageview.h>

namespace Z4::Private {

namespace {

// The layout of images: "PE Format", Microsoft's documentation of Windows.
constexpr std::uint16_t PROGRAM_MARK = 0x5A4D; // "MZ"
constexpr std::uint32_t SIGNATURE = 0x4550;    // "PE", 0, 0
constexpr std::uint32_t SIGNATURE_AT = 0x3C;
constexpr std::uint32_t FILE_HEADER = 4; // behind the signature
constexpr std::uint32_t OPTIONAL_HEADER = 24;
constexpr std::uint16_t WIDE_MAGIC = 0x20B; // of 64-bit images
constexpr std::uint32_t SECTION_SIZE = 40;
constexpr std::uint32_t EXPORTS_SIZE = 40;
constexpr std::uint32_t EXPORT_DIRECTORY = 0;
constexpr std::uint32_t IMPORT_ADDRESSES = 12;
constexpr std::uint32_t CODE_FLAGS = 0x20000020; // holds code, or may be executed

} // namespace

ImageView::ImageView(const void* bytes, std::uint32_t size)
    : m_bytes(static_cast<const unsigned char*>(bytes)), m_size(size) {
    constexpr std::uint32_t SMALLEST_OPTIONAL_HEADER = 60; // up to the image's size
    if (!Has(SIGNATURE_AT, 4) || Get<std::uint16_t>(0) != PROGRAM_MARK) {
        return;
    }
    const auto headers = Get<std::uint32_t>(SIGNATURE_AT);
    if (!Has(headers, OPTIONAL_HEADER + SMALLEST_OPTIONAL_HEADER) || Get<std::uint32_t>(headers) != SIGNATURE) {
        return;
    }
    const std::uint32_t file = headers + FILE_HEADER;
    const std::uint32_t optional = headers + OPTIONAL_HEADER;
    const std::uint32_t optionalSize = Get<std::uint16_t>(file + 16);
    m_headers = headers;
    m_timeStamp = Get<std::uint32_t>(file + 4);
    m_symbolTable = {Get<std::uint32_t>(file + 8), Get<std::uint32_t>(file + 12)};
    m_imageSize = Get<std::uint32_t>(optional + 56);
    m_sections = optional + optionalSize;
    m_sectionCount = Get<std::uint16_t>(file + 2);
    if (!Has(m_sections, std::uint64_t{m_sectionCount} * SECTION_SIZE)) {
        m_sectionCount = 0;
    }
    const std::uint32_t directories = Get<std::uint16_t>(optional) == WIDE_MAGIC ? 112 : 96;
    const auto read = [&](std::uint32_t number, std::uint32_t& rva, std::uint32_t& extent) {
        const std::uint32_t entry = directories + number * 8;
        if (optionalSize >= entry + 8 && Has(optional, entry + 8) &&
            number < Get<std::uint32_t>(optional + directories - 4)) {
            rva = Get<std::uint32_t>(optional + entry);
            extent = Get<std::uint32_t>(optional + entry + 4);
        }
    };
    read(EXPORT_DIRECTORY, m_exports, m_exportsSize);
    read(IMPORT_ADDRESSES, m_imports.rva, m_imports.size);
}

bool ImageView::GetSection(std::uint32_t index, Section& section) const {
    if (index >= m_sectionCount) {
        return false;
    }
    const std::uint32_t header = m_sections + index * SECTION_SIZE;
    std::memcpy(section.name, m_bytes + header, sizeof section.name);
    section.size = Get<std::uint32_t>(header + 8);
    section.rva = Get<std::uint32_t>(header + 12);
    section.fileSize = Get<std::uint32_t>(header + 16);
    section.offset = Get<std::uint32_t>(header + 20);
    section.flags = Get<std::uint32_t>(header + 36);
    section.code = (section.flags & CODE_FLAGS) != 0;
    return true;
}

bool ImageView::FindCode(std::uint32_t rva, Section& section) const {
    for (std::uint32_t i = 0; GetSection(i, section); ++i) {
        if (section.code && rva - section.rva < section.size) {
            return true;
        }
    }
    return false;
}

bool ImageView::HasName(const Section& section, const char* name) const {
    constexpr std::uint32_t SYMBOL_SIZE = 18;
    if (section.name[0] != '/') {
        return std::strncmp(section.name, name, sizeof section.name) == 0;
    }
    std::uint64_t offset = m_symbolTable.offset + std::uint64_t{m_symbolTable.count} * SYMBOL_SIZE;
    std::uint32_t number = 0;
    for (std::size_t i = 1; i < sizeof section.name && section.name[i] >= '0' && section.name[i] <= '9'; ++i) {
        number = number * 10 + static_cast<std::uint32_t>(section.name[i] - '0');
    }
    offset += number;
    return offset < m_size && std::strcmp(GetText(static_cast<std::uint32_t>(offset)), name) == 0;
}

bool ImageView::GetDebugLink(char (&name)[260]) const {
    Section section;
    for (std::uint32_t i = 0; GetSection(i, section); ++i) {
        if (HasName(section, ".gnu_debuglink")) {
            const char* const text = GetText(section.offset);
            const std::size_t length = std::strlen(text);
            std::memcpy(name, text, length < sizeof name ? length + 1 : 0);
            return length != 0 && length < sizeof name;
        }
    }
    return false;
}

bool ImageView::ReadExports(Exports& exports) const {
    if (m_exports == 0 || !Has(m_exports, EXPORTS_SIZE)) {
        return false;
    }
    exports = {m_exports,
               m_exports + m_exportsSize,
               Get<std::uint32_t>(m_exports + 12),
               Get<std::uint32_t>(m_exports + 20),
               Get<std::uint32_t>(m_exports + 24),
               Get<std::uint32_t>(m_exports + 28),
               Get<std::uint32_t>(m_exports + 32),
               Get<std::uint32_t>(m_exports + 36)};
    return Has(exports.functions, std::uint64_t{exports.functionCount} * 4) &&
           Has(exports.names, std::uint64_t{exports.nameCount} * 4) &&
           Has(exports.ordinals, std::uint64_t{exports.nameCount} * 2);
}

const char* ImageView::GetText(std::uint32_t offset) const {
    if (offset >= m_size || std::memchr(m_bytes + offset, 0, m_size - offset) == nullptr) {
        return "";
    }
    return reinterpret_cast<const char*>(m_bytes + offset);
}

std::uint32_t ImageView::GetFunction(const Exports& exports, std::uint32_t ordinal) const {
    if (ordinal >= exports.functionCount) {
        return 0;
    }
    const auto function = Get<std::uint32_t>(exports.functions + ordinal * 4);
    // Within the directory stands the name of another module's function.
    return function >= exports.begin && function < exports.end ? 0 : function;
}

bool ImageView::FindExport(std::uint32_t rva, const char*& name, std::uint32_t& start) const {
    Section section;
    Exports exports;
    if (!FindCode(rva, section) || !ReadExports(exports)) {
        return false;
    }
    std::uint32_t nearest = 0;
    for (std::uint32_t i = 0; i < exports.functionCount; ++i) {
        const std::uint32_t function = GetFunction(exports, i);
        nearest = function <= rva && function > nearest ? function : nearest;
    }
    if (nearest < section.rva || nearest == 0) {
        return false;
    }
    for (std::uint32_t i = 0; i < exports.nameCount; ++i) {
        if (GetFunction(exports, Get<std::uint16_t>(exports.ordinals + i * 2)) == nearest) {
            name = GetText(Get<std::uint32_t>(exports.names + i * 4));
            start = nearest;
            return *name != '\0';
        }
    }
    return false;
}

bool ImageView::FindExportByName(const char* name, std::uint32_t& rva) const {
    Exports exports;
    if (!ReadExports(exports)) {
        return false;
    }
    for (std::uint32_t i = 0; i < exports.nameCount; ++i) {
        if (std::strcmp(GetText(Get<std::uint32_t>(exports.names + i * 4)), name) == 0) {
            rva = GetFunction(exports, Get<std::uint16_t>(exports.ordinals + i * 2));
            Section section;
            return FindCode(rva, section);
        }
    }
    return false;
}

const char* ImageView::GetName() const {
    Exports exports;
    return ReadExports(exports) ? GetText(exports.name) : "";
}

} // namespace Z4::Private
