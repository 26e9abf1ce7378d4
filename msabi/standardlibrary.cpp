// What programs take from the library file of the standard library, which does not exist for this target: memory,
// exceptions, standard streams, guarded local statics, and what its templates share. The DLL takes nothing of it.
#include <windows.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <malloc.h>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <unordered_map>

const std::nothrow_t std::nothrow{};

void* operator new(std::size_t size) {
    void* const memory = std::malloc(size != 0 ? size : 1);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return std::malloc(size != 0 ? size : 1);
}

void* operator new[](std::size_t size) {
    return operator new(size);
}

void* operator new[](std::size_t size, const std::nothrow_t& nothrow) noexcept {
    return operator new(size, nothrow);
}

void* operator new(std::size_t size, std::align_val_t alignment) {
    void* const memory = _aligned_malloc(size != 0 ? size : 1, static_cast<std::size_t>(alignment));
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t, std::align_val_t) noexcept {
    _aligned_free(memory);
}

void operator delete[](void* memory) noexcept {
    std::free(memory);
}

void operator delete[](void* memory, std::size_t) noexcept {
    std::free(memory);
}

extern "C" {

// The table of virtual functions of the class type_info, which each type's description begins with; nobody calls them.
extern void* const g_typeInfoTable[1] __asm__("??_7type_info@@6B@");
void* const g_typeInfoTable[1] = {};

// The headers are a newer C library's, which has this in the place of a table.
FILE* __cdecl __p__iob();
FILE* __cdecl __acrt_iob_func(unsigned index) {
    return __p__iob() + index;
}

void __std_terminate() {
    std::abort();
}

} // extern "C"

namespace std {

exception::~exception() noexcept = default;
const char* exception::what() const noexcept {
    return "exception";
}

bad_alloc::bad_alloc() noexcept = default;
bad_alloc::~bad_alloc() noexcept = default;
const char* bad_alloc::what() const noexcept {
    return "out of memory";
}

bad_array_new_length::bad_array_new_length() noexcept = default;
bad_array_new_length::~bad_array_new_length() noexcept = default;
const char* bad_array_new_length::what() const noexcept {
    return "bad array length";
}

// Each exception has a copy of its text, which is null when there was no memory for it.
inline namespace __1 {
__libcpp_refstring::__libcpp_refstring(const char* text) : __imp_(_strdup(text)) {}
__libcpp_refstring::__libcpp_refstring(const __libcpp_refstring& other) noexcept
    : __imp_(other.__imp_ != nullptr ? _strdup(other.__imp_) : nullptr) {}
__libcpp_refstring::~__libcpp_refstring() {
    std::free(const_cast<char*>(__imp_));
}
} // namespace __1

logic_error::logic_error(const char* text) : __imp_(text) {}
logic_error::logic_error(const logic_error& other) noexcept = default;
logic_error::~logic_error() noexcept = default;
const char* logic_error::what() const noexcept {
    return __imp_.c_str() != nullptr ? __imp_.c_str() : "out of memory";
}
length_error::~length_error() noexcept = default;
out_of_range::~out_of_range() noexcept = default;

inline namespace __1 {

template class basic_string<char>;
template class basic_string<wchar_t>;
template string operator+(const char* left, const string& right);

__shared_count::~__shared_count() = default;
__shared_weak_count::~__shared_weak_count() = default;
void __shared_weak_count::__release_weak() noexcept {
    if (__atomic_sub_fetch(&__shared_weak_owners_, 1, __ATOMIC_ACQ_REL) == -1) {
        __on_zero_shared_weak();
    }
}
const void* __shared_weak_count::__get_deleter(const type_info&) const noexcept {
    return nullptr;
}

size_t __next_prime(size_t least) {
    for (size_t candidate = least;; ++candidate) {
        size_t divisor = 2;
        while (divisor * divisor <= candidate && candidate % divisor != 0) {
            ++divisor;
        }
        if (divisor * divisor > candidate) {
            return candidate;
        }
    }
}

} // namespace __1
} // namespace std

// A local static that is initialised when it is first reached has a word: 0 before, -1 while one thread is at it, and
// then the count of such initialisations. The compiler's own code passes by while that is not above its thread's epoch.
extern "C" {

__declspec(thread) int _Init_thread_epoch = INT_MIN;

static int g_initialisations = INT_MIN;
static SRWLOCK g_initialisationLock = SRWLOCK_INIT;
static CONDITION_VARIABLE g_initialised = CONDITION_VARIABLE_INIT;

static void EndInitialisation(int* word, int state) {
    AcquireSRWLockExclusive(&g_initialisationLock);
    *word = state != 0 ? ++g_initialisations : 0;
    _Init_thread_epoch = g_initialisations;
    ReleaseSRWLockExclusive(&g_initialisationLock);
    WakeAllConditionVariable(&g_initialised);
}

void __cdecl _Init_thread_header(int* word) {
    AcquireSRWLockExclusive(&g_initialisationLock);
    while (*word == -1) {
        SleepConditionVariableSRW(&g_initialised, &g_initialisationLock, INFINITE, 0);
    }
    if (*word == 0) {
        *word = -1;
    } else {
        _Init_thread_epoch = g_initialisations;
    }
    ReleaseSRWLockExclusive(&g_initialisationLock);
}

void __cdecl _Init_thread_footer(int* word) {
    EndInitialisation(word, 1);
}

void __cdecl _Init_thread_abort(int* word) {
    EndInitialisation(word, 0);
}

} // extern "C"
