#include <cstddef>
#include <zelk_core/base/private/eal.h>
#include <zelk_core/base/private/translation.h>
#include <zelk_core/eal_utils/ealfile.h>

namespace Z4 {

template <>
struct Private::Layout<EalFile> {
    static_assert(offsetof(EalFile, m_position) == 0);
    static_assert(offsetof(EalFile, m_handle) == 8);
};

namespace {

constexpr Private::Translation FILE_STATUSES[] = {
    {EAL_FILE_OK, ERR_OK},
    {EAL_FILE_TIMEOUT, ERR_TIMEOUT},
    {EAL_FILE_NOT_FOUND, ERR_NOT_FOUND},
    {EAL_FILE_ACCESS_DENIED, ERR_ACCESS_DENIED},
    {EAL_FILE_SHARING_VIOLATION, ERR_ACCESS_DENIED},
    {EAL_FILE_LOCKED, ERR_ACCESS_DENIED},
    {EAL_FILE_UNSUPPORTED, ERR_UNSUPPORTED},
    {EAL_FILE_INVALID_ARGUMENT, ERR_INVALID},
    {EAL_FILE_INVALID_HANDLE, ERR_INVALID},
    {EAL_FILE_PATH_NOT_FOUND, ERR_NOT_FOUND},
    {EAL_FILE_INVALID_NAME, ERR_INVALID},
    {EAL_FILE_INVALID_OFFSET, ERR_INVALID},
    {EAL_FILE_PATH_TOO_LONG, ERR_OVERFLOW},
    {EAL_FILE_ALREADY_EXISTS, ERR_ALREADY_EXISTS},
    {EAL_FILE_WRITE_PROTECTED, ERR_ACCESS_DENIED},
    {EAL_FILE_IS_DIRECTORY, ERR_ACCESS_DENIED},
    {EAL_FILE_DISK_FULL, ERR_OUT_OF_RESOURCES},
    {EAL_FILE_TOO_MANY_OPEN, ERR_OUT_OF_RESOURCES},
    {EAL_FILE_DEVICE_NOT_READY, ERR_NOT_READY},
    {EAL_FILE_NOT_SEEKABLE, ERR_UNSUPPORTED},
    {EAL_FILE_HOST_SPECIFIC, ERR_EAL_SPECIFIC},
    {EAL_FILE_NOT_IMPLEMENTED, ERR_UNSUPPORTED},
};

bool IsTransfer(const void* buffer, std::uint32_t size, std::uint64_t offset) {
    return (buffer != nullptr || size == 0) && offset <= static_cast<std::uint64_t>(INT64_MAX) - size;
}

/// `transfer(done, left, transferred)` moves what is left behind the bytes that are done; the host may do so in parts.
template <class Transfer>
Error TransferAll(std::uint32_t size, std::uint32_t& transferred, Transfer transfer) {
    while (transferred < size) {
        std::uint32_t part = 0;
        const std::uint32_t left = size - transferred;
        const eal_file_status status = transfer(transferred, left, part);
        if (part > left) {
            transferred = 0;
            return ERR_UNHANDLED;
        }
        transferred += part;
        if (status != EAL_FILE_OK || part == 0) {
            return EalFile::TranslateError(status);
        }
    }
    return ERR_OK;
}

} // namespace

EalFile::~EalFile() {
    Close();
}

EalFile::Result EalFile::Open(const char* path, unsigned mode) {
    if (IsOpen() || path == nullptr) {
        return ERR_INVALID;
    }
    eal_file_handle handle = nullptr;
    const eal_file_status status = Z4_SLOT(Private::g_file.open)(path, mode, &handle);
    if (status != EAL_FILE_OK) {
        if (handle != nullptr) {
            Z4_SLOT(Private::g_file.close)(handle);
        }
        return TranslateError(status);
    }
    m_handle = handle;
    m_position = 0;
    return handle != nullptr ? ERR_OK : ERR_UNHANDLED;
}

EalFile::Result EalFile::Close() {
    m_position = 0;
    const eal_file_handle handle = std::exchange(m_handle, nullptr);
    return handle != nullptr ? TranslateError(Z4_SLOT(Private::g_file.close)(handle)) : Result(ERR_OK);
}

EalFile::Result EalFile::Read(void* buffer, std::uint32_t size, std::uint32_t& transferred) {
    const Result result = Read(buffer, size, m_position, transferred);
    m_position += transferred;
    return result;
}

EalFile::Result EalFile::Read(void* buffer, std::uint32_t size, std::uint64_t offset,
                              std::uint32_t& transferred) const {
    transferred = 0;
    if (!IsOpen() || !IsTransfer(buffer, size, offset)) {
        return ERR_INVALID;
    }
    return TransferAll(size, transferred, [&](std::uint32_t done, std::uint32_t left, std::uint32_t& part) {
        return Z4_SLOT(Private::g_file.read)(m_handle, static_cast<char*>(buffer) + done, left, offset + done, &part);
    });
}

EalFile::Result EalFile::Write(const void* buffer, std::uint32_t size, std::uint32_t& transferred) {
    const Result result = Write(buffer, size, m_position, transferred);
    m_position += transferred;
    return result;
}

EalFile::Result EalFile::Write(const void* buffer, std::uint32_t size, std::uint64_t offset,
                               std::uint32_t& transferred) const {
    transferred = 0;
    if (!IsOpen() || !IsTransfer(buffer, size, offset)) {
        return ERR_INVALID;
    }
    const Error error =
        TransferAll(size, transferred, [&](std::uint32_t done, std::uint32_t left, std::uint32_t& part) {
            return Z4_SLOT(Private::g_file.write)(m_handle, static_cast<const char*>(buffer) + done, left,
                                                  offset + done, &part);
        });
    return error == ERR_OK && transferred < size ? ERR_OUT_OF_RESOURCES : error;
}

EalFile::Result EalFile::Seek(std::int64_t offset, SeekOrigin origin) {
    if (!IsOpen()) {
        return ERR_INVALID;
    }
    std::uint64_t from = origin == SEEK_FROM_CURRENT ? m_position : 0;
    if (origin == SEEK_FROM_END) {
        const Result result = GetSize(from);
        if (result != ERR_OK) {
            return result;
        }
    }
    // Beyond the range in either direction, the sum of unsigned numbers is too large.
    const std::uint64_t target = from + static_cast<std::uint64_t>(offset);
    if (from > static_cast<std::uint64_t>(INT64_MAX) || target > static_cast<std::uint64_t>(INT64_MAX)) {
        return ERR_INVALID;
    }
    m_position = target;
    return ERR_OK;
}

EalFile::Result EalFile::GetSize(std::uint64_t& size) const {
    size = 0;
    if (!IsOpen()) {
        return ERR_INVALID;
    }
    const Result result = TranslateError(Z4_SLOT(Private::g_file.size)(m_handle, &size));
    if (result != ERR_OK) {
        size = 0;
    }
    return result;
}

EalFile::Result EalFile::Flush() const {
    return IsOpen() ? TranslateError(Z4_SLOT(Private::g_file.flush)(m_handle)) : Result(ERR_INVALID);
}

std::uint32_t EalFile::GetBufferAlignment() const {
    return IsOpen() ? Z4_SLOT(Private::g_file.buffer_alignment)(m_handle) : 1;
}

std::uint32_t EalFile::GetSectorSize() const {
    return IsOpen() ? Z4_SLOT(Private::g_file.sector_size)(m_handle) : 1;
}

EalFile::Result EalFile::ReadAsync(void* buffer, std::uint32_t size, std::uint64_t offset,
                                   eal_file_completion completion, void* context) const {
    if (!IsOpen() || !IsTransfer(buffer, size, offset) || completion == nullptr) {
        return ERR_INVALID;
    }
    return TranslateError(Z4_SLOT(Private::g_file.read_async)(m_handle, buffer, size, offset, completion, context));
}

EalFile::Result EalFile::WriteAsync(const void* buffer, std::uint32_t size, std::uint64_t offset,
                                    eal_file_completion completion, void* context) const {
    if (!IsOpen() || !IsTransfer(buffer, size, offset) || completion == nullptr) {
        return ERR_INVALID;
    }
    return TranslateError(Z4_SLOT(Private::g_file.write_async)(m_handle, buffer, size, offset, completion, context));
}

bool EalFile::Exists(const char* path) {
    return path != nullptr && Z4_SLOT(Private::g_file.exists)(path) != 0;
}

char EalFile::GetSeparator() {
    return Z4_SLOT(Private::g_file.separator)();
}

EalFile::Result EalFile::TranslateError(eal_file_status status) {
    return Private::Translate(FILE_STATUSES, status);
}

} // namespace Z4
