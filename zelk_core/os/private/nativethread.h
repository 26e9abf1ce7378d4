// What Thread knows of its thread, and the functions over bare handles must find out: each question costs a system
// call.
#pragma once

#include <zelk_core/os/nativethread.h>

namespace Z4::Private {

/// The two ways to say so where a thread's cores are set.
inline bool MeansAllCores(ThreadAffinity affinity) {
    return affinity == 0 || affinity == 0xFFFFFFFF;
}

/// ThreadCreate(). With `allCores` it leaves the affinity aside: new threads have all cores without being told.
Error CreateNativeThread(const ThreadAttributes& attributes, bool allCores, ThreadEntry entry, void* argument,
                         void*& handle, unsigned long& threadId);

/// ThreadJoin() for a thread that is known not to be the caller. Waits with no lock held, because what the thread still
/// does on its way out may need any.
Error JoinOtherThread(void* handle);

} // namespace Z4::Private
