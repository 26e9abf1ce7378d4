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
///
/// LZO is under the GPL, and a library can be built without it (`-DZELK_CORE_LZO=OFF`). Its classes are all there then,
/// but every Process() is FAILED and takes and produces nothing. Lzo::IsAvailable() tells at run time, and the
/// installed packages say it, too: `zelk_core_LZO` in CMake, and the variable `lzo` in pkg-config.
#pragma once

#include <zelk_core/base/api.h>
#include <zelk_core/base/layout.h>
#include <zelk_core/services/compression/compression.h>

namespace Z4 {

/// The base of LzoDeflate and LzoInflate: one thread at a time, as every CompressionInterface. A block does not say how
/// long it or its content is: the caller keeps both sizes.
class Z4_API Lzo : public CompressionInterface {
public:
    /// What the object knows of its buffers.
    struct LzoObj {
        unsigned long outputDataSize = 0; ///< bytes produced by the last Process()
        unsigned long inputSize = 0;
        unsigned long outputSize = 0; ///< bytes of room left
        const void* input = nullptr;
        void* output = nullptr;
    };

    ~Lzo() override;

    /// Whether the library was built with LZO. Where it was not, every Process() of the derived classes is FAILED. Any
    /// thread, also before start-up.
    static bool IsAvailable();

    /// The room in bytes that LzoDeflate needs for `size` bytes of input, whatever they are: size + size / 16 + 67.
    /// From 4,042,322,098 bytes on the sum passes 32 bits and is useless: it wraps around to less than `size`.
    static constexpr unsigned long GetSafeDeflateBufferSize(unsigned long size) { return size + (size >> 4) + 67; }

    void FeedInputBuffer(const void* data, unsigned long size) override;
    void FeedOutputBuffer(void* data, unsigned long size) override;
    unsigned long GetAvailableInputSize() const override;
    unsigned long GetAvailableOutputSize() const override;
    unsigned long GetOutputDataSize() const override;

    /// Processes the whole input.
    /// @return DONE, with all input taken and the room reduced by what was produced. Bytes behind the end of a block
    /// that is expanded count as taken and are ignored. The place in the output buffer does not move on, so feed both
    /// buffers before the next call. OUTPUT_FULL when a checked expansion lacks room: repeat it from the block's start
    /// in a larger buffer. FAILED when the block is corrupt, the host refused the work memory, or the library was built
    /// without LZO. After these two the sizes are as before the call, and the output buffer can hold a part of the
    /// content. Never NEED_INPUT.
    [[nodiscard]] int Process() override;

protected:
    Lzo();

    LzoObj m_obj;

private:
    friend struct Private::Layout<Lzo>;

    int CallProcess() override = 0;
};

/// Compresses, for one thread at a time, by LZO1X-1 or, for CMP_BEST, by the slow LZO1X-999, with 64 or 448 KiB of work
/// memory from the host. Neither checks the room: **the output buffer must have GetSafeDeflateBufferSize() of the input
/// size**, or memory behind it is overwritten. A library that is built with its checks reports a shorter one first.
class Z4_API LzoDeflate : public Lzo {
public:
    ~LzoDeflate() override;

    explicit LzoDeflate(cmp_level level);

private:
    friend struct Private::Layout<LzoDeflate>;

    int CallProcess() override;

    void* m_workMemory; ///< null when the host had none: every Process() is FAILED then
    cmp_level m_level;
};

/// Expands, for one thread at a time. Takes no memory.
class Z4_API LzoInflate : public Lzo {
public:
    ~LzoInflate() override;

    /// @param safe true checks the block and the room, so that any input is safe. A damaged block is then FAILED or
    /// OUTPUT_FULL, or it expands to other data, since the format has no checksum. **False trusts both**: the block is
    /// whole and as LzoDeflate made it, and there is room for all of its content. Anything else reads and writes
    /// outside the buffers.
    explicit LzoInflate(bool safe);

    /// Calls Process() if there are both input and room, drops its result, and lets go of both buffers. Better call
    /// Process() itself, which tells whether it went well. @return NO_RESULT.
    int Flush() override;

private:
    friend struct Private::Layout<LzoInflate>;

    int CallProcess() override;

    bool m_safe;
};

} // namespace Z4
