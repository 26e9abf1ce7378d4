#include <zelk_core/services/compression/private/lzoblock.h>

#include <lzo/lzo1x.h>

// Public in the library, but declared in none of its headers.
LZO_EXTERN(int)
lzo1x_999_compress_internal(const lzo_bytep in, lzo_uint inSize, lzo_bytep out, lzo_uintp outSize, lzo_voidp workMemory,
                            const lzo_bytep dictionary, lzo_uint dictionarySize, lzo_callback_p callback, int tryLazy,
                            lzo_uint goodLength, lzo_uint maxLazy, lzo_uint niceLength, lzo_uint maxChain,
                            lzo_uint32_t flags);

namespace Z4::Private {

static_assert(LZO_DONE == LZO_E_OK);
static_assert(LZO_FAILED == LZO_E_ERROR);
static_assert(LZO_NO_MEMORY == LZO_E_OUT_OF_MEMORY);
static_assert(LZO_OUTPUT_FULL == LZO_E_OUTPUT_OVERRUN);
static_assert(LZO_INPUT_LEFT == LZO_E_INPUT_NOT_CONSUMED);
static_assert(LZO1X_1_MEM_COMPRESS <= LzoWorkMemorySize(false));
static_assert(LZO1X_999_MEM_COMPRESS <= LzoWorkMemorySize(true));
static_assert(sizeof(lzo_uint) == sizeof(unsigned long));

namespace {

/// LZO1X-999's strongest settings, those of its level 9.
int CompressBest(const lzo_bytep in, lzo_uint inSize, lzo_bytep out, lzo_uint* outSize, void* workMemory) {
    constexpr int TRY_LAZY = 2;
    constexpr lzo_uint GOOD_LENGTH = 2048;
    constexpr lzo_uint MAX_LAZY = 2048;
    constexpr lzo_uint NICE_LENGTH = 0;
    constexpr lzo_uint MAX_CHAIN = 4096;
    constexpr lzo_uint32_t FLAGS = 1;
    return lzo1x_999_compress_internal(in, inSize, out, outSize, workMemory, nullptr, 0, nullptr, TRY_LAZY, GOOD_LENGTH,
                                       MAX_LAZY, NICE_LENGTH, MAX_CHAIN, FLAGS);
}

} // namespace

const bool HAS_LZO = true;

int LzoCompress(bool best, const void* in, unsigned long inSize, void* out, unsigned long& outSize, void* workMemory) {
    const auto compress = best ? CompressBest : lzo1x_1_compress;
    lzo_uint size = outSize;
    const int result =
        compress(static_cast<const unsigned char*>(in), inSize, static_cast<unsigned char*>(out), &size, workMemory);
    outSize = size;
    return result;
}

int LzoExpand(bool safe, const void* in, unsigned long inSize, void* out, unsigned long& outSize) {
    const auto expand = safe ? lzo1x_decompress_safe : lzo1x_decompress;
    lzo_uint size = outSize;
    const int result =
        expand(static_cast<const unsigned char*>(in), inSize, static_cast<unsigned char*>(out), &size, nullptr);
    outSize = size;
    return result;
}

} // namespace Z4::Private
