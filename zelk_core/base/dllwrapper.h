/// @file
/// Loads a module at run time, and frees it when the wrapper is destroyed. A load that fails is told to the host's log,
/// not to the caller: ask IsDLLLoaded() before the module is used.
#pragma once

#include <zelk_core/base/api.h>
#include <zelk_core/base/ealid.h>
#include <zelk_core/base/hostnew.h>
#include <zelk_core/base/layout.h>
#include <zelk_core/base/log.h>
#include <zelk_core/os/nullock.h>

namespace Z4 {

namespace Private {

/// `LoadLibraryA` of the system, which searches for a name without a path beside the program first. Any thread.
/// @return the module's handle; null when it cannot be loaded.
Z4_API void* LoadDLLHelper(const char* name);
/// `FreeLibrary` of the system, for a handle of LoadDLLHelper(). Any thread.
Z4_API void FreeDLLHelper(void* handle);

inline constexpr Message<const char*> DLL_NOT_LOADED{
    EAL_LOG_INFO, "base/dllwrapper", 141,
    "[Z4::DllWrapper] EAL_LOG_INFO: Unable to load %s. Calls to this dll will be unsuccessful\n\n"};
inline constexpr Message<const char*> DLL_NOT_VALID{
    EAL_LOG_ERROR, "base/dllwrapper", 133,
    "[Z4::DllWrapper] EAL_LOG_ERROR: Loaded the DLL called \"%s\" but this version is not valid. Calls to this DLL "
    "will be unsuccessful. You may need a different version or to specify a different path.\n\n"};

} // namespace Private

/// The wrapper of one module. `LockPolicy` is the lock that it holds while it loads: any class with Lock() and
/// Unlock(), NulLock for none. With a real lock several threads may call LoadDLL() at once. Queries are not locked: a
/// thread must not make one while another may still be loading.
///
/// To move is to copy here: both wrappers hold the same handle afterwards, and each of them frees it when it is
/// destroyed. So copy, assign and move only where the module was loaded as often as it will be freed.
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

    /// Calls LoadDLL(name, true). A derived class's ValidateDLL() is not asked, as the object is not of the derived
    /// class yet: where it matters, construct without a name and call LoadDLL().
    explicit ThreadSafeDllWrapper(const char* name) { LoadDLL(name, true); }

    ThreadSafeDllWrapper(const ThreadSafeDllWrapper& other) : LockPolicy(), m_handle(other.m_handle) {}
    ThreadSafeDllWrapper(ThreadSafeDllWrapper&& other) noexcept : LockPolicy(), m_handle(other.m_handle) {}

    /// Takes the handle of `other`. A module that this wrapper held before is not freed: it stays loaded.
    ThreadSafeDllWrapper& operator=(const ThreadSafeDllWrapper& other) {
        if (this != &other) {
            m_handle = other.m_handle;
        }
        return *this;
    }
    ThreadSafeDllWrapper& operator=(ThreadSafeDllWrapper&& other) noexcept { return *this = other; }

    /// Loads the module `name`, and frees it again when ValidateDLL() refuses it. When the wrapper has a module
    /// already, nothing happens. With `log`, a module that cannot be loaded is told to the host's log as an
    /// information, one that is refused as an error. A null name cannot be loaded.
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
    /// Asked by LoadDLL() when the module is loaded and GetDLLHandle() gives it: whether to keep it. The lock is held.
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

/// The wrapper without a lock: one thread at a time.
class DllWrapper : public ThreadSafeDllWrapper<NulLock> {
public:
    using ThreadSafeDllWrapper<NulLock>::ThreadSafeDllWrapper;
};

} // namespace Z4
