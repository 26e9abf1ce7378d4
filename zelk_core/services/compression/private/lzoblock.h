/// @file
/// LZO's blocks behind functions of our own, so that the library can be built without LZO: lzoblock.cpp calls it, and
/// lzoblock_none.cpp stands in its place.
#pragma once

#include <cstddef>

namespace Z4::Private {

/// LZO's own codes, as far as they are told apart.
enum LzoResult : int {
    LZO_DONE = 0,
    LZO_FAILED = -1,
    LZO_NO_MEMORY = -2,
    LZO_OUTPUT_FULL = -5,
    LZO_INPUT_LEFT = -8,
};

/// Whether LZO is there. Without it the two functions below produce nothing and answer LZO_FAILED.
extern const bool HAS_LZO;

/// The work memory in bytes that LzoCompress() needs.
constexpr std::size_t LzoWorkMemorySize(bool best) {
    return best ? 0x70000 : 0x10000;
}

/// Compresses by LZO1X-999 where `best`, else by LZO1X-1. `outSize` is the room before and what was produced after.
int LzoCompress(bool best, const void* in, unsigned long inSize, void* out, unsigned long& outSize, void* workMemory);

/// Expands, trusting neither block nor room where `safe`, else both.
int LzoExpand(bool safe, const void* in, unsigned long inSize, void* out, unsigned long& outSize);

} // namespace Z4::Private
