/// @file
/// The library's version, as a number to compare and as text.
#pragma once

/// major * 10000 + minor * 100 + patch.
#define Z4_CORE_VERSION 40302
#define Z4_CORE_VERSION_STRING "4.03.02"
