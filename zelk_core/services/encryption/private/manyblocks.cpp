#include <cstring>
#include <emmintrin.h>
#include <zelk_core/services/encryption/private/blocks.h>

namespace Z4::Private {

namespace {

/// The words of four blocks, one block a lane.
struct FourBlocks {
    __m128i y;
    __m128i z;
};

constexpr unsigned long BLOCK_SIZE = 8;
constexpr unsigned long GROUP_SIZE = 4 * BLOCK_SIZE;
/// Two groups keep the units busy: one waits for its own results, three no longer fit the registers.
constexpr unsigned long STRIDE = 2 * GROUP_SIZE;

FourBlocks Load(const char* data) {
    const __m128 low = _mm_castsi128_ps(_mm_loadu_si128(reinterpret_cast<const __m128i*>(data)));
    const __m128 high = _mm_castsi128_ps(_mm_loadu_si128(reinterpret_cast<const __m128i*>(data + 16)));
    return {_mm_castps_si128(_mm_shuffle_ps(low, high, _MM_SHUFFLE(2, 0, 2, 0))),
            _mm_castps_si128(_mm_shuffle_ps(low, high, _MM_SHUFFLE(3, 1, 3, 1)))};
}

void Store(char* data, const FourBlocks& blocks) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(data), _mm_unpacklo_epi32(blocks.y, blocks.z));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(data + 16), _mm_unpackhi_epi32(blocks.y, blocks.z));
}

__m128i Broadcast(std::uint32_t word) {
    return _mm_set1_epi32(static_cast<int>(word));
}

/// Runs `kernel(first, second)` on eight blocks in place, four in each argument.
template <class Kernel>
void WorkOnStride(char* data, const Kernel& kernel) {
    FourBlocks first = Load(data);
    FourBlocks second = Load(data + GROUP_SIZE);
    kernel(first, second);
    Store(data, first);
    Store(data + GROUP_SIZE, second);
}

using SingleBlock = CipherBlock(CipherBlock block, const std::uint32_t* key);

template <class Kernel, SingleBlock* SINGLE>
void WorkOnBlocks(char* data, unsigned long count, const std::uint32_t* key) {
    if (count == 1) {
        // Done sooner by itself than as one of eight.
        CipherBlock block;
        std::memcpy(&block, data, BLOCK_SIZE);
        block = SINGLE(block, key);
        std::memcpy(data, &block, BLOCK_SIZE);
        return;
    }
    const Kernel kernel(key);
    unsigned long size = count * BLOCK_SIZE;
    for (; size >= STRIDE; size -= STRIDE, data += STRIDE) {
        WorkOnStride(data, kernel);
    }
    if (size != 0) {
        char rest[STRIDE] = {};
        std::memcpy(rest, data, size);
        WorkOnStride(rest, kernel);
        std::memcpy(data, rest, size);
    }
}

// The loops below are near what the vector units can do. The order of their steps, and where the sum is counted on, is
// the fastest of those tried: others cost the compilers more registers than there are.

class TeaKernel {
public:
    explicit TeaKernel(const std::uint32_t* key)
        : m_key{Broadcast(key[0]), Broadcast(key[1]), Broadcast(key[2]), Broadcast(key[3])} {}

protected:
    __m128i MixForY(__m128i z, __m128i sum) const { return Mix(z, sum, m_key[0], m_key[1]); }
    __m128i MixForZ(__m128i y, __m128i sum) const { return Mix(y, sum, m_key[2], m_key[3]); }

private:
    static __m128i Mix(__m128i other, __m128i sum, __m128i leftKey, __m128i rightKey) {
        const __m128i left = _mm_add_epi32(_mm_slli_epi32(other, 4), leftKey);
        const __m128i right = _mm_add_epi32(_mm_srli_epi32(other, 5), rightKey);
        return _mm_xor_si128(_mm_xor_si128(left, _mm_add_epi32(other, sum)), right);
    }

    __m128i m_key[4];
};

class TeaEncodeKernel : TeaKernel {
public:
    using TeaKernel::TeaKernel;

    void operator()(FourBlocks& a, FourBlocks& b) const {
        const __m128i delta = Broadcast(CIPHER_DELTA);
        __m128i sum = delta;
        for (unsigned cycle = 0; cycle < CIPHER_CYCLES; ++cycle) {
            a.y = _mm_add_epi32(a.y, MixForY(a.z, sum));
            b.y = _mm_add_epi32(b.y, MixForY(b.z, sum));
            a.z = _mm_add_epi32(a.z, MixForZ(a.y, sum));
            b.z = _mm_add_epi32(b.z, MixForZ(b.y, sum));
            sum = _mm_add_epi32(sum, delta);
        }
    }
};

class TeaDecodeKernel : TeaKernel {
public:
    using TeaKernel::TeaKernel;

    void operator()(FourBlocks& a, FourBlocks& b) const {
        const __m128i delta = Broadcast(CIPHER_DELTA);
        __m128i sum = Broadcast(CIPHER_LAST_SUM);
        for (unsigned cycle = 0; cycle < CIPHER_CYCLES; ++cycle) {
            a.z = _mm_sub_epi32(a.z, MixForZ(a.y, sum));
            b.z = _mm_sub_epi32(b.z, MixForZ(b.y, sum));
            a.y = _mm_sub_epi32(a.y, MixForY(a.z, sum));
            b.y = _mm_sub_epi32(b.y, MixForY(b.z, sum));
            sum = _mm_sub_epi32(sum, delta);
        }
    }
};

class XTeaKernel {
public:
    explicit XTeaKernel(const std::uint32_t* key) {
        std::uint32_t sum = 0;
        for (unsigned cycle = 0; cycle < CIPHER_CYCLES; ++cycle) {
            m_forY[cycle] = Broadcast(sum + key[sum & 3]);
            sum += CIPHER_DELTA;
            m_forZ[cycle] = Broadcast(sum + key[(sum >> 11) & 3]);
        }
    }

protected:
    static __m128i Mix(__m128i other, __m128i sumAndKey) {
        const __m128i shifts = _mm_xor_si128(_mm_slli_epi32(other, 4), _mm_srli_epi32(other, 5));
        return _mm_xor_si128(_mm_add_epi32(shifts, other), sumAndKey);
    }

    // Sum and key word of each cycle, broadcast ahead: a step then reads them from memory and needs no register.
    __m128i m_forY[CIPHER_CYCLES];
    __m128i m_forZ[CIPHER_CYCLES];
};

class XTeaEncodeKernel : XTeaKernel {
public:
    using XTeaKernel::XTeaKernel;

    void operator()(FourBlocks& a, FourBlocks& b) const {
        for (unsigned cycle = 0; cycle < CIPHER_CYCLES; ++cycle) {
            a.y = _mm_add_epi32(a.y, Mix(a.z, m_forY[cycle]));
            b.y = _mm_add_epi32(b.y, Mix(b.z, m_forY[cycle]));
            a.z = _mm_add_epi32(a.z, Mix(a.y, m_forZ[cycle]));
            b.z = _mm_add_epi32(b.z, Mix(b.y, m_forZ[cycle]));
        }
    }
};

class XTeaDecodeKernel : XTeaKernel {
public:
    using XTeaKernel::XTeaKernel;

    void operator()(FourBlocks& a, FourBlocks& b) const {
        for (unsigned cycle = CIPHER_CYCLES; cycle-- > 0;) {
            a.z = _mm_sub_epi32(a.z, Mix(a.y, m_forZ[cycle]));
            a.y = _mm_sub_epi32(a.y, Mix(a.z, m_forY[cycle]));
            b.z = _mm_sub_epi32(b.z, Mix(b.y, m_forZ[cycle]));
            b.y = _mm_sub_epi32(b.y, Mix(b.z, m_forY[cycle]));
        }
    }
};

} // namespace

void TeaEncodeBlocks(char* data, unsigned long count, const std::uint32_t* key) {
    WorkOnBlocks<TeaEncodeKernel, TeaEncodeBlock>(data, count, key);
}

void TeaDecodeBlocks(char* data, unsigned long count, const std::uint32_t* key) {
    WorkOnBlocks<TeaDecodeKernel, TeaDecodeBlock>(data, count, key);
}

void XTeaEncodeBlocks(char* data, unsigned long count, const std::uint32_t* key) {
    WorkOnBlocks<XTeaEncodeKernel, XTeaEncodeBlock>(data, count, key);
}

void XTeaDecodeBlocks(char* data, unsigned long count, const std::uint32_t* key) {
    WorkOnBlocks<XTeaDecodeKernel, XTeaDecodeBlock>(data, count, key);
}

} // namespace Z4::Private
