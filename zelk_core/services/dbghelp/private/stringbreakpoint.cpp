#include <windows.h>

#include <cstring>
#include <zelk_core/base/private/textobserver.h>
#include <zelk_core/base/strformat.h>
#include <zelk_core/os/autolock.h>
#include <zelk_core/os/spinlock.h>
#include <zelk_core/services/dbghelp/breakpoint.h>
#include <zelk_core/services/dbghelp/private/callbackuses.h>

namespace Z4 {

static_assert(StringBreakpoint::LOG == Private::TEXT_OF_LOG && StringBreakpoint::ASSERT == Private::TEXT_OF_ASSERTION &&
              StringBreakpoint::FORMATTER == Private::TEXT_OF_FORMATTER);

namespace {

constexpr unsigned ALL_SOURCES =
    StringBreakpoint::LOG | StringBreakpoint::ASSERT | StringBreakpoint::FORMATTER | StringBreakpoint::CHECK;

/// `use` is 0 while the slot is free. The rest changes only while nobody holds the slot's last use.
struct Slot {
    std::atomic<unsigned long> use{0};
    std::atomic<unsigned long> hits{0};
    unsigned long lastUse = 0;
    unsigned sources = 0;
    unsigned long skipHits = 0;
    StringBreakpoint::Callback callback = nullptr;
    void* context = nullptr;
    char watched[StringBreakpoint::LONGEST + 1]{};
};

constinit NonRecursiveSpinLock g_lock; ///< over who takes which slot; those who look at texts never meet it
constinit unsigned long g_lastUse = 0;
constinit unsigned long g_taken = 0;
constinit Slot g_slots[StringBreakpoint::SLOTS];
constinit Private::CallbackUses g_uses;

/// A text that is looked at, and what came of it.
struct Look {
    const char* text;
    bool matched;
    bool stops;
};

void LookInSlot(Slot& slot, Look& look) {
    if (std::strstr(look.text, slot.watched) == nullptr) {
        return;
    }
    look.matched = true;
    if (slot.hits.fetch_add(1) >= slot.skipHits) {
        look.stops = slot.callback == nullptr || slot.callback(look.text, slot.watched, slot.context) || look.stops;
    }
}

bool LookAt(unsigned source, const char* text, va_list* arguments) {
    Private::CallbackUses::Place* const place = g_uses.Enter(GetCurrentThreadId());
    if (place == nullptr) {
        return false;
    }
    char line[1024];
    Look look{text, false, false};
    for (Slot& slot : g_slots) {
        if (!Private::CallbackUses::Hold(*place, slot.use) || (slot.sources & source) == 0) {
            continue;
        }
        if (arguments != nullptr) {
            StrFormat::vsnprintf(line, sizeof line, text, *arguments);
            arguments = nullptr;
            look.text = line;
        }
        LookInSlot(slot, look);
    }
    Private::CallbackUses::Leave(*place);
    if (look.stops) {
        Debugger::Break();
    }
    return look.matched;
}

void Observe(unsigned source, const char* text, va_list* arguments) {
    LookAt(source, text, arguments);
}

Slot* FindFreeSlot() {
    for (Slot& slot : g_slots) {
        if (slot.use.load() == 0 && !g_uses.IsHeld(slot.lastUse)) {
            return &slot;
        }
    }
    return nullptr;
}

} // namespace

Error StringBreakpoint::Set(const char* watched, unsigned sources, unsigned long skipHits, Callback callback,
                            void* context, unsigned long& slot) {
    if (watched == nullptr || *watched == '\0' || sources == 0 || (sources & ~ALL_SOURCES) != 0) {
        return ERR_INVALID;
    }
    const void* const end = std::memchr(watched, '\0', LONGEST + 1);
    if (end == nullptr) {
        return ERR_OVERFLOW;
    }
    const AutoLock<NonRecursiveSpinLock> guard(g_lock);
    Slot* const free = FindFreeSlot();
    if (free == nullptr) {
        return ERR_OUT_OF_RESOURCES;
    }
    std::memcpy(free->watched, watched, static_cast<std::size_t>(static_cast<const char*>(end) - watched) + 1);
    // The formatter makes the text of each assertion, which is then to be seen once.
    free->sources = (sources & FORMATTER) != 0 ? sources & ~unsigned{ASSERT} : sources;
    free->skipHits = skipHits;
    free->callback = callback;
    free->context = context;
    free->hits.store(0);
    free->lastUse = ++g_lastUse;
    free->use.store(free->lastUse);
    if (++g_taken == 1) {
        Private::g_textObserver.store(Observe, std::memory_order_release);
    }
    slot = static_cast<unsigned long>(free - g_slots);
    return ERR_OK;
}

Error StringBreakpoint::Clear(unsigned long slot) {
    if (slot >= SLOTS) {
        return ERR_NOT_FOUND;
    }
    unsigned long use = 0;
    {
        const AutoLock<NonRecursiveSpinLock> guard(g_lock);
        use = g_slots[slot].use.exchange(0);
        if (use == 0) {
            return ERR_NOT_FOUND;
        }
        if (--g_taken == 0) {
            Private::g_textObserver.store(nullptr, std::memory_order_release);
        }
    }
    g_uses.WaitFor(use, GetCurrentThreadId());
    return ERR_OK;
}

void StringBreakpoint::ClearAll() {
    for (unsigned long slot = 0; slot < SLOTS; ++slot) {
        Clear(slot);
    }
}

unsigned long StringBreakpoint::GetHits(unsigned long slot) {
    return slot < SLOTS ? g_slots[slot].hits.load() : 0;
}

bool StringBreakpoint::Check(const char* text) {
    return text != nullptr && LookAt(CHECK, text, nullptr);
}

} // namespace Z4
