// Thread-local storage of the compiler's own, which is native.
#pragma once

/// Marks the variable of constant initial value whose copies ThisThreads() finds.
#define Z4_THREAD_LOCAL_IMAGE __declspec(thread)

namespace Z4::Private {

/// The calling thread's copy of the variable. It stays where it is for the thread's life.
template <class T>
inline T& ThisThreads(T& image) {
    return image;
}

} // namespace Z4::Private
