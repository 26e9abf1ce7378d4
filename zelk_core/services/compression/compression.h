/// @file
/// One interface for all compression of bytes: the caller feeds an input and an output buffer and says when to work.
/// An object only points into the buffers; it writes no header, length or framing beyond its format's own.
#pragma once

#include <zelk_core/base/hostnew.h>

namespace Z4 {

/// A stream goes so: construct; FeedOutputBuffer(); then FeedInputBuffer() and Process() for each piece of input; where
/// that returns OUTPUT_FULL, take the GetOutputDataSize() bytes, feed a new output buffer and call Process() again. A
/// deflating stream ends with Flush(), repeated likewise until it returns DONE. Whole-block formats differ, see Lzo.
///
/// A buffer must live, where it was fed, until it is used up, replaced by feeding another, or the object destroyed.
/// Feeding 0 bytes at null is fine and lets go of the buffer; null with another size is not.
///
/// `new` makes objects in the host's memory, and gives null where the host refuses.
///
/// One object serves one thread at a time; separate objects are independent. Nothing is logged. An object that got
/// no memory, when it was made or later, returns FAILED from Process(), and can be used and destroyed like any other.
class CompressionInterface : public HostNew<CompressionInterface> {
public:
    virtual ~CompressionInterface() = default;

    /// Replaces what is left of the input by `size` bytes at `data`.
    virtual void FeedInputBuffer(const void* data, unsigned long size) = 0;
    /// Replaces what is left of the output buffer by room for `size` bytes at `data`.
    virtual void FeedOutputBuffer(void* data, unsigned long size) = 0;
    /// Bytes of input not yet used.
    virtual unsigned long GetAvailableInputSize() const = 0;
    /// Bytes of room left.
    virtual unsigned long GetAvailableOutputSize() const = 0;
    /// Bytes produced: into the output buffer last fed (ZLib), by the last Process() (Lzo).
    virtual unsigned long GetOutputDataSize() const = 0;

    /// Works as far as input and room reach.
    /// @return one of the results below, NO_RESULT excepted.
    [[nodiscard]] virtual int Process() = 0;
    /// Ends what was begun, where the class has such an end.
    [[nodiscard]] virtual int Flush() { return NO_RESULT; }
    /// Makes the object ready for another stream, where the class can.
    virtual int Reset() { return NO_RESULT; }

    /// @name What Process(), Flush() and Reset() return
    /// @{
    static constexpr int DONE = 0;        ///< the stream has ended (ZLib), the whole input is processed (Lzo)
    static constexpr int NEED_INPUT = 1;  ///< the input is used up, and there is room left
    static constexpr int OUTPUT_FULL = 2; ///< feed another output buffer and call again
    static constexpr int FAILED = -1;     ///< corrupt data, input that nothing can be done with, or no memory
    static constexpr int NO_RESULT = -2;  ///< this class has no result for this operation
    /// @}

    /// What a deflating object aims at. Values without a name count as CMP_DEFAULT.
    enum cmp_level : int {
        CMP_DEFAULT = 0,
        CMP_FAST = 1,
        CMP_BEST = 2,
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
