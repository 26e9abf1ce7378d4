// Goes before the C run-time library's header of this name, which has as macros what the standard library wants to
// define as functions, and lacks some.
#pragma once

#include_next <math.h>

#undef copysign
#undef copysignf
#undef isfinite
#undef isinf
#undef isnan
#undef isnormal
#undef signbit

#ifdef __cplusplus
extern "C" double copysign(double, double);
extern "C" float copysignf(float, float);

template <class T>
inline bool isfinite(T value) {
    return __builtin_isfinite(static_cast<double>(value));
}
template <class T>
inline bool isinf(T value) {
    return __builtin_isinf(static_cast<double>(value));
}
template <class T>
inline bool isnan(T value) {
    return __builtin_isnan(static_cast<double>(value));
}
template <class T>
inline bool isnormal(T value) {
    return __builtin_isnormal(static_cast<double>(value));
}
#endif
