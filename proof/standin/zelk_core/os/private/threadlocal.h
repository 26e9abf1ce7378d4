// Thread-local storage of the explorer's threads, in place of the library's header of this name.
#pragma once

#include <cstring>
#include <proof/explorer.h>

#define Z4_THREAD_LOCAL_IMAGE

namespace Z4::Private {

/// The calling thread's copy; fresh in every run of the explored program.
template <class T>
inline T& ThisThreads(T& image) {
    static T copies[Proof::MAX_THREADS];
    static unsigned long runs[Proof::MAX_THREADS];
    const unsigned self = Proof::Self();
    if (runs[self] != Proof::Run()) {
        runs[self] = Proof::Run();
        std::memcpy(&copies[self], &image, sizeof(T));
    }
    return copies[self];
}

} // namespace Z4::Private
