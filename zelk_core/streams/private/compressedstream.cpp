#include <zelk_core/services/compression/zlib.h>
#include <zelk_core/streams/compressedstream.h>
#include <zlib.h>

namespace Z4 {

/// Tells apart what Process() calls by one name.
class InflateStream::Expander final : public ZLibInflate {
public:
    Error GetFailure() {
        const int result = m_stream != nullptr ? inflate(m_stream, Z_NO_FLUSH) : Z_MEM_ERROR;
        return result == Z_MEM_ERROR || result == Z_STREAM_ERROR ? ERR_OUT_OF_MEMORY : ERR_CORRUPTED_DATA;
    }
};

InflateStream::InflateStream(Stream& from, std::uint64_t limit)
    : BufferedStream(CAN_READ, 32768), m_left(limit), m_from(&from), m_expander(new Expander) {}

InflateStream::~InflateStream() {
    delete m_expander;
}

Error InflateStream::ReadDevice(void* buffer, std::uint32_t size, std::uint64_t, std::uint32_t& done) {
    done = 0;
    if (m_isDone) {
        return ERR_OK;
    }
    if (m_expander == nullptr) {
        return ERR_OUT_OF_MEMORY;
    }
    const std::uint32_t wanted = size < m_left ? size : static_cast<std::uint32_t>(m_left);
    if (wanted != 0) {
        const Error error = Expand(buffer, wanted, done);
        m_left -= done;
        return error;
    }
    // At the limit the data must end: one byte more is too many.
    unsigned char more;
    const Error error = Expand(&more, 1, done);
    const bool isTooLong = done != 0;
    done = 0;
    return isTooLong ? ERR_OVERFLOW : error;
}

/// Until the room is used up or the data end.
Error InflateStream::Expand(void* buffer, std::uint32_t size, std::uint32_t& done) {
    m_expander->FeedOutputBuffer(buffer, size);
    for (;;) {
        std::uint32_t ready = 0;
        const void* const input = m_from->Peek(ready);
        m_expander->FeedInputBuffer(input, ready);
        const int result = m_expander->Process();
        m_from->Skip(ready - m_expander->GetAvailableInputSize());
        done = m_expander->GetOutputDataSize();
        if (result == CompressionInterface::DONE) {
            m_isDone = true;
            return ERR_OK;
        }
        if (result == CompressionInterface::OUTPUT_FULL) {
            return ERR_OK;
        }
        if (result == CompressionInterface::FAILED) {
            return m_expander->GetFailure();
        }
        if (ready == 0) {
            const Error error = m_from->GetError();
            return error != ERR_OK ? error : ERR_CORRUPTED_DATA;
        }
    }
}

Error InflateStream::WriteDevice(const void*, std::uint32_t, std::uint64_t, std::uint32_t&) {
    return ERR_UNSUPPORTED;
}

Error InflateStream::DeviceLength(std::uint64_t&) {
    return ERR_UNSUPPORTED;
}

/// Compressed bytes stay here until the stream beneath has taken them.
class DeflateStream::Packer final : public HostNew<Packer> {
public:
    explicit Packer(CompressionInterface::cmp_level level) : m_deflate(level) {}
    ~Packer() {
        m_deflate.FeedInputBuffer(nullptr, 0);
        m_deflate.FeedOutputBuffer(nullptr, 0);
    }

    /// @param data null for the end of the data.
    Error Pack(Stream& to, const void* data, std::uint32_t size, std::uint32_t& done) {
        done = 0;
        m_deflate.FeedInputBuffer(data, size);
        for (;;) {
            if (const Error error = PassOn(to); error != ERR_OK) {
                m_deflate.FeedInputBuffer(nullptr, 0);
                return error;
            }
            m_deflate.FeedOutputBuffer(m_output, sizeof(m_output));
            const int result = data != nullptr ? m_deflate.Process() : m_deflate.Flush();
            m_count = m_deflate.GetOutputDataSize();
            done = size - static_cast<std::uint32_t>(m_deflate.GetAvailableInputSize());
            if (result == CompressionInterface::FAILED) {
                return ERR_OUT_OF_MEMORY; // nothing else can fail here
            }
            if (result != CompressionInterface::OUTPUT_FULL) {
                return PassOn(to);
            }
        }
    }

private:
    Error PassOn(Stream& to) {
        if (m_count != m_passed) {
            const std::uint64_t before = to.Tell();
            to.Write(m_output + m_passed, m_count - m_passed);
            m_passed += static_cast<std::uint32_t>(to.Tell() - before);
        }
        if (m_count != m_passed) {
            return to.GetError() != ERR_OK ? to.GetError() : ERR_INVALID;
        }
        m_count = 0;
        m_passed = 0;
        return ERR_OK;
    }

    ZLibDeflate m_deflate;
    std::uint32_t m_count = 0; ///< of bytes in the output
    std::uint32_t m_passed = 0;
    unsigned char m_output[16384];
};

DeflateStream::DeflateStream(Stream& to, CompressionInterface::cmp_level level)
    : BufferedStream(CAN_WRITE, 16384), m_to(&to), m_packer(new Packer(level)) {}

DeflateStream::~DeflateStream() {
    CloseAtEnd();
    delete m_packer;
}

Error DeflateStream::ReadDevice(void*, std::uint32_t, std::uint64_t, std::uint32_t&) {
    return ERR_UNSUPPORTED;
}

Error DeflateStream::WriteDevice(const void* data, std::uint32_t size, std::uint64_t, std::uint32_t& done) {
    return m_packer != nullptr ? m_packer->Pack(*m_to, data, size, done) : ERR_OUT_OF_MEMORY;
}

Error DeflateStream::DeviceLength(std::uint64_t&) {
    return ERR_UNSUPPORTED;
}

Error DeflateStream::SyncDevice() {
    return m_to->Sync() ? ERR_OK : m_to->GetError();
}

Error DeflateStream::CloseDevice() {
    if (m_error != ERR_OK) {
        return ERR_OK; // data without their end show that they are not whole
    }
    std::uint32_t done = 0;
    return m_packer != nullptr ? m_packer->Pack(*m_to, nullptr, 0, done) : ERR_OUT_OF_MEMORY;
}

} // namespace Z4
