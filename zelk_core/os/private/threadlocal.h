// Thread-local storage in the form that each compiler has.
#pragma once

#include <zelk_core/base/api.h>

#if Z4_NATIVE_THREAD_LOCAL
#    include <zelk_core/os/private/threadlocal_msc.h>
#else
#    include <zelk_core/os/private/threadlocal_gcc.h>
#endif
