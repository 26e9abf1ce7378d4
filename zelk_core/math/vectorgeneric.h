/// @file
/// Everything about the plain vectors but the classes themselves, which vector.h has.
#pragma once

#include <zelk_core/math/vectorarithmetic.h>
#include <zelk_core/math/vectorfunctions.h>
#include <zelk_core/math/vectorshape.h>
