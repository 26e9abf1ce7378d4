#include <host/file.h>
#include <host/fileengine.h>

namespace ZelkHost {

namespace {

constexpr std::size_t LONGEST_PATH = 32766; // without its terminator

bool IsValidMode(unsigned mode) {
    constexpr unsigned ALL = Z4::EAL_FILE_READ | Z4::EAL_FILE_WRITE | Z4::EAL_FILE_CREATE | Z4::EAL_FILE_TRUNCATE |
                             Z4::EAL_FILE_EXCLUSIVE | Z4::EAL_FILE_UNBUFFERED | Z4::EAL_FILE_ASYNC;
    const bool accesses = (mode & (Z4::EAL_FILE_READ | Z4::EAL_FILE_WRITE)) != 0;
    const bool truncatesUnwritable = (mode & Z4::EAL_FILE_TRUNCATE) != 0 && (mode & Z4::EAL_FILE_WRITE) == 0;
    const bool exclusiveUncreated = (mode & Z4::EAL_FILE_EXCLUSIVE) != 0 && (mode & Z4::EAL_FILE_CREATE) == 0;
    return (mode & ~ALL) == 0 && accesses && !truncatesUnwritable && !exclusiveUncreated;
}

DWORD Access(unsigned mode) {
    return ((mode & Z4::EAL_FILE_READ) != 0 ? GENERIC_READ : 0) |
           ((mode & Z4::EAL_FILE_WRITE) != 0 ? GENERIC_WRITE : 0);
}

DWORD Sharing(unsigned mode) {
    return (mode & Z4::EAL_FILE_WRITE) != 0 ? 0 : FILE_SHARE_READ;
}

DWORD Disposition(unsigned mode) {
    if ((mode & Z4::EAL_FILE_EXCLUSIVE) != 0) {
        return CREATE_NEW;
    }
    if ((mode & Z4::EAL_FILE_CREATE) != 0) {
        return (mode & Z4::EAL_FILE_TRUNCATE) != 0 ? CREATE_ALWAYS : OPEN_ALWAYS;
    }
    return (mode & Z4::EAL_FILE_TRUNCATE) != 0 ? TRUNCATE_EXISTING : OPEN_EXISTING;
}

DWORD Flags(unsigned mode) {
    return ((mode & Z4::EAL_FILE_ASYNC) != 0 ? FILE_FLAG_OVERLAPPED : 0) |
           ((mode & Z4::EAL_FILE_UNBUFFERED) != 0 ? FILE_FLAG_NO_BUFFERING : 0);
}

std::uint32_t SectorSizeOf(const std::wstring& path) {
    constexpr std::uint32_t FALLBACK = 4096; // a multiple of every sector size in use
    wchar_t volume[MAX_PATH];
    DWORD sectorsPerCluster = 0;
    DWORD bytesPerSector = 0;
    DWORD freeClusters = 0;
    DWORD clusters = 0;
    return GetVolumePathNameW(path.c_str(), volume, MAX_PATH) &&
                   GetDiskFreeSpaceW(volume, &sectorsPerCluster, &bytesPerSector, &freeClusters, &clusters)
               ? bytesPerSector
               : FALLBACK;
}

// The system only says that access to a directory is denied.
Z4::eal_file_status OpenFailure(const std::wstring& path) {
    const DWORD error = GetLastError();
    if (error == ERROR_ACCESS_DENIED) {
        const DWORD attributes = GetFileAttributesW(path.c_str());
        if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
            return Z4::EAL_FILE_IS_DIRECTORY;
        }
    }
    return StatusOf(error);
}

} // namespace

std::wstring SystemPath(const std::wstring& path) {
    constexpr std::size_t LONGEST_PLAIN = 247; // with room for a short name, as for folders
    constexpr wchar_t PREFIX[] = L"\\\\?\\";
    if (path.size() <= LONGEST_PLAIN || path.starts_with(PREFIX)) {
        return path;
    }
    // Behind the prefix the system takes names as they stand, so slashes, dots and the current folder are resolved
    // here.
    std::wstring full(LONGEST_PATH + 1, L'\0');
    const DWORD size = GetFullPathNameW(path.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr);
    if (size == 0 || size >= full.size()) {
        return path;
    }
    full.resize(size);
    if (full.starts_with(L"\\\\.\\")) {
        return path; // a device
    }
    return full.starts_with(L"\\\\") ? PREFIX + (L"UNC" + full.substr(1)) : PREFIX + full;
}

Z4::eal_file_status File::Open(const char* path, unsigned mode, std::unique_ptr<File>& file) {
    if (!IsValidMode(mode)) {
        return Z4::EAL_FILE_INVALID_ARGUMENT;
    }
    std::wstring wide;
    if (!Widen(path, wide)) {
        return StatusOf(GetLastError());
    }
    if (wide.size() > LONGEST_PATH) {
        return Z4::EAL_FILE_PATH_TOO_LONG; // the system would say that it finds none
    }
    wide = SystemPath(wide);
    auto opened = std::make_unique<File>();
    opened->isAsync = (mode & Z4::EAL_FILE_ASYNC) != 0;
    opened->writable = (mode & Z4::EAL_FILE_WRITE) != 0;
    opened->alignment = (mode & Z4::EAL_FILE_UNBUFFERED) != 0 ? SectorSizeOf(wide) : 1;
    opened->handle =
        CreateFileW(wide.c_str(), Access(mode), Sharing(mode), nullptr, Disposition(mode), Flags(mode), nullptr);
    if (opened->handle == INVALID_HANDLE_VALUE) {
        return OpenFailure(wide);
    }
    if (GetFileType(opened->handle) != FILE_TYPE_DISK) {
        return Z4::EAL_FILE_NOT_SEEKABLE;
    }
    if (opened->isAsync) {
        opened->blockingEnd = CreateEventW(nullptr, TRUE, FALSE, nullptr);
        if (opened->blockingEnd == nullptr) {
            return StatusOf(GetLastError());
        }
    }
    file = std::move(opened);
    return Z4::EAL_FILE_OK;
}

File::~File() {
    if (handle != INVALID_HANDLE_VALUE) {
        CloseHandle(handle);
    }
    if (blockingEnd != nullptr) {
        CloseHandle(blockingEnd);
    }
}

} // namespace ZelkHost
