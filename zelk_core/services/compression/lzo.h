/// @file
/// Blocks in the LZO1X format, by LZO (Oberhumer): each Process() turns a whole input buffer into a whole block or
/// back. Expanding is several times as fast as ZLib's, compressing with CMP_FAST too, and the result is larger.
///
/// LzoDeflate writes past the end of an output buffer that is too short, because LZO does not look at its size. A block
/// is not a stream either: each Process() needs both buffers fed anew. So compress like this:
///
///     std::vector<char> block(Lzo::GetSafeDeflateBufferSize(size));
///     deflate.FeedInputBuffer(data, size);
///     deflate.FeedOutputBuffer(block.data(), block.size());
///     if (deflate.Process() == CompressionInterface::DONE) {
///         block.resize(deflate.GetOutputDataSize()); // Keep `size`, too: expanding asks for that much room.
///     }
///
/// Expand data that comes from elsewhere with LzoInflate(true). LzoInflate(false) believes its input and overwrites
/// memory where that is damaged.
#pragma once

#include <zelk_core/base/api.h>
#include <zelk_core/services/compression/compression.h>

namespace Z4 {

/// What both directions share. A block does not say how long it or its content is: the caller keeps both sizes.
///
/// After a Process() that returned DONE, feed both buffers anew before the next: the output does not move on behind
/// what was produced. After any other result, both are as they were.
class Z4_API Lzo : public CompressionInterface {
public:
    struct LzoObj {
        unsigned long outputDataSize = 0; ///< produced by the last Process()
        unsigned long inputSize = 0;
        unsigned long outputSize = 0; ///< room left
        const void* input = nullptr;
        void* output = nullptr;
    };

    ~Lzo() override;

    /// The room that LzoDeflate needs for `size` bytes of input, whatever they are: size + size / 16 + 67. It is below
    /// `size` where the sum passes 32 bits.
    static constexpr unsigned long GetSafeDeflateBufferSize(unsigned long size) { return size + (size >> 4) + 67; }

    void FeedInputBuffer(const void* data, unsigned long size) override;
    void FeedOutputBuffer(void* data, unsigned long size) override;
    unsigned long GetAvailableInputSize() const override;
    unsigned long GetAvailableOutputSize() const override;
    unsigned long GetOutputDataSize() const override;

    /// Returns DONE, with all input taken and the room reduced by what was produced; OUTPUT_FULL where a checked
    /// expansion lacks room, to be repeated from the block's start in a larger buffer; or FAILED. Never NEED_INPUT.
    [[nodiscard]] int Process() override;

protected:
    Lzo();

    LzoObj m_obj;

private:
    int CallProcess() override = 0;
};

/// Compresses by LZO1X-1 or, for CMP_BEST, by the slow LZO1X-999, with 64 or 448 KiB of work memory from the host.
/// Neither checks the room: **the output buffer must have GetSafeDeflateBufferSize() of the input size**, or memory
/// behind it is overwritten. A library that is built with its checks reports a shorter one first.
class Z4_API LzoDeflate : public Lzo {
public:
    ~LzoDeflate() override;

    explicit LzoDeflate(cmp_level level);

private:
    int CallProcess() override;

    void* m_workMemory; ///< null when the host had none: every Process() is FAILED then
    cmp_level m_level;
};

/// Expands. Takes no memory.
class Z4_API LzoInflate : public Lzo {
public:
    ~LzoInflate() override;

    /// @param safe true checks the block and the room, so that any input is safe: corrupt data is FAILED, or turns into
    /// other data, since the format has no checksum. **False trusts both**: what LzoDeflate made, whole, with room for
    /// all of its content; anything else reads and writes outside the buffers.
    explicit LzoInflate(bool safe);

    /// Expands what was fed and not yet processed, if there are both input and room, and lets go of both buffers.
    /// Whether it went well is not told: better call Process(). @return NO_RESULT.
    int Flush() override;

private:
    int CallProcess() override;

    bool m_safe;
};

} // namespace Z4
