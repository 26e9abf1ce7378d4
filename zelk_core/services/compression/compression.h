/// @file
/// One interface for all compression of bytes: the caller feeds an input and an output buffer and says when to work.
/// An object only points into the buffers; it writes no header, length or framing beyond its format's own.
///
/// zlib.h has streams, which are worked on piece by piece; lzo.h has blocks, which are worked on as a whole; that
/// header tells what is different for them. A stream is expanded like this, with `NEED_INPUT` and the like from
/// CompressionInterface:
///
///     ZLibInflate inflate;
///     char out[4096];
///     inflate.FeedOutputBuffer(out, sizeof out);
///     int result = NEED_INPUT;
///     while (result == NEED_INPUT && Read(piece)) {
///         inflate.FeedInputBuffer(piece.data(), piece.size());
///         do {
///             result = inflate.Process();
///             Use(out, inflate.GetOutputDataSize());
///             inflate.FeedOutputBuffer(out, sizeof out);
///         } while (result == OUTPUT_FULL);
///     }
///     // DONE: the stream was whole. NEED_INPUT: it was cut short. FAILED: it was damaged.
///
/// Compressing goes the same way with a ZLibDeflate. Its Process() does not return DONE; behind the last piece the
/// inner loop runs once more, with Flush() in the place of Process().
#pragma once

#include <zelk_core/base/hostnew.h>

namespace Z4 {

/// What all compressing and expanding objects can do.
///
/// A buffer that was fed must stay valid until it is used up, until another is fed in its place, or until the object is
/// destroyed, whichever comes first. Feeding null with a size of 0 lets go of a buffer; null with another size is an
/// error of the caller, which a library built with its checks reports.
///
/// One object serves one thread at a time; separate objects are independent. `new` makes objects in the host's memory
/// and gives null where the host refuses. An object whose own memory the host refused, at its construction or later,
/// returns FAILED from Process() and can be used and destroyed like any other. Nothing is logged.
class CompressionInterface : public HostNew<CompressionInterface> {
public:
    virtual ~CompressionInterface() = default;

    /// Makes the `size` bytes at `data` the input. What was left of the input before is dropped.
    virtual void FeedInputBuffer(const void* data, unsigned long size) = 0;
    /// Makes the `size` bytes at `data` the room for output. What was left of the room before stays unused.
    virtual void FeedOutputBuffer(void* data, unsigned long size) = 0;
    /// Bytes of the input that are not yet used.
    virtual unsigned long GetAvailableInputSize() const = 0;
    /// Bytes of the output buffer that are still free.
    virtual unsigned long GetAvailableOutputSize() const = 0;
    /// Bytes produced. A ZLib object counts all that stand in the output buffer that was fed last, an Lzo object those
    /// of the last Process().
    virtual unsigned long GetOutputDataSize() const = 0;

    /// Works as far as input and room reach.
    /// @return DONE, NEED_INPUT, OUTPUT_FULL or FAILED.
    [[nodiscard]] virtual int Process() = 0;
    /// Ends what was begun, in those classes that say so; the others do nothing and return NO_RESULT.
    [[nodiscard]] virtual int Flush() { return NO_RESULT; }
    /// Makes the object ready for another stream, in those classes that say so; the others do nothing and return
    /// NO_RESULT.
    virtual int Reset() { return NO_RESULT; }

    /// @name What Process(), Flush() and Reset() return
    /// @{
    static constexpr int DONE = 0;        ///< the stream has ended (ZLib), the whole input is processed (Lzo)
    static constexpr int NEED_INPUT = 1;  ///< the input is used up, and there is room left
    static constexpr int OUTPUT_FULL = 2; ///< feed another output buffer and call again
    static constexpr int FAILED = -1;     ///< corrupt data, input that nothing can be done with, or no memory
    static constexpr int NO_RESULT = -2;  ///< this class has no result for this operation
    /// @}

    /// What a deflating object aims at. Any other value counts as CMP_DEFAULT.
    enum cmp_level : int {
        CMP_DEFAULT = 0, ///< between the other two; for Lzo the same as CMP_FAST
        CMP_FAST = 1,    ///< short time
        CMP_BEST = 2,    ///< small output
    };

    CompressionInterface(const CompressionInterface&) = delete;
    CompressionInterface& operator=(const CompressionInterface&) = delete;

protected:
    CompressionInterface() = default;

private:
    /// The one call into the compression library, made by Process() only. @return that library's own result.
    virtual int CallProcess() = 0;
};

} // namespace Z4
