// The way to the host's tables for every room: the tables as installed. Memory comes by way of base/hostnew.h.
#pragma once

#include <zelk_core/base/assert.h>
#include <zelk_core/base/ealid.h>
#include <zelk_core/base/ealinterface.h>

/// A slot that is about to be called, `Z4_SLOT(g_net.init)(version)`, by this name everywhere. Null is reported, with
/// the slot's name, where contracts are checked; called it is all the same.
#define Z4_SLOT(slot)                                                                                              \
    (Z4_ASSERT((slot) != nullptr, "The host installs its tables before it starts a service, and fills every slot " \
                                  "that the service reaches."),                                                    \
     (slot))

namespace Z4::Private {

extern constinit eal_mem_dll_interface g_mem;
extern constinit eal_log_dll_interface g_log;
extern constinit eal_file_dll_interface g_file;
extern constinit eal_thread_dll_interface g_thread;
extern constinit eal_net_dll_interface g_net;

} // namespace Z4::Private
