/// @file
/// Loads a module at run time and frees it at the end of the wrapper's life. Test IsDLLLoaded() before every use: a
/// failed load is reported to the log, not to the caller.
#pragma once

#include <zelk_core/base/api.h>
#include <zelk_core/base/ealid.h>
#include <zelk_core/base/hostnew.h>
#include <zelk_core/base/layout.h>
#include <zelk_core/base/log.h>
#include <zelk_core/os/nullock.h>

namespace Z4 {

namespace Private {

/// The system's own load and free, nothing added. A name without a path is searched for beside the program first.
/// Null when the module cannot be loaded.
Z4_API void* LoadDLLHelper(const char* name);
Z4_API void FreeDLLHelper(void* handle);

inline constexpr Message<const char*> DLL_NOT_LOADED{
    EAL_LOG_INFO, "base/dllwrapper", 141,
    "[Z4::DllWrapper] EAL_LOG_INFO: Unable to load %s. Calls to this dll will be unsuccessful\n\n"};
inline constexpr Message<const char*> DLL_NOT_VALID{
    EAL_LOG_ERROR, "base/dllwrapper", 133,
    "[Z4::DllWrapper] EAL_LOG_ERROR: Loaded the DLL called \"%s\" but this version is not valid. Calls to this DLL "
    "will "
    "be unsuccessful. You may need a different version or to specify a different path.\n\n"};

} // namespace Private

/// The wrapper over any lock with Lock() and Unlock(), which costs nothing when it is empty; it covers loading only. A
/// copy shares the handle without counting: whoever copies sees to it that only one of the wrappers frees the module.
template <class LockPolicy>
class Z4_EMPTY_BASES ThreadSafeDllWrapper : protected LockPolicy, public HostNew<ThreadSafeDllWrapper<LockPolicy>> {
    using Memory = HostNew<ThreadSafeDllWrapper>;

public:
    virtual ~ThreadSafeDllWrapper() { Free(); }

    // A lock may have operators of its own.
    using Memory::operator new;
    using Memory::operator new[];
    using Memory::operator delete;
    using Memory::operator delete[];

    ThreadSafeDllWrapper() = default;

    /// Loads at once, with logging. A derived class's ValidateDLL() is not consulted: while this constructor runs, the
    /// object is not yet of the derived class. Load explicitly where the check matters.
    explicit ThreadSafeDllWrapper(const char* name) { LoadDLL(name, true); }

    ThreadSafeDllWrapper(const ThreadSafeDllWrapper& other) : LockPolicy(), m_handle(other.m_handle) {}
    ThreadSafeDllWrapper(ThreadSafeDllWrapper&& other) noexcept : LockPolicy(), m_handle(other.m_handle) {}

    /// A module held before is not freed.
    ThreadSafeDllWrapper& operator=(const ThreadSafeDllWrapper& other) {
        if (this != &other) {
            m_handle = other.m_handle;
        }
        return *this;
    }
    ThreadSafeDllWrapper& operator=(ThreadSafeDllWrapper&& other) noexcept { return *this = other; }

    /// Loads `name`, and keeps it if ValidateDLL() agrees. Does nothing when a module is loaded already: the first one
    /// stays. A module that cannot be loaded is an information in the log, one that is refused an error; with `log`
    /// false neither is written.
    void LoadDLL(const char* name, bool log) {
        LockPolicy::Lock();
        if (!IsDLLLoaded()) {
            LoadFirst(name, log);
        }
        LockPolicy::Unlock();
    }

    bool IsDLLLoaded() const { return m_handle != nullptr; }

    /// The system's module handle; null when nothing is loaded.
    void* GetDLLHandle() const { return m_handle; }

protected:
    /// Decides whether the module just loaded, whose handle is set already, is one to keep.
    virtual bool ValidateDLL(const char* name) {
        static_cast<void>(name);
        return true;
    }

private:
    friend struct Private::Layout<ThreadSafeDllWrapper>;

    void LoadFirst(const char* name, bool log) {
        const char* const shownName = name != nullptr ? name : "(null)";
        m_handle = name != nullptr ? Private::LoadDLLHelper(name) : nullptr;
        if (m_handle == nullptr) {
            if (log) {
                Private::Log(Private::DLL_NOT_LOADED, shownName);
            }
            return;
        }
        if (ValidateDLL(name)) {
            return;
        }
        Free();
        if (log) {
            Private::Log(Private::DLL_NOT_VALID, shownName);
        }
    }

    void Free() {
        if (m_handle != nullptr) {
            Private::FreeDLLHelper(m_handle);
            m_handle = nullptr;
        }
    }

    void* m_handle = nullptr;
};

/// The wrapper for one thread at a time.
class DllWrapper : public ThreadSafeDllWrapper<NulLock> {
public:
    using ThreadSafeDllWrapper<NulLock>::ThreadSafeDllWrapper;
};

} // namespace Z4
