// Completes the file table's asynchronous operations, and names what the system reports.
#pragma once

#include <host/internal.h>

namespace ZelkHost {

/// The file status that says the same as a system error number. The end of a file is no error.
Z4::eal_file_status StatusOf(DWORD error);

struct FileOperation : OVERLAPPED {
    FileOperation(const OVERLAPPED& position, unsigned* filePending, Z4::eal_file_completion fileCompletion,
                  void* completionContext)
        : OVERLAPPED(position), pending(filePending), completion(fileCompletion), context(completionContext) {}

    unsigned* pending; ///< the file's count
    Z4::eal_file_completion completion;
    void* context;
};

/// One thread that receives the end of every file's operations and calls their completions. It lives from the first
/// operation to the table's last `shutdown`. The completion port stays for the life of the process, as files that are
/// still open refer to it.
class FileEngine {
public:
    /// Directs the operations of `file` here that the system leaves pending, and only those. False, with the system's
    /// last error set, when that fails.
    bool Attach(HANDLE file);

    /// Counts an operation, allocated by new, that is about to start. False when there can be no thread to complete it.
    bool Begin(unsigned& pending);
    /// Takes back Begin() for an operation that did not start.
    void End(unsigned& pending);
    /// Completes an operation that had ended well when it was started. False when the system refuses; the operation is
    /// the caller's then.
    bool Complete(FileOperation& operation);

    void WaitFor(const unsigned& pending);
    /// Waits for all operations and ends the thread; the next operation starts it again. Where the system refuses the
    /// message that ends it, the thread stays for the next operation.
    void Stop();
    bool IsOwnThread();

private:
    static unsigned __stdcall Run(void* engine);

    SlimLock m_lock;
    CONDITION_VARIABLE m_ended = CONDITION_VARIABLE_INIT;
    HANDLE m_port = nullptr;
    std::uintptr_t m_thread = 0;
    unsigned m_threadId = 0;
    unsigned m_pending = 0;
};

} // namespace ZelkHost
