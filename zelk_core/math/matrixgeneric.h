/// @file
/// Everything about matrices but the classes themselves, which matrix.h and matrixsimd.h have.
#pragma once

#include <zelk_core/math/matrixarithmetic.h>
#include <zelk_core/math/matrixinverse.h>
#include <zelk_core/math/matrixmake.h>
#include <zelk_core/math/matrixrow.h>
#include <zelk_core/math/matrixshape.h>
