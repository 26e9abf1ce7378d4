// Objects of which the process has one, made on first use by whichever thread comes first.
#pragma once

#include <atomic>
#include <cstdint>
#include <new>
#include <zelk_core/base/hostnew.h>
#include <zelk_core/base/private/eal.h>

namespace Z4::Private {

/// Gives up the processor to another ready thread.
void YieldThread();

/// The value of a state word is one of these or the object's address.
inline constexpr std::uintptr_t SINGLETON_NONE = 0;
inline constexpr std::uintptr_t SINGLETON_BEING_CREATED = 1;

/// The thread that finds no object runs `create()`, which returns a `T*`, and publishes its address in `state`; the
/// others yield until it is there. Any thread.
/// @return null when `create()` returned null; the next call tries again.
template <class T, class Create>
T* CreateOnce(std::atomic<std::uintptr_t>& state, Create create) {
    std::uintptr_t found = SINGLETON_NONE;
    if (state.compare_exchange_strong(found, SINGLETON_BEING_CREATED)) {
        T* const object = create();
        state.exchange(reinterpret_cast<std::uintptr_t>(object));
        return object;
    }
    while (found == SINGLETON_BEING_CREATED) {
        YieldThread();
        found = state.load(std::memory_order_acquire);
    }
    return reinterpret_cast<T*>(found);
}

/// Storage for the one `T` from the host's memory.
template <class T>
class SingletonAllocator {
public:
    virtual void Free(void* storage) { FreeToHost(storage); }
    /// Null when the host refuses.
    virtual void* Allocate() { return AllocateFromHost(sizeof(T), alignof(T)); }

protected:
    // Never destroyed, and not by way of a virtual operation: its place in the table would be ahead of the others.
    ~SingletonAllocator() = default;
};

/// An object in static storage, made by CreateOnce(). A constant-initialised global of this type is ready before any
/// code runs; `T`'s default constructor runs at the first Get().
template <class T>
class Singleton {
public:
    /// Any thread.
    T& Get() {
        const std::uintptr_t state = m_state.load(std::memory_order_acquire);
        return state > SINGLETON_BEING_CREATED ? *reinterpret_cast<T*>(state) : GetSlow();
    }

    /// The object, or null when there is none or it is still being made. Any thread.
    T* Find() const {
        const std::uintptr_t state = m_state.load(std::memory_order_acquire);
        return state > SINGLETON_BEING_CREATED ? reinterpret_cast<T*>(state) : nullptr;
    }

    /// Destroys the object, if there is one; the next Get() makes a new one, but from the destructor it still gives the
    /// old one. No other thread may use it meanwhile.
    void Destroy() {
        if (T* const object = Find(); object != nullptr) {
            object->~T();
            m_state.store(SINGLETON_NONE, std::memory_order_release);
        }
    }

private:
    T& GetSlow() {
        return *CreateOnce<T>(m_state, [this] { return ::new (static_cast<void*>(m_storage)) T; });
    }

    std::atomic<std::uintptr_t> m_state{SINGLETON_NONE};
    alignas(T) unsigned char m_storage[sizeof(T)]{};
};

} // namespace Z4::Private
