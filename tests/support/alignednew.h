// Derived classes of several alignments on the heap, in memory that is aligned as the library asks for and no better.
#pragma once

#include <cstdint>
#include <new>
#include <zelk_core/base/ealinterface.h>
#include <zelk_core/services/runtimetype/classregistration.h>

namespace ZelkTest {

/// The slots of a memory table that stays with one thread.
struct BareMemory {
    static inline unsigned g_live;

    static void* Z4_CDECL Allocate(std::size_t size, std::size_t alignment, unsigned, int) {
        static std::uintptr_t s_arena[128 * 1024];
        static std::uintptr_t s_next;
        if (g_live == 0) {
            s_next = reinterpret_cast<std::uintptr_t>(s_arena);
        }
        // An odd multiple of the alignment.
        const std::uintptr_t block = ((s_next + alignment - 1) / alignment | 1) * alignment;
        s_next = block + size;
        if (s_next > reinterpret_cast<std::uintptr_t>(s_arena) + sizeof s_arena) {
            return nullptr;
        }
        ++g_live;
        return reinterpret_cast<void*>(block);
    }
    static void Z4_CDECL Free(void*) { --g_live; }

    /// The program's own table must be installed again afterwards.
    static void Install() {
        Z4::eal_mem_dll_interface table{};
        table.alloc = Allocate;
        table.free = Free;
        Z4::SetEalInterface(table);
    }
};

/// DEFAULT keeps apart what is compiled with different ideas of the alignment that plain `new` gives.
template <class Base, unsigned ALIGNMENT, unsigned DEFAULT = __STDCPP_DEFAULT_NEW_ALIGNMENT__>
class Aligned : public Base {
    alignas(ALIGNMENT) unsigned char m_data[ALIGNMENT] = {};
};

/// Makes objects in every way there is and gives them back.
/// @return how many were not in that memory or not aligned as their class is, and how many blocks were not given back.
template <class T>
unsigned CountMisplaced() {
    const unsigned before = BareMemory::g_live;
    unsigned misplaced = 0;
    const auto count = [&](T* object) {
        // Compilers believe that every T is aligned; they forget it behind a volatile.
        const void* const volatile address = object;
        misplaced += BareMemory::g_live == before || reinterpret_cast<std::uintptr_t>(address) % alignof(T) != 0;
    };
    for (T* const object : {new T, new (std::nothrow) T, static_cast<T*>(Z4::ClassRegistration<T>::Create(nullptr))}) {
        count(object);
        delete object;
    }
    for (T* const objects : {new T[3], new (std::nothrow) T[3]}) {
        count(objects);
        delete[] objects;
    }
    return misplaced + BareMemory::g_live - before;
}

template <class Base>
unsigned CountMisplacedDerived() {
    return CountMisplaced<Aligned<Base, 4>>() + CountMisplaced<Aligned<Base, 16>>() +
           CountMisplaced<Aligned<Base, 64>>();
}

} // namespace ZelkTest
