#include <zelk_core/base/path.h>
#include <zelk_core/base/str.h>
#include <zelk_core/base/utf.h>

namespace Z4 {

namespace {

constexpr StrView SEPARATORS = "/\\";

constexpr bool IsSeparator(char character) {
    return character == '/' || character == '\\';
}

/// Where the file name begins.
std::size_t NameStart(StrView path) {
    std::size_t start = path.Size();
    while (start != 0 && !IsSeparator(path[start - 1]) && !(start == 2 && path[1] == ':')) {
        --start;
    }
    return start;
}

/// The system takes a device's name for the device also with blanks and any extension behind, and superscript digits as
/// if they were plain ones.
bool IsDevice(StrView part) {
    const StrView stem = Str::TrimRight(part.Substring(0, Str::Find(part, ".")), " ");
    static constexpr StrView NAMES[] = {"CON", "PRN", "AUX", "NUL", "CONIN$", "CONOUT$"};
    for (const StrView name : NAMES) {
        if (Str::EqualsNoCase(stem, name)) {
            return true;
        }
    }
    if (!Str::StartsWithNoCase(stem, "COM") && !Str::StartsWithNoCase(stem, "LPT")) {
        return false;
    }
    const StrView number = stem.Substring(3);
    static constexpr StrView SUPERSCRIPTS[] = {"\xC2\xB9", "\xC2\xB2", "\xC2\xB3"};
    return (number.Size() == 1 && number[0] >= '0' && number[0] <= '9') || number == SUPERSCRIPTS[0] ||
           number == SUPERSCRIPTS[1] || number == SUPERSCRIPTS[2];
}

bool IsSafePart(StrView part) {
    if (part.IsEmpty() || part[part.Size() - 1] == '.' || part[part.Size() - 1] == ' ' || IsDevice(part)) {
        return false;
    }
    for (const char character : part) {
        if (static_cast<unsigned char>(character) < ' ') {
            return false;
        }
    }
    return Str::FindAny(part, "<>:\"|?*") == Str::NPOS;
}

} // namespace

StrView Path::FileName(StrView path) {
    return path.Substring(NameStart(path));
}

StrView Path::Extension(StrView path) {
    const StrView name = FileName(path);
    const std::size_t dot = Str::FindLast(name, ".");
    return dot != Str::NPOS && dot != 0 && name != ".." ? name.Substring(dot) : StrView();
}

StrView Path::Folder(StrView path) {
    std::size_t end = NameStart(path);
    const bool hasDrive = path.Size() >= 2 && path[1] == ':';
    const std::size_t root = hasDrive ? 2 : 0;
    if (end > root + 1) { // at least the separator
        --end;
    }
    return path.Substring(0, end);
}

std::size_t Path::Join(char* to, std::size_t size, StrView folder, StrView name) {
    const bool isParted = folder.IsEmpty() || name.IsEmpty() || IsSeparator(folder[folder.Size() - 1]) ||
                          folder[folder.Size() - 1] == ':' || IsSeparator(name[0]);
    const bool hasBackslash = Str::Find(folder, "\\") != Str::NPOS && Str::Find(folder, "/") == Str::NPOS;
    const StrView parts[] = {folder, isParted ? "" : hasBackslash ? "\\" : "/", name};
    std::size_t length = 0;
    for (const StrView part : parts) {
        const std::size_t at = length < size ? length : size;
        Str::Copy(to + at, size - at, part);
        length += part.Size();
    }
    return length;
}

bool Path::IsSafeRelative(StrView path) {
    if (!Utf::IsValidUtf8(path)) {
        return false;
    }
    for (;;) {
        const std::size_t end = Str::FindAny(path, SEPARATORS);
        if (!IsSafePart(path.Substring(0, end))) {
            return false;
        }
        if (end == Str::NPOS) {
            return true;
        }
        path = path.Substring(end + 1);
    }
}

} // namespace Z4
