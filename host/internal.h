// What the tables of this host share.
#pragma once

#include <atomic>
#include <host/zelkhost.h>
#include <mutex>
#include <string>
#include <windows.h>

namespace ZelkHost {

/// A lock for std::lock_guard that is ready before any constructor has run and has no destructor, as the tables may
/// be called that early and that late.
class SlimLock {
public:
    void lock() { AcquireSRWLockExclusive(&m_lock); }
    void unlock() { ReleaseSRWLockExclusive(&m_lock); }

    /// Releases the lock, waits for a wake of `condition` and takes the lock again.
    void Wait(CONDITION_VARIABLE& condition) { SleepConditionVariableSRW(&condition, &m_lock, INFINITE, 0); }

private:
    SRWLOCK m_lock = SRWLOCK_INIT;
};

/// For std::lock_guard around a few instructions: where nobody waits it costs one exchange, the slim lock two and
/// calls.
class SpinLock {
public:
    void lock() {
        while (m_isTaken.exchange(true, std::memory_order_acquire)) {
            SwitchToThread();
        }
    }
    void unlock() { m_isTaken.store(false, std::memory_order_release); }

private:
    std::atomic<bool> m_isTaken = false;
};

/// Counts a table's `init` and `shutdown` calls. The actions run under a lock, so that whoever's `init` returns finds
/// the table ready.
class InitCount {
public:
    template <class Action>
    void Enter(Action first) {
        const std::lock_guard guard(m_lock);
        if (m_count++ == 0) {
            first();
        }
    }

    template <class Action>
    void Leave(Action last) {
        const std::lock_guard guard(m_lock);
        if (m_count != 0 && --m_count == 0) {
            last();
        }
    }

private:
    SlimLock m_lock;
    unsigned m_count = 0;
};

/// The answer of `init`: 0, or -1 and a line on standard error.
int CheckVersion(const char* table, unsigned version, unsigned expected);

/// Writes one message to standard error (printf rules), whatever the log's options.
void Report(const char* format, ...);

/// Reports and aborts: for a caller's errors after which nothing can be trusted.
[[noreturn]] void Fatal(const char* format, ...);

/// False, with the system's last error set, when `utf8` is no valid UTF-8.
bool Widen(const char* utf8, std::wstring& wide);

void SetMemoryOptions(const Options& options);
void SetLogOptions(const Options& options);

} // namespace ZelkHost
