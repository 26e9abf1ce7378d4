#include <windows.h>

#include <cstddef>
#include <zelk_core/base/layout.h>
#include <zelk_core/base/private/singleton.h>
#include <zelk_core/os/autolock.h>
#include <zelk_core/services/dbghelp/private/pushbackorkeep.h>
#include <zelk_core/services/dbghelp/stacksizemonitordb.h>

namespace Z4 {

template <>
struct Private::Layout<StackSizeMonitorDb::Entry> {
    static_assert(offsetof(StackSizeMonitorDb::Entry, threadId) == 0);
    static_assert(offsetof(StackSizeMonitorDb::Entry, largestUse) == 4);
    static_assert(offsetof(StackSizeMonitorDb::Entry, size) == 8);
    static_assert(sizeof(StackSizeMonitorDb::Entry) == 12);
};

namespace {

constinit Private::Singleton<StackSizeMonitorDb> g_instance;

using Guard = AutoLock<AdaptiveLock>;

/// The reservation that `address`, on the calling thread's stack, belongs to begins at its allocation base.
unsigned long ReservedSize(const char* stackEnd, const void* address) {
    MEMORY_BASIC_INFORMATION region{};
    region.AllocationBase = const_cast<char*>(stackEnd); // A system that does not answer leaves a size of 0.
    VirtualQuery(address, &region, sizeof region);
    return static_cast<unsigned long>(stackEnd - static_cast<const char*>(region.AllocationBase));
}

} // namespace

void StackSizeMonitorDb::SingletonInit() {
    g_instance.Get();
}

void StackSizeMonitorDb::SingletonShutdown() {
    g_instance.Destroy();
}

StackSizeMonitorDb& StackSizeMonitorDb::Instance() {
    return g_instance.Get();
}

StackSizeMonitorDb::Entry* StackSizeMonitorDb::Find(unsigned long threadId) {
    for (Entry& entry : m_entries) {
        if (entry.threadId == threadId) {
            return &entry;
        }
    }
    return nullptr;
}

unsigned long StackSizeMonitorDb::Sample() {
    const char here = 0;
    // Stacks grow downward from what the system calls their base.
    const char* const stackEnd = static_cast<const char*>(reinterpret_cast<const NT_TIB*>(NtCurrentTeb())->StackBase);
    const unsigned long use = static_cast<unsigned long>(stackEnd - &here);
    const unsigned long threadId = GetCurrentThreadId();
    const Guard guard(m_lock);
    Entry* const entry = Find(threadId);
    if (entry == nullptr) {
        Private::PushBackOrKeep(m_entries, {threadId, use, ReservedSize(stackEnd, &here)});
    } else if (use > entry->largestUse) {
        entry->largestUse = use;
    }
    return use;
}

unsigned long StackSizeMonitorDb::GetCount() {
    const Guard guard(m_lock);
    return m_entries.Size();
}

bool StackSizeMonitorDb::GetEntry(unsigned long index, Entry& entry) {
    const Guard guard(m_lock);
    if (index >= m_entries.Size()) {
        return false;
    }
    entry = m_entries[index];
    return true;
}

bool StackSizeMonitorDb::FindThread(unsigned long threadId, Entry& entry) {
    const Guard guard(m_lock);
    const Entry* const found = Find(threadId);
    if (found == nullptr) {
        return false;
    }
    entry = *found;
    return true;
}

void StackSizeMonitorDb::Forget(unsigned long threadId) {
    const Guard guard(m_lock);
    const Entry* const found = Find(threadId);
    if (found != nullptr) {
        m_entries.Erase(found);
    }
}

} // namespace Z4
