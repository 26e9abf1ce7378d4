#include <zelk_core/services/encryption/private/blocks.h>

namespace Z4::Private {

namespace {

std::uint32_t TeaMix(std::uint32_t other, std::uint32_t sum, const std::uint32_t* keyPair) {
    return ((other << 4) + keyPair[0]) ^ (other + sum) ^ ((other >> 5) + keyPair[1]);
}

std::uint32_t XTeaMix(std::uint32_t other, std::uint32_t sumAndKey) {
    return (((other << 4) ^ (other >> 5)) + other) ^ sumAndKey;
}

} // namespace

CipherBlock TeaEncodeBlock(CipherBlock block, const std::uint32_t* key) {
    std::uint32_t sum = 0;
    for (unsigned cycle = 0; cycle < CIPHER_CYCLES; ++cycle) {
        sum += CIPHER_DELTA;
        block.y += TeaMix(block.z, sum, key);
        block.z += TeaMix(block.y, sum, key + 2);
    }
    return block;
}

CipherBlock TeaDecodeBlock(CipherBlock block, const std::uint32_t* key) {
    std::uint32_t sum = CIPHER_LAST_SUM;
    for (unsigned cycle = 0; cycle < CIPHER_CYCLES; ++cycle) {
        block.z -= TeaMix(block.y, sum, key + 2);
        block.y -= TeaMix(block.z, sum, key);
        sum -= CIPHER_DELTA;
    }
    return block;
}

CipherBlock XTeaEncodeBlock(CipherBlock block, const std::uint32_t* key) {
    std::uint32_t sum = 0;
    for (unsigned cycle = 0; cycle < CIPHER_CYCLES; ++cycle) {
        block.y += XTeaMix(block.z, sum + key[sum & 3]);
        sum += CIPHER_DELTA;
        block.z += XTeaMix(block.y, sum + key[(sum >> 11) & 3]);
    }
    return block;
}

CipherBlock XTeaDecodeBlock(CipherBlock block, const std::uint32_t* key) {
    std::uint32_t sum = CIPHER_LAST_SUM;
    for (unsigned cycle = 0; cycle < CIPHER_CYCLES; ++cycle) {
        block.z -= XTeaMix(block.y, sum + key[(sum >> 11) & 3]);
        sum -= CIPHER_DELTA;
        block.y -= XTeaMix(block.z, sum + key[sum & 3]);
    }
    return block;
}

} // namespace Z4::Private
