#include <atomic>
#include <cstring>
#include <emmintrin.h>
#include <zelk_core/base/private/byteswap.h>
#include <zelk_core/base/private/processorfeatures.h>
#include <zelk_core/base/structureswap.h>

namespace Z4 {

namespace Private {

namespace {

template <class Bits>
void SwapEach(void* to, const void* from, std::size_t count) {
    auto* target = static_cast<unsigned char*>(to);
    const auto* source = static_cast<const unsigned char*>(from);
    for (std::size_t i = 0; i < count; ++i, target += sizeof(Bits), source += sizeof(Bits)) {
        Bits bits;
        std::memcpy(&bits, source, sizeof(bits));
        bits = ByteSwap(bits);
        std::memcpy(target, &bits, sizeof(bits));
    }
}

template <unsigned SIZE>
__m128i SwapLanes(__m128i lanes) {
    const __m128i swapped = _mm_or_si128(_mm_slli_epi16(lanes, 8), _mm_srli_epi16(lanes, 8));
    if constexpr (SIZE == 2) {
        return swapped;
    } else {
        constexpr int ORDER = SIZE == 4 ? _MM_SHUFFLE(2, 3, 0, 1) : _MM_SHUFFLE(0, 1, 2, 3);
        return _mm_shufflehi_epi16(_mm_shufflelo_epi16(swapped, ORDER), ORDER);
    }
}

template <unsigned SIZE>
void SwapAllSse2(void* to, const void* from, std::size_t count) {
    auto* target = static_cast<unsigned char*>(to);
    const auto* source = static_cast<const unsigned char*>(from);
    for (; count * SIZE >= 32; count -= 32 / SIZE, source += 32, target += 32) {
        const __m128i first = SwapLanes<SIZE>(_mm_loadu_si128(reinterpret_cast<const __m128i*>(source)));
        const __m128i second = SwapLanes<SIZE>(_mm_loadu_si128(reinterpret_cast<const __m128i*>(source + 16)));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(target), first);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(target + 16), second);
    }
    SwapEach<UnsignedOfSize<SIZE>>(target, source, count);
}

void ChooseAndSwap(void* to, const void* from, std::size_t count, unsigned size);

/// Threads that meet the first call together all choose alike, so the order of their stores is indifferent.
constinit std::atomic<SwapFunction> g_swap{ChooseAndSwap};

void ChooseAndSwap(void* to, const void* from, std::size_t count, unsigned size) {
    const SwapFunction choice = HasAvx2() ? SwapAvx2 : HasSsse3() ? SwapSsse3 : SwapSse2;
    g_swap.store(choice, std::memory_order_relaxed);
    choice(to, from, count, size);
}

void SwapArray(void* to, const void* from, std::size_t count, unsigned size) {
    g_swap.load(std::memory_order_relaxed)(to, from, count, size);
}

} // namespace

void SwapPlain(void* to, const void* from, std::size_t count, unsigned size) {
    switch (size) {
    case 2:
        return SwapEach<std::uint16_t>(to, from, count);
    case 4:
        return SwapEach<std::uint32_t>(to, from, count);
    default:
        return SwapEach<std::uint64_t>(to, from, count);
    }
}

void SwapSse2(void* to, const void* from, std::size_t count, unsigned size) {
    switch (size) {
    case 2:
        return SwapAllSse2<2>(to, from, count);
    case 4:
        return SwapAllSse2<4>(to, from, count);
    default:
        return SwapAllSse2<8>(to, from, count);
    }
}

} // namespace Private

void StructureSwap::Array16(void* to, const void* from, std::size_t count) {
    Private::SwapArray(to, from, count, 2);
}

void StructureSwap::Array32(void* to, const void* from, std::size_t count) {
    Private::SwapArray(to, from, count, 4);
}

void StructureSwap::Array64(void* to, const void* from, std::size_t count) {
    Private::SwapArray(to, from, count, 8);
}

} // namespace Z4
