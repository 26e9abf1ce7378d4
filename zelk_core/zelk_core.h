/// @file
/// The whole library in one include.
#pragma once

#include <zelk_core/base/api.h>
#include <zelk_core/base/dllwrapper.h>
#include <zelk_core/base/ealid.h>
#include <zelk_core/base/ealinterface.h>
#include <zelk_core/base/error.h>
#include <zelk_core/base/lifecycle.h>
#include <zelk_core/base/log.h>
#include <zelk_core/base/platform.h>
#include <zelk_core/base/strformat.h>
#include <zelk_core/base/version.h>
#include <zelk_core/eal_utils/lifecycle.h>
#include <zelk_core/generics/lifecycle.h>
#include <zelk_core/math/lifecycle.h>
#include <zelk_core/os/autorwlock.h>
#include <zelk_core/os/condvariable.h>
#include <zelk_core/os/event.h>
#include <zelk_core/os/lifecycle.h>
#include <zelk_core/os/nullock.h>
#include <zelk_core/os/rwlock.h>
#include <zelk_core/os/semaphore.h>
#include <zelk_core/os/threadbarrier.h>
#include <zelk_core/services/compression/lifecycle.h>
#include <zelk_core/services/encryption/lifecycle.h>
