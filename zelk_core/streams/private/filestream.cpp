#include <utility>
#include <zelk_core/streams/filestream.h>

namespace Z4 {

FileStream::FileStream(std::uint32_t bufferSize) : BufferedStream(0, bufferSize) {
    m_error = ERR_NOT_READY;
}

FileStream::~FileStream() {
    CloseAtEnd();
}

FileStream::Result FileStream::Open(const char* path, unsigned mode) {
    if (m_file.IsOpen()) {
        return ERR_INVALID;
    }
    if ((mode & EAL_FILE_UNBUFFERED) != 0) {
        return ERR_UNSUPPORTED;
    }
    EalFile file;
    const Result result = file.Open(path, mode);
    if (result != ERR_OK) {
        return result;
    }
    return Open(std::move(file),
                ((mode & EAL_FILE_READ) != 0 ? CAN_READ : 0U) | ((mode & EAL_FILE_WRITE) != 0 ? CAN_WRITE : 0U));
}

FileStream::Result FileStream::Open(EalFile&& file, unsigned abilities) {
    if (m_file.IsOpen() || !file.IsOpen() || (abilities & (CAN_READ | CAN_WRITE)) == 0) {
        return ERR_INVALID;
    }
    if (file.GetBufferAlignment() != 1 || file.GetSectorSize() != 1) {
        return ERR_UNSUPPORTED;
    }
    const Result result = file.GetSize(m_length);
    if (result != ERR_OK) {
        return result;
    }
    m_file = std::move(file);
    Restart((abilities & (CAN_READ | CAN_WRITE)) | CAN_SEEK | HAS_LENGTH, m_file.Tell());
    return ERR_OK;
}

Error FileStream::ReadDevice(void* buffer, std::uint32_t size, std::uint64_t offset, std::uint32_t& done) {
    // Behind the end nothing need be asked; that also spares the host's second call for it.
    const std::uint64_t left = offset < m_length ? m_length - offset : 0;
    return m_file.Read(buffer, size < left ? size : static_cast<std::uint32_t>(left), offset, done);
}

Error FileStream::WriteDevice(const void* data, std::uint32_t size, std::uint64_t offset, std::uint32_t& done) {
    const Result result = m_file.Write(data, size, offset, done);
    m_length = done != 0 && offset + done > m_length ? offset + done : m_length;
    return result;
}

Error FileStream::DeviceLength(std::uint64_t& length) {
    length = m_length;
    return ERR_OK;
}

Error FileStream::SyncDevice() {
    return m_file.Flush();
}

Error FileStream::CloseDevice() {
    return m_file.Close();
}

namespace {

/// `makeRoom(size)` gives the memory for `size` bytes, and is called a second time for fewer when the file has become
/// shorter.
template <class MakeRoom>
Error Load(const char* path, std::uint32_t maxSize, MakeRoom makeRoom) {
    EalFile file;
    Error error = file.Open(path, EalFile::READ_ONLY);
    std::uint64_t size = 0;
    error = error == ERR_OK ? Error(file.GetSize(size)) : error;
    if (error != ERR_OK) {
        return error;
    }
    if (size > maxSize) {
        return ERR_OVERFLOW;
    }
    std::uint32_t done = 0;
    void* const room = makeRoom(static_cast<std::uint32_t>(size));
    if (size != 0) {
        error = room != nullptr ? Error(file.Read(room, static_cast<std::uint32_t>(size), 0, done)) : ERR_OUT_OF_MEMORY;
    }
    makeRoom(error == ERR_OK ? done : 0);
    return error;
}

} // namespace

Private::ErrorCodeWrapper LoadFile(const char* path, Vector<unsigned char>& content, std::uint32_t maxSize) {
    content.Clear();
    const Error error = Load(
        path, maxSize, [&](std::uint32_t size) -> void* { return content.Resize(size) ? content.Data() : nullptr; });
    if (error != ERR_OK) {
        content.Clear();
    }
    return error;
}

Private::ErrorCodeWrapper LoadFile(const char* path, ZelkString& content, std::uint32_t maxSize) {
    content.Clear();
    const Error error = Load(
        path, maxSize, [&](std::uint32_t size) -> void* { return content.Resize(size) ? content.Edit() : nullptr; });
    if (error != ERR_OK) {
        content.Clear();
    }
    return error;
}

Private::ErrorCodeWrapper SaveFile(const char* path, const void* data, std::uint32_t size) {
    EalFile file;
    Error error = file.Open(path, EalFile::REPLACE);
    if (error != ERR_OK) {
        return error;
    }
    std::uint32_t done = 0;
    error = file.Write(data, size, done);
    const Error closing = file.Close();
    return error != ERR_OK ? error : closing;
}

} // namespace Z4
