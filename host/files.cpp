#include <host/file.h>
#include <host/fileengine.h>
#include <new>
#include <stdexcept>

namespace ZelkHost {

namespace {

OVERLAPPED At(std::uint64_t offset) {
    OVERLAPPED position{};
    position.Offset = static_cast<DWORD>(offset);
    position.OffsetHigh = static_cast<DWORD>(offset >> 32);
    return position;
}

Z4::eal_file_status LastStatus() {
    return StatusOf(GetLastError());
}

constinit FileEngine g_engine;
constinit InitCount g_uses;

// The system takes offsets above for commands, such as "at the end".
constexpr std::uint64_t LARGEST_OFFSET = INT64_MAX;

Z4::eal_file_status CheckTransfer(const File* file, const void* buffer, std::uint32_t size, std::uint64_t offset) {
    if (file == nullptr) {
        return Z4::EAL_FILE_INVALID_HANDLE;
    }
    if (offset > LARGEST_OFFSET - size) {
        return Z4::EAL_FILE_INVALID_OFFSET;
    }
    const std::uint64_t misaligned = (reinterpret_cast<std::uintptr_t>(buffer) | size | offset) % file->alignment;
    if ((buffer == nullptr && size != 0) || misaligned != 0) {
        return Z4::EAL_FILE_INVALID_ARGUMENT;
    }
    return Z4::EAL_FILE_OK;
}

/// `start(handle, transferred, overlapped)` is the system's ReadFile or WriteFile. The file's lock is held.
template <class Start>
Z4::eal_file_status TransferPlain(File& file, std::uint64_t offset, std::uint32_t* transferred, Start start) {
    if (file.position != offset) {
        LARGE_INTEGER target;
        target.QuadPart = static_cast<LONGLONG>(offset);
        if (!SetFilePointerEx(file.handle, target, nullptr, FILE_BEGIN)) {
            file.position = File::NOWHERE;
            return LastStatus();
        }
    }
    DWORD bytes = 0;
    const BOOL done = start(file.handle, &bytes, nullptr);
    const Z4::eal_file_status status = done ? Z4::EAL_FILE_OK : LastStatus();
    *transferred = bytes;
    file.position = done ? offset + bytes : File::NOWHERE;
    return status;
}

template <class Start>
Z4::eal_file_status TransferOverlapped(File& file, std::uint64_t offset, std::uint32_t* transferred, Start start) {
    OVERLAPPED overlapped = At(offset);
    // With its lowest bit set, the event keeps this operation away from the completion port.
    overlapped.hEvent = reinterpret_cast<HANDLE>(reinterpret_cast<std::uintptr_t>(file.blockingEnd) | 1);
    if (!start(file.handle, nullptr, &overlapped) && GetLastError() != ERROR_IO_PENDING) {
        return LastStatus();
    }
    DWORD bytes = 0;
    const BOOL done = GetOverlappedResult(file.handle, &overlapped, &bytes, TRUE);
    *transferred = bytes;
    return done ? Z4::EAL_FILE_OK : LastStatus();
}

template <class Start>
Z4::eal_file_status Transfer(Z4::eal_file_handle handle, const void* buffer, std::uint32_t size, std::uint64_t offset,
                             std::uint32_t* transferred, Start start) {
    if (transferred == nullptr) {
        return Z4::EAL_FILE_INVALID_ARGUMENT;
    }
    *transferred = 0;
    auto* const file = static_cast<File*>(handle);
    if (const Z4::eal_file_status status = CheckTransfer(file, buffer, size, offset); status != Z4::EAL_FILE_OK) {
        return status;
    }
    const std::lock_guard guard(file->blocking);
    return file->isAsync ? TransferOverlapped(*file, offset, transferred, start)
                         : TransferPlain(*file, offset, transferred, start);
}

template <class Start>
Z4::eal_file_status TransferAsync(Z4::eal_file_handle handle, const void* buffer, std::uint32_t size,
                                  std::uint64_t offset, Z4::eal_file_completion completion, void* context,
                                  Start start) {
    auto* const file = static_cast<File*>(handle);
    if (const Z4::eal_file_status status = CheckTransfer(file, buffer, size, offset); status != Z4::EAL_FILE_OK) {
        return status;
    }
    if (completion == nullptr) {
        return Z4::EAL_FILE_INVALID_ARGUMENT;
    }
    if (!file->isAsync) {
        return Z4::EAL_FILE_UNSUPPORTED;
    }
    auto* const operation = new (std::nothrow) FileOperation(At(offset), &file->pending, completion, context);
    if (operation == nullptr || !g_engine.Begin(file->pending)) {
        delete operation;
        return Z4::EAL_FILE_HOST_SPECIFIC;
    }
    // Once it is pending, the operation is the engine's: it may have ended, and be gone, before this call returns.
    const DWORD error = start(file->handle, nullptr, operation) ? ERROR_SUCCESS : GetLastError();
    const bool ended = error == ERROR_SUCCESS || error == ERROR_HANDLE_EOF;
    if (error == ERROR_IO_PENDING || (ended && g_engine.Complete(*operation))) {
        return Z4::EAL_FILE_OK;
    }
    // A transfer whose end cannot be told has failed: no completion follows, and the caller may repeat it.
    delete operation;
    g_engine.End(file->pending);
    return ended ? Z4::EAL_FILE_HOST_SPECIFIC : StatusOf(error);
}

int Z4_CDECL Init(unsigned version) {
    g_uses.Enter([] {});
    return CheckVersion("file", version, Z4::EAL_FILE_VERSION);
}

int Z4_CDECL Shutdown() {
    g_uses.Leave([] {
        if (!g_engine.IsOwnThread()) {
            g_engine.Stop();
        }
    });
    return 0;
}

Z4::eal_file_status Z4_CDECL Open(const char* path, unsigned mode, Z4::eal_file_handle* handle) try {
    if (handle == nullptr) {
        return Z4::EAL_FILE_INVALID_ARGUMENT;
    }
    *handle = nullptr;
    if (path == nullptr) {
        return Z4::EAL_FILE_INVALID_ARGUMENT;
    }
    std::unique_ptr<File> file;
    if (const Z4::eal_file_status status = File::Open(path, mode, file); status != Z4::EAL_FILE_OK) {
        return status;
    }
    if (file->isAsync && !g_engine.Attach(file->handle)) {
        return LastStatus();
    }
    *handle = file.release();
    return Z4::EAL_FILE_OK;
} catch (const std::exception&) {
    return Z4::EAL_FILE_HOST_SPECIFIC;
}

// Neither here nor in Shutdown can the engine's thread wait for itself.
Z4::eal_file_status Z4_CDECL Close(Z4::eal_file_handle handle) {
    if (handle == nullptr) {
        return Z4::EAL_FILE_INVALID_HANDLE;
    }
    if (g_engine.IsOwnThread()) {
        return Z4::EAL_FILE_INVALID_ARGUMENT;
    }
    const std::unique_ptr<File> file(static_cast<File*>(handle));
    g_engine.WaitFor(file->pending);
    return Z4::EAL_FILE_OK;
}

/// Some file systems refuse to read where none of their files could have a byte; there, too, is the end of the file.
bool IsBehindEnd(Z4::eal_file_handle handle, std::uint64_t offset) {
    LARGE_INTEGER size{};
    return GetFileSizeEx(static_cast<File*>(handle)->handle, &size) &&
           offset >= static_cast<std::uint64_t>(size.QuadPart);
}

Z4::eal_file_status Z4_CDECL Read(Z4::eal_file_handle handle, void* buffer, std::uint32_t size, std::uint64_t offset,
                                  std::uint32_t* transferred) {
    const Z4::eal_file_status status =
        Transfer(handle, buffer, size, offset, transferred, [=](HANDLE file, DWORD* bytes, OVERLAPPED* overlapped) {
            return ReadFile(file, buffer, size, bytes, overlapped);
        });
    constexpr std::uint64_t LARGE = 1ULL << 40;
    return status == Z4::EAL_FILE_INVALID_ARGUMENT && offset >= LARGE && IsBehindEnd(handle, offset) ? Z4::EAL_FILE_OK
                                                                                                     : status;
}

Z4::eal_file_status Z4_CDECL Write(Z4::eal_file_handle handle, const void* buffer, std::uint32_t size,
                                   std::uint64_t offset, std::uint32_t* transferred) {
    return Transfer(handle, buffer, size, offset, transferred, [=](HANDLE file, DWORD* bytes, OVERLAPPED* overlapped) {
        return WriteFile(file, buffer, size, bytes, overlapped);
    });
}

Z4::eal_file_status Z4_CDECL ReadAsync(Z4::eal_file_handle handle, void* buffer, std::uint32_t size,
                                       std::uint64_t offset, Z4::eal_file_completion completion, void* context) {
    return TransferAsync(handle, buffer, size, offset, completion, context,
                         [=](HANDLE file, DWORD* bytes, OVERLAPPED* overlapped) {
                             return ReadFile(file, buffer, size, bytes, overlapped);
                         });
}

Z4::eal_file_status Z4_CDECL WriteAsync(Z4::eal_file_handle handle, const void* buffer, std::uint32_t size,
                                        std::uint64_t offset, Z4::eal_file_completion completion, void* context) {
    return TransferAsync(handle, buffer, size, offset, completion, context,
                         [=](HANDLE file, DWORD* bytes, OVERLAPPED* overlapped) {
                             return WriteFile(file, buffer, size, bytes, overlapped);
                         });
}

Z4::eal_file_status Z4_CDECL Flush(Z4::eal_file_handle handle) {
    auto* const file = static_cast<File*>(handle);
    if (file == nullptr) {
        return Z4::EAL_FILE_INVALID_HANDLE;
    }
    // The system refuses to flush what was opened for reading, where there is nothing to do.
    return !file->writable || FlushFileBuffers(file->handle) ? Z4::EAL_FILE_OK : LastStatus();
}

std::uint32_t Z4_CDECL Alignment(Z4::eal_file_handle handle) {
    return handle != nullptr ? static_cast<File*>(handle)->alignment : 1;
}

char Z4_CDECL Separator() {
    return '\\';
}

unsigned char Z4_CDECL Exists(const char* path) try {
    std::wstring wide;
    if (path == nullptr || !Widen(path, wide)) {
        return 0;
    }
    const DWORD attributes = GetFileAttributesW(SystemPath(wide).c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
} catch (const std::exception&) {
    return 0;
}

Z4::eal_file_status Z4_CDECL Size(Z4::eal_file_handle handle, std::uint64_t* size) {
    if (handle == nullptr) {
        return Z4::EAL_FILE_INVALID_HANDLE;
    }
    if (size == nullptr) {
        return Z4::EAL_FILE_INVALID_ARGUMENT;
    }
    LARGE_INTEGER bytes{};
    const BOOL done = GetFileSizeEx(static_cast<File*>(handle)->handle, &bytes);
    *size = static_cast<std::uint64_t>(bytes.QuadPart);
    return done ? Z4::EAL_FILE_OK : LastStatus();
}

} // namespace

const Z4::eal_file_dll_interface& FileTable() {
    static constexpr Z4::eal_file_dll_interface TABLE{.init = Init,
                                                      .shutdown = Shutdown,
                                                      .open = Open,
                                                      .close = Close,
                                                      .reserved4 = nullptr,
                                                      .read = Read,
                                                      .read_async = ReadAsync,
                                                      .write = Write,
                                                      .reserved8 = nullptr,
                                                      .flush = Flush,
                                                      .buffer_alignment = Alignment,
                                                      .sector_size = Alignment,
                                                      .separator = Separator,
                                                      .exists = Exists,
                                                      .write_async = WriteAsync,
                                                      .size = Size,
                                                      .reserved16to19 = {}};
    return TABLE;
}

} // namespace ZelkHost
