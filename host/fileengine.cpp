#include <host/fileengine.h>
#include <memory>
#include <process.h>

namespace ZelkHost {

Z4::eal_file_status StatusOf(DWORD error) {
    static constexpr struct {
        DWORD error;
        Z4::eal_file_status status;
    } STATUSES[] = {
        {ERROR_SUCCESS, Z4::EAL_FILE_OK},
        {ERROR_HANDLE_EOF, Z4::EAL_FILE_OK},
        {WAIT_TIMEOUT, Z4::EAL_FILE_TIMEOUT},
        {ERROR_SEM_TIMEOUT, Z4::EAL_FILE_TIMEOUT},
        {ERROR_FILE_NOT_FOUND, Z4::EAL_FILE_NOT_FOUND},
        {ERROR_ACCESS_DENIED, Z4::EAL_FILE_ACCESS_DENIED},
        {ERROR_SHARING_VIOLATION, Z4::EAL_FILE_SHARING_VIOLATION},
        {ERROR_LOCK_VIOLATION, Z4::EAL_FILE_LOCKED},
        {ERROR_USER_MAPPED_FILE, Z4::EAL_FILE_LOCKED},
        {ERROR_NOT_SUPPORTED, Z4::EAL_FILE_UNSUPPORTED},
        {ERROR_INVALID_FUNCTION, Z4::EAL_FILE_UNSUPPORTED},
        {ERROR_INVALID_PARAMETER, Z4::EAL_FILE_INVALID_ARGUMENT},
        {ERROR_INVALID_USER_BUFFER, Z4::EAL_FILE_INVALID_ARGUMENT},
        {ERROR_NOACCESS, Z4::EAL_FILE_INVALID_ARGUMENT},
        {ERROR_INVALID_HANDLE, Z4::EAL_FILE_INVALID_HANDLE},
        {ERROR_PATH_NOT_FOUND, Z4::EAL_FILE_PATH_NOT_FOUND},
        {ERROR_INVALID_DRIVE, Z4::EAL_FILE_PATH_NOT_FOUND},
        {ERROR_BAD_NETPATH, Z4::EAL_FILE_PATH_NOT_FOUND},
        {ERROR_BAD_NET_NAME, Z4::EAL_FILE_PATH_NOT_FOUND},
        {ERROR_DIRECTORY, Z4::EAL_FILE_PATH_NOT_FOUND},
        {ERROR_INVALID_NAME, Z4::EAL_FILE_INVALID_NAME},
        {ERROR_BAD_PATHNAME, Z4::EAL_FILE_INVALID_NAME},
        {ERROR_NO_UNICODE_TRANSLATION, Z4::EAL_FILE_INVALID_NAME},
        {ERROR_NEGATIVE_SEEK, Z4::EAL_FILE_INVALID_OFFSET},
        {ERROR_FILENAME_EXCED_RANGE, Z4::EAL_FILE_PATH_TOO_LONG},
        {ERROR_BUFFER_OVERFLOW, Z4::EAL_FILE_PATH_TOO_LONG},
        {ERROR_FILE_EXISTS, Z4::EAL_FILE_ALREADY_EXISTS},
        {ERROR_ALREADY_EXISTS, Z4::EAL_FILE_ALREADY_EXISTS},
        {ERROR_WRITE_PROTECT, Z4::EAL_FILE_WRITE_PROTECTED},
        {ERROR_DISK_FULL, Z4::EAL_FILE_DISK_FULL},
        {ERROR_HANDLE_DISK_FULL, Z4::EAL_FILE_DISK_FULL},
        {ERROR_FILE_TOO_LARGE, Z4::EAL_FILE_DISK_FULL},
        {ERROR_TOO_MANY_OPEN_FILES, Z4::EAL_FILE_TOO_MANY_OPEN},
        {ERROR_NO_SYSTEM_RESOURCES, Z4::EAL_FILE_TOO_MANY_OPEN},
        {ERROR_NOT_READY, Z4::EAL_FILE_DEVICE_NOT_READY},
        {ERROR_DEVICE_NOT_CONNECTED, Z4::EAL_FILE_DEVICE_NOT_READY},
        {ERROR_SEEK_ON_DEVICE, Z4::EAL_FILE_NOT_SEEKABLE},
        {ERROR_CALL_NOT_IMPLEMENTED, Z4::EAL_FILE_NOT_IMPLEMENTED},
    };
    for (const auto& entry : STATUSES) {
        if (entry.error == error) {
            return entry.status;
        }
    }
    return Z4::EAL_FILE_HOST_SPECIFIC;
}

bool FileEngine::Attach(HANDLE file) {
    const std::lock_guard guard(m_lock);
    if (m_port == nullptr) {
        m_port = CreateIoCompletionPort(INVALID_HANDLE_VALUE, nullptr, 0, 1);
    }
    // Systems differ in whether an operation that fails at once also sends a packet. In this mode none does.
    return m_port != nullptr && SetFileCompletionNotificationModes(file, FILE_SKIP_COMPLETION_PORT_ON_SUCCESS) &&
           CreateIoCompletionPort(file, m_port, 0, 0) != nullptr;
}

bool FileEngine::Begin(unsigned& pending) {
    const std::lock_guard guard(m_lock);
    if (m_thread == 0) {
        m_thread = _beginthreadex(nullptr, 0, Run, this, 0, &m_threadId);
    }
    if (m_thread == 0) {
        return false;
    }
    ++pending;
    ++m_pending;
    return true;
}

void FileEngine::End(unsigned& pending) {
    const std::lock_guard guard(m_lock);
    --pending;
    --m_pending;
    WakeAllConditionVariable(&m_ended);
}

bool FileEngine::Complete(FileOperation& operation) {
    return PostQueuedCompletionStatus(m_port, static_cast<DWORD>(operation.InternalHigh), 0, &operation);
}

void FileEngine::WaitFor(const unsigned& pending) {
    const std::lock_guard guard(m_lock);
    while (pending != 0) {
        m_lock.Wait(m_ended);
    }
}

// The lock is kept until the thread has gone, so that no new one takes its packet. With nothing pending the thread
// does not ask for the lock.
void FileEngine::Stop() {
    const std::lock_guard guard(m_lock);
    while (m_pending != 0) {
        m_lock.Wait(m_ended);
    }
    if (m_thread == 0 || !PostQueuedCompletionStatus(m_port, 0, 0, nullptr)) {
        return;
    }
    const auto thread = reinterpret_cast<HANDLE>(m_thread);
    WaitForSingleObject(thread, INFINITE);
    CloseHandle(thread);
    m_thread = 0;
    m_threadId = 0;
}

bool FileEngine::IsOwnThread() {
    const std::lock_guard guard(m_lock);
    return m_threadId == GetCurrentThreadId();
}

unsigned __stdcall FileEngine::Run(void* parameter) {
    auto& engine = *static_cast<FileEngine*>(parameter);
    for (;;) {
        DWORD transferred = 0;
        ULONG_PTR key = 0;
        OVERLAPPED* packet = nullptr;
        const BOOL done = GetQueuedCompletionStatus(engine.m_port, &transferred, &key, &packet, INFINITE);
        const DWORD error = done ? ERROR_SUCCESS : GetLastError();
        if (packet == nullptr) {
            return 0;
        }
        const std::unique_ptr<FileOperation> operation(static_cast<FileOperation*>(packet));
        operation->completion(operation->context, StatusOf(error), transferred);
        engine.End(*operation->pending);
    }
}

} // namespace ZelkHost
