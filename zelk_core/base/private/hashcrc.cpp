#include <atomic>
#include <cstring>
#include <zelk_core/base/hash.h>
#include <zelk_core/base/log.h>
#include <zelk_core/base/private/hashbytes.h>
#include <zelk_core/base/private/hashcrc.h>
#include <zelk_core/base/private/processorfeatures.h>

namespace Z4 {

namespace Private {

namespace {

constexpr Message<int> UNALIGNED_STRING{
    EAL_LOG_WARNING, "base/hash", 600,
    "[Z4::Hash] EAL_LOG_WARNING: ComputeCRC called with unaligned string buffer. Falling back to byte array of %d "
    "bytes.\n  Please align buffer or use ComputeCRC<>(const U8*, ...) for better performances.\n"};

std::uint32_t CrcChooseAndRun(const unsigned char* buffer, unsigned size, std::uint32_t crc);

/// Threads that meet the first call together all choose alike, so the order of their stores is indifferent.
constinit std::atomic<CrcFunction> g_crc{CrcChooseAndRun};

std::uint32_t CrcChooseAndRun(const unsigned char* buffer, unsigned size, std::uint32_t crc) {
    const CrcFunction choice = ChooseCrc(HasPclmul(), HasVpclmul(), HasFastAvx512());
    g_crc.store(choice, std::memory_order_relaxed);
    return choice(buffer, size, crc);
}

} // namespace

} // namespace Private

std::uint32_t Hash::CRC(const unsigned char* buffer, unsigned size, std::uint32_t crc) {
    return Private::g_crc.load(std::memory_order_relaxed)(buffer, size, crc);
}

std::uint32_t Hash::CRC(const char* string, std::uint32_t crc) {
    const Private::Bytes bytes = Private::BytesOf(string);
    // Most names are short, and what would be called leaves those to this one, too.
    return bytes.size < Private::CRC_FOLD_MIN ? Private::CrcPortable(bytes.data, bytes.size, crc)
                                              : CRC(bytes.data, bytes.size, crc);
}

std::uint32_t Hash::CRC(const wchar_t* string, std::uint32_t crc) {
    const Private::Bytes bytes = Private::BytesOf(string);
    if (reinterpret_cast<std::uintptr_t>(string) % 4 != 0) {
        Private::Log(Private::UNALIGNED_STRING, static_cast<int>(bytes.size));
    }
    return CRC(bytes.data, bytes.size, crc);
}

std::uint32_t Hash::CRC(const unsigned char* buffer, unsigned size, const std::uint32_t table[256], std::uint32_t crc) {
    std::uint32_t value = ~crc;
    for (unsigned i = 0; i < size; ++i) {
        value = Private::CrcStepByte(value, buffer[i], table);
    }
    return ~value;
}

void Hash::CreateCrcTable(std::uint32_t polynomial, std::uint32_t table[256]) {
    std::uint32_t reflected = 0;
    for (unsigned bit = 0; bit < 32; ++bit) {
        reflected |= ((polynomial >> bit) & 1) << (31 - bit);
    }
    const Private::CrcTable built(reflected);
    std::memcpy(table, built.entries, sizeof(built.entries));
}

} // namespace Z4
