/// @file
/// Streams in the zlib format (RFC 1950: deflate with a header and an Adler-32 trailer, window of 32 KiB), by zlib.
/// compression.h tells how to use them. All of zlib's memory comes from the host.
///
/// The destructor of ZLibDeflate still writes: where no Flush() has returned DONE yet, it goes on to end the stream,
/// from the input that was fed last into the output buffer that was fed last. Both must outlive the object. Where they
/// do not, let go of them before:
///
///     deflate.FeedInputBuffer(nullptr, 0);
///     deflate.FeedOutputBuffer(nullptr, 0);
#pragma once

#include <cstdint>
#include <zelk_core/base/api.h>
#include <zelk_core/base/layout.h>
#include <zelk_core/services/compression/compression.h>

struct z_stream_s;

namespace Z4 {

// Lzo overrides the same operations: the streams and the blocks keep different state, so the two share the interface
// and no code.

/// The base of ZLibDeflate and ZLibInflate: one thread at a time, as every CompressionInterface. Input and output
/// buffers can be of any size, 1 byte included, and be replaced at any time.
class Z4_API ZLib : public CompressionInterface {
public:
    ~ZLib() override;

    void FeedInputBuffer(const void* data, unsigned long size) override;
    void FeedOutputBuffer(void* data, unsigned long size) override;
    unsigned long GetAvailableInputSize() const override;
    unsigned long GetAvailableOutputSize() const override;
    unsigned long GetOutputDataSize() const override;

    /// Works until the stream ends, the input is used up or the output buffer is full.
    /// @return DONE when the stream has ended. What is left of the input then belongs to whatever follows the stream; a
    /// further call uses none of it. OUTPUT_FULL when no room is left, even where the input has just been used up.
    /// NEED_INPUT when the input is used up and room is left. FAILED when the data are corrupt, or when nothing can be
    /// done although there are both input and room.
    [[nodiscard]] int Process() override;

protected:
    ZLib();

    z_stream_s* m_stream; ///< null when the host had no memory
    std::uint32_t m_outputSize = 0;

private:
    friend struct Private::Layout<ZLib>;

    int CallProcess() override = 0;

    static void* Z4_CDECL Alloc(void* opaque, unsigned items, unsigned size);
    static void Z4_CDECL Free(void* opaque, void* pointer);
};

/// Compresses, for one thread at a time. Takes about 260 KiB from the host.
class Z4_API ZLibDeflate : public ZLib {
public:
    /// Calls Flush() once. Where one has returned DONE before, that does nothing. Otherwise it can read the input that
    /// was fed last and write to the last output buffer, so both must still be valid; where they are freed before, feed
    /// null ones first. Nobody learns how many bytes it wrote.
    ~ZLibDeflate() override;

    /// @param level CMP_FAST is zlib's level 1, CMP_BEST its level 9, anything else its level 6.
    explicit ZLibDeflate(cmp_level level);

    /// Compresses the rest of the input and ends the stream. From the first call on the object is ending: Process()
    /// does the same as Flush(), and input that is fed after the end is FAILED. Reset() begins a new stream.
    /// @return DONE when the end of the stream stands in the output buffer, and again at each further call.
    /// OUTPUT_FULL when more is to come: take the output, feed another buffer and call again.
    [[nodiscard]] int Flush() override;

    /// Calls Flush() once and begins a new stream. What of the old stream did not fit the output buffer is lost; to
    /// keep it, repeat Flush() until it returns DONE before. Both buffers stay fed: the new stream goes on behind the
    /// old one's output, and begins with what is left of the input.
    /// @return the result of the Flush().
    [[nodiscard]] int Reset() override;

private:
    friend struct Private::Layout<ZLibDeflate>;

    int CallProcess() override;
    void Init(cmp_level level);

    int m_flushMode;
};

/// Expands, for one thread at a time. Takes about 7 KiB from the host, and 32 KiB more for a stream that does not end
/// in the first Process().
///
/// Any input is safe. Corrupt data is FAILED, and so is a stream with a preset dictionary; after that only Reset() and
/// destruction help. A stream that stops short returns NEED_INPUT for ever: that there is no more, only the caller
/// knows.
class Z4_API ZLibInflate : public ZLib {
public:
    ~ZLibInflate() override;

    ZLibInflate();

    /// Begins a new stream, in any state. Both buffers stay fed. @return NO_RESULT.
    int Reset() override;

private:
    int CallProcess() override;
};

} // namespace Z4
