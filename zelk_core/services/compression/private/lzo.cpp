#include <zelk_core/services/compression/lzo.h>

#include <cstddef>
#include <lzo/lzo1x.h>
#include <zelk_core/base/assert.h>
#include <zelk_core/base/hostnew.h>

// Public in the library, but declared in none of its headers.
LZO_EXTERN(int)
lzo1x_999_compress_internal(const lzo_bytep in, lzo_uint inSize, lzo_bytep out, lzo_uintp outSize, lzo_voidp workMemory,
                            const lzo_bytep dictionary, lzo_uint dictionarySize, lzo_callback_p callback, int tryLazy,
                            lzo_uint goodLength, lzo_uint maxLazy, lzo_uint niceLength, lzo_uint maxChain,
                            lzo_uint32_t flags);

namespace Z4 {

template <>
struct Private::Layout<Lzo> {
    static_assert(offsetof(Lzo::LzoObj, outputDataSize) == 0);
    static_assert(offsetof(Lzo::LzoObj, inputSize) == 4);
    static_assert(offsetof(Lzo::LzoObj, outputSize) == 8);
    static_assert(offsetof(Lzo::LzoObj, input) == 12);
    static_assert(offsetof(Lzo::LzoObj, output) == 16);
    static_assert(sizeof(Lzo::LzoObj) == 20);
    static_assert(offsetof(Lzo, m_obj) == 4);
    static_assert(sizeof(Lzo) == 24);
};

template <>
struct Private::Layout<LzoDeflate> {
    static_assert(offsetof(LzoDeflate, m_workMemory) == 24);
    static_assert(offsetof(LzoDeflate, m_level) == 28);
    static_assert(sizeof(LzoDeflate) == 32);
};

template <>
struct Private::Layout<LzoInflate> {
    static_assert(offsetof(LzoInflate, m_safe) == 24);
    static_assert(sizeof(LzoInflate) == 28);
};

namespace {

constexpr std::size_t WORK_MEMORY_SIZE = 0x10000;
constexpr std::size_t WORK_MEMORY_SIZE_BEST = 0x70000;
static_assert(LZO1X_1_MEM_COMPRESS <= WORK_MEMORY_SIZE);
static_assert(LZO1X_999_MEM_COMPRESS <= WORK_MEMORY_SIZE_BEST);
static_assert(sizeof(lzo_uint) == sizeof(unsigned long));

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

Lzo::Lzo() {
    // What it would find out (byte order, sizes) is the same for every object, and asserted where it matters.
    _lzo_config_check();
}

Lzo::~Lzo() = default;

void Lzo::FeedInputBuffer(const void* data, unsigned long size) {
    Z4_ASSERT(data != nullptr || size == 0, "An input buffer of null has size 0.");
    m_obj.input = data;
    m_obj.inputSize = size;
}

void Lzo::FeedOutputBuffer(void* data, unsigned long size) {
    Z4_ASSERT(data != nullptr || size == 0, "An output buffer of null has size 0.");
    m_obj.output = data;
    m_obj.outputSize = size;
}

unsigned long Lzo::GetAvailableInputSize() const {
    return m_obj.inputSize;
}

unsigned long Lzo::GetAvailableOutputSize() const {
    return m_obj.outputSize;
}

unsigned long Lzo::GetOutputDataSize() const {
    return m_obj.outputDataSize;
}

int Lzo::Process() {
    const int result = CallProcess();
    if (result == LZO_E_OUTPUT_OVERRUN) {
        return OUTPUT_FULL;
    }
    if (result != LZO_E_OK && result != LZO_E_INPUT_NOT_CONSUMED) {
        return FAILED;
    }
    m_obj.outputSize -= m_obj.outputDataSize;
    m_obj.inputSize = 0;
    return DONE;
}

LzoDeflate::LzoDeflate(cmp_level level)
    : m_workMemory(Private::AllocateFromHost(level == CMP_BEST ? WORK_MEMORY_SIZE_BEST : WORK_MEMORY_SIZE, 1)),
      m_level(level) {}

LzoDeflate::~LzoDeflate() {
    Private::FreeToHost(m_workMemory);
}

int LzoDeflate::CallProcess() {
    if (m_workMemory == nullptr) {
        m_obj.outputDataSize = 0;
        return LZO_E_OUT_OF_MEMORY;
    }
    Z4_ASSERT(m_obj.inputSize <= GetSafeDeflateBufferSize(m_obj.inputSize) &&
                  GetSafeDeflateBufferSize(m_obj.inputSize) <= m_obj.outputSize,
              "The output buffer has GetSafeDeflateBufferSize() of the input size.");
    const auto* const in = static_cast<const unsigned char*>(m_obj.input);
    auto* const out = static_cast<unsigned char*>(m_obj.output);
    lzo_uint outSize = m_obj.outputSize;
    const auto compress = m_level == CMP_BEST ? CompressBest : lzo1x_1_compress;
    const int result = compress(in, m_obj.inputSize, out, &outSize, m_workMemory);
    m_obj.outputDataSize = outSize;
    return result;
}

LzoInflate::LzoInflate(bool safe) : m_safe(safe) {}

LzoInflate::~LzoInflate() = default;

int LzoInflate::Flush() {
    if (m_obj.inputSize > 0 && m_obj.outputSize > 0) {
        static_cast<void>(Process());
    }
    m_obj.inputSize = 0;
    m_obj.outputSize = 0;
    return NO_RESULT;
}

int LzoInflate::CallProcess() {
    const auto* const in = static_cast<const unsigned char*>(m_obj.input);
    auto* const out = static_cast<unsigned char*>(m_obj.output);
    lzo_uint outSize = m_obj.outputSize;
    const auto decompress = m_safe ? lzo1x_decompress_safe : lzo1x_decompress;
    const int result = decompress(in, m_obj.inputSize, out, &outSize, nullptr);
    m_obj.outputDataSize = outSize;
    return result;
}

} // namespace Z4
