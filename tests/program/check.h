// A check macro and the parts of the program, which the main function runs one after the other.
#pragma once

#include <cstdio>

inline int g_failures = 0;

/// Prints a condition that does not hold, and lets the program go on and fail at its end.
#define CHECK(condition)                                                 \
    do {                                                                 \
        if (!(condition)) {                                              \
            std::printf("%s(%d): %s\n", __FILE__, __LINE__, #condition); \
            ++g_failures;                                                \
        }                                                                \
    } while (false)

void CheckSlots();
void CheckNew();
void CheckWideNew();
