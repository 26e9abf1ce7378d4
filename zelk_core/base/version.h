/// @file
/// The library's version, as numbers to compare and as text. The build reads it here.
#pragma once

#define Z4_CORE_VERSION_MAJOR 4
#define Z4_CORE_VERSION_MINOR 3
#define Z4_CORE_VERSION_PATCH 2
/// major * 10000 + minor * 100 + patch, so that a later version is a larger number.
#define Z4_CORE_VERSION (Z4_CORE_VERSION_MAJOR * 10000 + Z4_CORE_VERSION_MINOR * 100 + Z4_CORE_VERSION_PATCH)
#define Z4_CORE_VERSION_STRING "4.03.02"
