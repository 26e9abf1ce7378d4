#include <zelk_core/services/compression/zlib.h>

#include <cstddef>
#include <zelk_core/base/assert.h>
#include <zelk_core/generics/ealallocator.h>
#include <zlib.h>

namespace Z4 {

static_assert(sizeof(CompressionInterface) == 4);

template <>
struct Private::Layout<ZLib> {
    static_assert(offsetof(ZLib, m_stream) == 4);
    static_assert(offsetof(ZLib, m_outputSize) == 8);
    static_assert(sizeof(ZLib) == 12);
};

template <>
struct Private::Layout<ZLibDeflate> {
    static_assert(offsetof(ZLibDeflate, m_flushMode) == 12);
    static_assert(sizeof(ZLibDeflate) == 16);
};

static_assert(sizeof(ZLibInflate) == sizeof(ZLib));

namespace {

// What both sides of zlib's set-up call must agree on: the interface that this file was written for, of which zlib
// compares the first digit, and the size of its record.
constexpr char INTERFACE_VERSION[] = "1.2.1";
constexpr int STREAM_SIZE = 56;
static_assert(sizeof(z_stream) == STREAM_SIZE);
static_assert(sizeof(uInt) == sizeof(unsigned long));

constexpr int WINDOW_BITS = 15; // 32 KiB, with the zlib header
constexpr int MEMORY_LEVEL = 8;

int ZLibLevel(CompressionInterface::cmp_level level) {
    switch (level) {
    case CompressionInterface::CMP_FAST:
        return Z_BEST_SPEED;
    case CompressionInterface::CMP_BEST:
        return Z_BEST_COMPRESSION;
    default:
        return Z_DEFAULT_COMPRESSION;
    }
}

} // namespace

ZLib::ZLib() : m_stream(ZelkAllocator::Allocate<z_stream>(1)) {
    if (m_stream != nullptr) {
        *m_stream = z_stream{};
        m_stream->zalloc = Alloc;
        m_stream->zfree = Free;
        m_stream->opaque = this;
    }
}

ZLib::~ZLib() {
    Free(nullptr, m_stream);
}

void ZLib::FeedInputBuffer(const void* data, unsigned long size) {
    Z4_ASSERT(data != nullptr || size == 0, "An input buffer of null has size 0.");
    if (m_stream != nullptr) {
        // zlib's buffers are not const where it is built without ZLIB_CONST; it writes to none that it reads.
        m_stream->next_in = static_cast<Bytef*>(const_cast<void*>(data));
        m_stream->avail_in = static_cast<uInt>(size);
    }
}

void ZLib::FeedOutputBuffer(void* data, unsigned long size) {
    Z4_ASSERT(data != nullptr || size == 0, "An output buffer of null has size 0.");
    if (m_stream != nullptr) {
        m_stream->next_out = static_cast<Bytef*>(data);
        m_stream->avail_out = static_cast<uInt>(size);
        m_outputSize = static_cast<std::uint32_t>(size);
    }
}

unsigned long ZLib::GetAvailableInputSize() const {
    return m_stream != nullptr ? m_stream->avail_in : 0;
}

unsigned long ZLib::GetAvailableOutputSize() const {
    return m_stream != nullptr ? m_stream->avail_out : 0;
}

unsigned long ZLib::GetOutputDataSize() const {
    return m_stream != nullptr ? m_outputSize - m_stream->avail_out : 0;
}

int ZLib::Process() {
    if (m_stream == nullptr) {
        return FAILED;
    }
    const int result = CallProcess();
    if (result == Z_STREAM_END) {
        return DONE;
    }
    if (result != Z_OK && result != Z_BUF_ERROR) {
        return FAILED;
    }
    if (m_stream->avail_out == 0) {
        return OUTPUT_FULL;
    }
    // No progress although there are both room and input.
    return result == Z_BUF_ERROR && m_stream->avail_in != 0 ? FAILED : NEED_INPUT;
}

void* ZLib::Alloc(void*, unsigned items, unsigned size) {
    const unsigned bytes = items * size;
    if (bytes == 0 || bytes / items != size) {
        return nullptr;
    }
    return Private::AllocateFromHost(bytes, 1);
}

void ZLib::Free(void*, void* pointer) {
    Private::FreeToHost(pointer);
}

ZLibDeflate::ZLibDeflate(cmp_level level) {
    Init(level);
}

ZLibDeflate::~ZLibDeflate() {
    static_cast<void>(ZLibDeflate::Flush());
    deflateEnd(m_stream);
}

void ZLibDeflate::Init(cmp_level level) {
    // Without a result: an object without zlib's state fails in every Process().
    deflateInit2_(m_stream, ZLibLevel(level), Z_DEFLATED, WINDOW_BITS, MEMORY_LEVEL, Z_DEFAULT_STRATEGY,
                  INTERFACE_VERSION, STREAM_SIZE);
    m_flushMode = Z_NO_FLUSH;
}

int ZLibDeflate::Flush() {
    m_flushMode = Z_FINISH;
    return Process();
}

int ZLibDeflate::Reset() {
    const int result = Flush();
    deflateReset(m_stream);
    m_flushMode = Z_NO_FLUSH;
    return result;
}

int ZLibDeflate::CallProcess() {
    return deflate(m_stream, m_flushMode);
}

ZLibInflate::ZLibInflate() {
    inflateInit2_(m_stream, WINDOW_BITS, INTERFACE_VERSION, STREAM_SIZE);
}

ZLibInflate::~ZLibInflate() {
    inflateEnd(m_stream);
}

int ZLibInflate::Reset() {
    inflateReset(m_stream);
    return NO_RESULT;
}

int ZLibInflate::CallProcess() {
    return inflate(m_stream, m_stream->avail_in != 0 ? Z_SYNC_FLUSH : Z_FINISH);
}

} // namespace Z4
