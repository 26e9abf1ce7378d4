#include <zelk_core/services/compression/lzo.h>

#include <cstddef>
#include <zelk_core/base/assert.h>
#include <zelk_core/base/hostnew.h>
#include <zelk_core/services/compression/private/lzoblock.h>

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

Lzo::Lzo() = default;

Lzo::~Lzo() = default;

bool Lzo::IsAvailable() {
    return Private::HAS_LZO;
}

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
    if (result == Private::LZO_OUTPUT_FULL) {
        return OUTPUT_FULL;
    }
    if (result != Private::LZO_DONE && result != Private::LZO_INPUT_LEFT) {
        return FAILED;
    }
    m_obj.outputSize -= m_obj.outputDataSize;
    m_obj.inputSize = 0;
    return DONE;
}

LzoDeflate::LzoDeflate(cmp_level level)
    : m_workMemory(IsAvailable() ? Private::AllocateFromHost(Private::LzoWorkMemorySize(level == CMP_BEST), 1)
                                 : nullptr),
      m_level(level) {}

LzoDeflate::~LzoDeflate() {
    Private::FreeToHost(m_workMemory);
}

int LzoDeflate::CallProcess() {
    if (m_workMemory == nullptr) {
        m_obj.outputDataSize = 0;
        return Private::LZO_NO_MEMORY;
    }
    Z4_ASSERT(m_obj.inputSize <= GetSafeDeflateBufferSize(m_obj.inputSize) &&
                  GetSafeDeflateBufferSize(m_obj.inputSize) <= m_obj.outputSize,
              "The output buffer has GetSafeDeflateBufferSize() of the input size.");
    m_obj.outputDataSize = m_obj.outputSize;
    return Private::LzoCompress(m_level == CMP_BEST, m_obj.input, m_obj.inputSize, m_obj.output, m_obj.outputDataSize,
                                m_workMemory);
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
    m_obj.outputDataSize = m_obj.outputSize;
    return Private::LzoExpand(m_safe, m_obj.input, m_obj.inputSize, m_obj.output, m_obj.outputDataSize);
}

} // namespace Z4
