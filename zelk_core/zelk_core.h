/// @file
/// The whole library in one include.
#pragma once

#include <zelk_core/base/api.h>
#include <zelk_core/base/dllwrapper.h>
#include <zelk_core/base/ealid.h>
#include <zelk_core/base/ealinterface.h>
#include <zelk_core/base/error.h>
#include <zelk_core/base/hash.h>
#include <zelk_core/base/lifecycle.h>
#include <zelk_core/base/log.h>
#include <zelk_core/base/platform.h>
#include <zelk_core/base/strformat.h>
#include <zelk_core/base/version.h>
#include <zelk_core/eal_utils/lifecycle.h>
#include <zelk_core/generics/lifecycle.h>
#include <zelk_core/math/lifecycle.h>
#include <zelk_core/os/adaptivelock.h>
#include <zelk_core/os/autolock.h>
#include <zelk_core/os/blockinglock.h>
#include <zelk_core/os/concurrentaccessguard.h>
#include <zelk_core/os/lifecycle.h>
#include <zelk_core/os/nullock.h>
#include <zelk_core/os/spinlock.h>
#include <zelk_core/services/compression/lifecycle.h>
#include <zelk_core/services/encryption/lifecycle.h>
