// Objects of which the process has one, made on first use by whichever thread comes first.
#pragma once

#include <atomic>
#include <cstdint>
#include <new>

namespace Z4::Private {

/// Gives up the processor to another ready thread.
void YieldThread();

/// One state word: 0 for no object, 1 while one thread builds it, else the object's address. The others yield until
/// the address is published. A constant-initialised global of this type is ready before any code runs; `T`'s default
/// constructor runs at the first Get().
template <class T>
class Singleton {
public:
    /// Any thread.
    T& Get() {
        std::uintptr_t state = m_state.load(std::memory_order_acquire);
        return state > BEING_CREATED ? *reinterpret_cast<T*>(state) : GetSlow();
    }

    /// Destroys the object, if there is one; the next Get() makes a new one. No other thread may use it meanwhile.
    void Destroy() {
        const std::uintptr_t state = m_state.exchange(NONE, std::memory_order_acq_rel);
        if (state > BEING_CREATED) {
            reinterpret_cast<T*>(state)->~T();
        }
    }

private:
    static constexpr std::uintptr_t NONE = 0;
    static constexpr std::uintptr_t BEING_CREATED = 1;

    T& GetSlow() {
        std::uintptr_t state = NONE;
        if (m_state.compare_exchange_strong(state, BEING_CREATED)) {
            T* const object = ::new (static_cast<void*>(m_storage)) T;
            m_state.exchange(reinterpret_cast<std::uintptr_t>(object));
            return *object;
        }
        while (state == BEING_CREATED) {
            YieldThread();
            state = m_state.load(std::memory_order_acquire);
        }
        return *reinterpret_cast<T*>(state);
    }

    std::atomic<std::uintptr_t> m_state{NONE};
    alignas(T) unsigned char m_storage[sizeof(T)]{};
};

} // namespace Z4::Private
