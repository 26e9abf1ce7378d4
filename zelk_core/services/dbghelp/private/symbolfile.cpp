#include <cstring>
#include <utility>
#include <zelk_core/base/hostnew.h>
#include <zelk_core/base/path.h>
#include <zelk_core/base/str.h>
#include <zelk_core/eal_utils/ealfile.h>
#include <zelk_core/services/dbghelp/private/symbolfile.h>

namespace Z4::Private {

namespace {

constexpr std::size_t LONGEST_PATH = 1024;

/// A whole file in the host's memory.
class FileBytes {
public:
    FileBytes() = default;
    ~FileBytes() { FreeToHost(m_bytes); }
    FileBytes(const FileBytes&) = delete;
    FileBytes& operator=(const FileBytes&) = delete;

    Error Read(const char* path) {
        EalFile file;
        Error error = file.Open(path, EalFile::READ_ONLY);
        std::uint64_t size = 0;
        if (error != ERR_OK || (error = file.GetSize(size)) != ERR_OK) {
            return error;
        }
        if (size > SymbolMap::LARGEST_FILE) {
            return ERR_OVERFLOW;
        }
        if (size == 0) {
            return ERR_OK;
        }
        m_bytes = AllocateFromHost(static_cast<std::size_t>(size), alignof(std::uint32_t));
        return m_bytes != nullptr ? static_cast<Error>(file.Read(m_bytes, static_cast<std::uint32_t>(size), m_size))
                                  : ERR_OUT_OF_MEMORY;
    }

    const void* GetBytes() const { return m_bytes; }
    std::uint32_t GetSize() const { return m_size; }

private:
    void* m_bytes = nullptr;
    std::uint32_t m_size = 0;
};

Error ReadBytes(const FileBytes& bytes, const ImageView& image, SymbolMap& map) {
    constexpr std::uint32_t MOST_SECTIONS = 96; // the system loads no image with more
    SymbolMap::Section sections[MOST_SECTIONS];
    std::uint32_t count = 0;
    ImageView::Section section;
    for (; count < MOST_SECTIONS && image.GetSection(count, section); ++count) {
        sections[count] = {section.rva, section.size, section.code};
    }
    return map.Read(bytes.GetBytes(), bytes.GetSize(), {image.GetImageSize(), image.GetTimeStamp(), count, sections});
}

/// The path of `name` beside `module`; false when it is too long.
bool Beside(StrView module, StrView name, char (&path)[LONGEST_PATH]) {
    return Path::Join(path, sizeof path, Path::Folder(module), name) < sizeof path;
}

} // namespace

Error ReadSymbolFile(const char* path, const ImageView& image, SymbolMap& map) {
    FileBytes bytes;
    const Error error = bytes.Read(path);
    return error == ERR_OK ? ReadBytes(bytes, image, map) : error;
}

Error FindSymbolFile(const char* module, const ImageView& image, SymbolMap& map) {
    const StrView whole = module;
    const StrView stem = whole.Substring(0, whole.Size() - Path::Extension(whole).Size());
    char path[LONGEST_PATH];
    Error result = ERR_NOT_FOUND;
    const auto isDone = [&](Error error) {
        result = error == ERR_OK || result == ERR_NOT_FOUND ? error : result;
        return error == ERR_OK;
    };
    for (const StrView front : {stem, whole}) {
        if (Str::Copy(path, sizeof path, front) + sizeof ".map" <= sizeof path) {
            Str::Append(path, sizeof path, ".map");
            if (isDone(ReadSymbolFile(path, image, map))) {
                return ERR_OK;
            }
        }
    }
    FileBytes bytes;
    if (const Error error = bytes.Read(module); error != ERR_OK) {
        isDone(error);
        return result;
    }
    if (isDone(ReadBytes(bytes, image, map))) {
        return ERR_OK;
    }
    char link[260];
    if (ImageView(bytes.GetBytes(), bytes.GetSize()).GetDebugLink(link) && Path::FileName(link) == StrView(link) &&
        Beside(whole, link, path)) {
        isDone(ReadSymbolFile(path, image, map));
    }
    return result;
}

} // namespace Z4::Private
