#include <zelk_core/base/private/hashcrcfold.h>

std::uint32_t Z4::Private::CrcPclmul(const unsigned char* buffer, unsigned size, std::uint32_t crc) {
    return FoldShort(buffer, size, crc);
}
