/// @file
/// Streams in the zlib format (RFC 1950: deflate with a header and an Adler-32 trailer, window of 32 KiB), by zlib.
/// compression.h tells how to use them. All of zlib's memory comes from the host.
///
/// The destructor of ZLibDeflate still writes: it ends a stream that nobody ended with Flush(), from the input that was
/// fed last into the output buffer that was fed last. Both must outlive the object. Where they do not, let go of them:
///
///     deflate.FeedInputBuffer(nullptr, 0);
///     deflate.FeedOutputBuffer(nullptr, 0);
#pragma once

#include <cstdint>
#include <zelk_core/base/api.h>
#include <zelk_core/services/compression/compression.h>

struct z_stream_s;

namespace Z4 {

/// What both directions share. Input and output buffers can be of any size, 1 byte included, and be replaced at any
/// time.
class Z4_API ZLib : public CompressionInterface {
public:
    ~ZLib() override;

    void FeedInputBuffer(const void* data, unsigned long size) override;
    void FeedOutputBuffer(void* data, unsigned long size) override;
    unsigned long GetAvailableInputSize() const override;
    unsigned long GetAvailableOutputSize() const override;
    unsigned long GetOutputDataSize() const override;

    /// OUTPUT_FULL also when the input happens to end where the room ends; DONE only at the end of the stream. Input
    /// that is left after DONE belongs to whatever follows the stream; a further call makes nothing of it.
    [[nodiscard]] int Process() override;

protected:
    ZLib();

    z_stream_s* m_stream; ///< null when the host had no memory
    std::uint32_t m_outputSize = 0;

private:
    int CallProcess() override = 0;

    static void* Z4_CDECL Alloc(void* opaque, unsigned items, unsigned size);
    static void Z4_CDECL Free(void* opaque, void* pointer);
};

/// Compresses. Takes about 260 KiB from the host.
class Z4_API ZLibDeflate : public ZLib {
public:
    /// Calls Flush() if nobody did; how many bytes that gives, nobody learns. It can read the input that was fed last
    /// and write to the last output buffer, so both must still be valid. Feed null ones before freeing them.
    ~ZLibDeflate() override;

    /// zlib's levels 1 for CMP_FAST, 9 for CMP_BEST, else 6.
    explicit ZLibDeflate(cmp_level level);

    /// Compresses the rest of the input and ends the stream; may be called again after DONE. From the first call until
    /// Reset(), Process() does the same, and further input is FAILED.
    /// @return DONE when the end is in the output buffer; OUTPUT_FULL when there is more.
    [[nodiscard]] int Flush() override;

    /// Calls Flush() once, then begins a new stream. What did not fit the output buffer is lost: to keep it, repeat
    /// Flush() until DONE first. Both buffers stay as they are, and so does input that was not reached: it would begin
    /// the new stream.
    /// @return the result of the Flush().
    [[nodiscard]] int Reset() override;

private:
    int CallProcess() override;
    void Init(cmp_level level);

    int m_flushMode;
};

/// Expands. Takes about 7 KiB from the host, and 32 KiB more for a stream that does not end in the first Process().
/// Any input is safe: corrupt data is FAILED, and so is a stream with a preset dictionary. After FAILED only Reset()
/// and destruction help. A stream that stops short returns NEED_INPUT for ever: the caller knows that there is no more.
class Z4_API ZLibInflate : public ZLib {
public:
    ~ZLibInflate() override;

    ZLibInflate();

    /// Begins a new stream, keeping the buffers. @return NO_RESULT.
    int Reset() override;

private:
    int CallProcess() override;
};

} // namespace Z4
