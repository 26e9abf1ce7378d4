#include <windows.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <zelk_core/base/layout.h>
#include <zelk_core/base/private/singleton.h>
#include <zelk_core/os/autolock.h>
#include <zelk_core/services/dbghelp/private/levelname.h>
#include <zelk_core/services/dbghelp/stacksizemonitordb.h>

namespace Z4 {

template <>
struct Private::Layout<StackSizeMonitorDb::Entry> {
    static_assert(offsetof(StackSizeMonitorDb::Entry, threadId) == 0);
    static_assert(offsetof(StackSizeMonitorDb::Entry, largestUse) == 4);
    static_assert(offsetof(StackSizeMonitorDb::Entry, size) == 8);
    static_assert(offsetof(StackSizeMonitorDb::Entry, committed) == 12);
    static_assert(offsetof(StackSizeMonitorDb::Entry, painted) == 16);
    static_assert(sizeof(StackSizeMonitorDb::Entry) == 20);
};

namespace {

constinit Private::Singleton<StackSizeMonitorDb> g_instance;

using Guard = AutoLock<AdaptiveLock>;

constexpr char LOG_FILE[] = "services/dbghelp/private/stacksizemonitordb";
// Lines of messages are fixed numbers; these were free to choose.
constexpr unsigned long ENTRY_LINE = 171;
constexpr Private::Message<unsigned long, unsigned long, unsigned long> DEEP{
    EAL_LOG_WARNING, LOG_FILE, 143,
    "[Z4::StackSizeMonitorDb] EAL_LOG_WARNING: Thread %lu has used %lu of the %lu bytes of its stack.\n"};

/// Neither zero nor an address nor a character: what code seldom writes.
constexpr unsigned long PATTERN = 0x5AC3A53CUL;

/// The calling thread's block. Stacks grow downward from what the system calls their base.
const NT_TIB& OwnBlock() {
    return *reinterpret_cast<const NT_TIB*>(NtCurrentTeb());
}

unsigned long DistanceToBase(const volatile void* address) {
    return static_cast<unsigned long>(static_cast<const char*>(OwnBlock().StackBase) -
                                      static_cast<const volatile char*>(address));
}

/// Where the memory begins that is reserved for the stack with `address` in it; null when the system does not tell.
const char* BeginOfStack(const void* address) {
    MEMORY_BASIC_INFORMATION region;
    return VirtualQuery(address, &region, sizeof region) != 0 ? static_cast<const char*>(region.AllocationBase)
                                                              : nullptr;
}

bool HasEnded(unsigned long threadId) {
    const HANDLE thread = OpenThread(SYNCHRONIZE, FALSE, threadId);
    if (thread == nullptr) {
        return GetLastError() != ERROR_ACCESS_DENIED;
    }
    const bool hasEnded = WaitForSingleObject(thread, 0) == WAIT_OBJECT_0;
    CloseHandle(thread);
    return hasEnded;
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

StackSizeMonitorDb::Record* StackSizeMonitorDb::Find(unsigned long threadId) {
    for (unsigned long i = 0; i != m_count; ++i) {
        if (m_records[i].entry.threadId == threadId) {
            return &m_records[i];
        }
    }
    return nullptr;
}

StackSizeMonitorDb::Record* StackSizeMonitorDb::FindOrAdd(const void* stack) {
    const unsigned long threadId = GetCurrentThreadId();
    if (Record* const found = Find(threadId); found != nullptr) {
        return found;
    }
    for (unsigned long i = 0; m_count == MAX_THREADS && i != m_count; ++i) {
        if (HasEnded(m_records[i].entry.threadId)) {
            Erase(i);
        }
    }
    if (m_count == MAX_THREADS) {
        return nullptr;
    }
    const char* const begin = BeginOfStack(stack);
    Record& added = m_records[m_count++];
    added = {};
    added.entry.threadId = threadId;
    added.entry.size = begin != nullptr ? DistanceToBase(begin) : 0;
    return &added;
}

void StackSizeMonitorDb::Erase(unsigned long index) {
    --m_count;
    for (unsigned long i = index; i != m_count; ++i) {
        m_records[i] = m_records[i + 1];
    }
}

/// How deep the paint was written over, from the stack's base; 0 when it is whole or another thread's.
unsigned long StackSizeMonitorDb::DepthInPaint(const Record& record) {
    // An ended thread can have had the same id, and its stack be gone.
    const unsigned long words = record.entry.painted / sizeof PATTERN;
    if (record.paint < OwnBlock().StackLimit || record.paint + words > OwnBlock().StackBase) {
        return 0;
    }
    const volatile unsigned long* const paint = record.paint;
    unsigned long kept = 0;
    while (kept != words && paint[kept] == PATTERN) {
        ++kept;
    }
    return kept != words ? DistanceToBase(paint + kept) : 0;
}

unsigned long StackSizeMonitorDb::Sample() {
    const char here = 0;
    const unsigned long use = DistanceToBase(&here);
    Entry warned{};
    {
        const Guard guard(m_lock);
        Record* const record = FindOrAdd(&here);
        if (record == nullptr) {
            return use;
        }
        Entry& entry = record->entry;
        entry.largestUse = (std::max)({entry.largestUse, use, DepthInPaint(*record)});
        entry.committed = DistanceToBase(OwnBlock().StackLimit);
        if (m_warning != 0 && !record->isWarned && entry.size != 0 && entry.largestUse > entry.size / 100 * m_warning) {
            record->isWarned = true;
            warned = entry;
        }
    }
    // The host's log is nothing to call under a lock.
    if (warned.threadId != 0) {
        Private::Log(DEEP, warned.threadId, warned.largestUse, warned.size);
    }
    return use;
}

unsigned long StackSizeMonitorDb::Paint(unsigned long bytes) {
    // What is called from here on needs some of the stack, and so does an interruption by the system.
    constexpr std::uintptr_t SPARED = 512;
    // The system moves its guard page downward to the last two pages, and needs one more to tell of an overflow.
    constexpr std::uintptr_t RESERVED = 4 * 4096;
    const char here = 0;
    const auto begin = reinterpret_cast<std::uintptr_t>(BeginOfStack(&here));
    const std::uintptr_t top = (reinterpret_cast<std::uintptr_t>(&here) - SPARED) & ~(sizeof PATTERN - 1);
    const std::uintptr_t room = begin != 0 && top > begin + RESERVED ? top - begin - RESERVED : 0;
    const unsigned long painted = (std::min)(bytes, static_cast<unsigned long>(room)) & ~(sizeof PATTERN - 1);
    const Guard guard(m_lock);
    Record* const record = FindOrAdd(&here);
    if (record == nullptr) {
        return 0;
    }
    record->entry.painted = painted;
    record->entry.largestUse = (std::max)(record->entry.largestUse, DistanceToBase(&here));
    record->paint = reinterpret_cast<const unsigned long*>(top - painted);
    // Downward, page after page, as the guard page has it.
    volatile unsigned long* word = reinterpret_cast<volatile unsigned long*>(top);
    while (word != record->paint) {
        *--word = PATTERN;
    }
    return painted;
}

Error StackSizeMonitorDb::SetWarning(unsigned long percent) {
    if (percent > 100) {
        return ERR_INVALID;
    }
    const Guard guard(m_lock);
    m_warning = percent;
    return ERR_OK;
}

void StackSizeMonitorDb::LogEntries(EalLogLevel level) {
    Entry entry;
    for (unsigned long i = 0; GetEntry(i, entry); ++i) {
        Private::Log(
            level, LOG_FILE, ENTRY_LINE,
            "[Z4::StackSizeMonitorDb] EAL_LOG_%s: Thread %lu: used %lu, reserved %lu, committed %lu, painted %lu "
            "bytes.\n",
            Private::LevelName(level), entry.threadId, entry.largestUse, entry.size, entry.committed, entry.painted);
    }
}

unsigned long StackSizeMonitorDb::GetCount() {
    const Guard guard(m_lock);
    return m_count;
}

bool StackSizeMonitorDb::GetEntry(unsigned long index, Entry& entry) {
    const Guard guard(m_lock);
    if (index >= m_count) {
        return false;
    }
    entry = m_records[index].entry;
    return true;
}

bool StackSizeMonitorDb::FindThread(unsigned long threadId, Entry& entry) {
    const Guard guard(m_lock);
    const Record* const found = Find(threadId);
    if (found == nullptr) {
        return false;
    }
    entry = found->entry;
    return true;
}

void StackSizeMonitorDb::Forget(unsigned long threadId) {
    const Guard guard(m_lock);
    const Record* const found = Find(threadId);
    if (found != nullptr) {
        Erase(static_cast<unsigned long>(found - m_records));
    }
}

} // namespace Z4
