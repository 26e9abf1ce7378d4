#include <bit>
#include <zelk_core/base/hash.h>
#include <zelk_core/base/private/hashbytes.h>

namespace Z4 {

using Private::Bytes;
using Private::BytesOf;
using Private::Load16;
using Private::Load32;
using Private::Load64;

namespace {

template <class Value>
Value Fnv1a(const unsigned char* buffer, unsigned size, Value offsetBasis, Value prime) {
    Value hash = offsetBasis;
    for (unsigned i = 0; i < size; ++i) {
        hash = (hash ^ buffer[i]) * prime;
    }
    return hash;
}

struct Lookup2 {
    std::uint32_t a = 0x9E3779B9;
    std::uint32_t b = 0x9E3779B9;
    std::uint32_t c = 0;

    void Mix() {
        a = (a - b - c) ^ (c >> 13);
        b = (b - c - a) ^ (a << 8);
        c = (c - a - b) ^ (b >> 13);
        a = (a - b - c) ^ (c >> 12);
        b = (b - c - a) ^ (a << 16);
        c = (c - a - b) ^ (b >> 5);
        a = (a - b - c) ^ (c >> 3);
        b = (b - c - a) ^ (a << 10);
        c = (c - a - b) ^ (b >> 15);
    }
};

} // namespace

std::uint32_t Hash::FNV32(const unsigned char* buffer, unsigned size) {
    return Fnv1a<std::uint32_t>(buffer, size, 0x811C9DC5, 16777619);
}

std::uint64_t Hash::FNV32(const char* string) {
    const Bytes bytes = BytesOf(string);
    return std::uint64_t{bytes.size} << 32 | FNV32(bytes.data, bytes.size);
}

std::uint32_t Hash::FNV32(const wchar_t* string) {
    const Bytes bytes = BytesOf(string);
    return FNV32(bytes.data, bytes.size);
}

std::uint64_t Hash::FNV64(const unsigned char* buffer, unsigned size) {
    return Fnv1a<std::uint64_t>(buffer, size, 0xCBF29CE484222325, 0x100000001B3);
}

std::uint64_t Hash::FNV64(const char* string) {
    const Bytes bytes = BytesOf(string);
    return FNV64(bytes.data, bytes.size);
}

std::uint64_t Hash::FNV64(const wchar_t* string) {
    const Bytes bytes = BytesOf(string);
    return FNV64(bytes.data, bytes.size);
}

std::uint32_t Hash::Knuth(const unsigned char* buffer, unsigned size, std::uint32_t seed) {
    const auto fourSteps = [](std::uint32_t hash, std::uint32_t word) {
        return std::rotl(hash, 16) ^ (word & 0xFF) << 12 ^ (word & 0xFF00) ^ (word >> 12 & 0xFF0) ^ word >> 24;
    };
    std::uint32_t hash = seed;
    const unsigned char* p = buffer;
    unsigned left = size;
    if (left >= 8) {
        // Eight steps rotate by a whole turn: each eight bytes are xored in as if no others were there, so all of them
        // can be xored first.
        std::uint64_t sum = 0;
        for (; left >= 8; left -= 8, p += 8) {
            sum ^= Load64(p);
        }
        hash = fourSteps(fourSteps(hash, static_cast<std::uint32_t>(sum)), static_cast<std::uint32_t>(sum >> 32));
    }
    if (left >= 4) {
        hash = fourSteps(hash, Load32(p));
        left -= 4;
        p += 4;
    }
    for (; left != 0; --left, ++p) {
        hash = std::rotl(hash, 4) ^ *p;
    }
    return hash;
}

std::uint32_t Hash::Knuth(const char* string, std::uint32_t seed) {
    const Bytes bytes = BytesOf(string);
    return Knuth(bytes.data, bytes.size, seed);
}

std::uint32_t Hash::Knuth(const wchar_t* string, std::uint32_t seed) {
    const Bytes bytes = BytesOf(string);
    return Knuth(bytes.data, bytes.size, seed);
}

std::uint32_t Hash::Dobbs(const unsigned char* buffer, unsigned size) {
    Lookup2 state;
    const unsigned char* p = buffer;
    unsigned left = size;
    for (; left >= 12; left -= 12, p += 12) {
        state.a += Load32(p);
        state.b += Load32(p + 4);
        state.c += Load32(p + 8);
        state.Mix();
    }
    // The tail counts as a block filled up with zeros, whose last word gives its low byte to the length.
    unsigned char tail[12] = {};
    for (unsigned i = 0; i < left; ++i) {
        tail[i] = p[i];
    }
    state.a += Load32(tail);
    state.b += Load32(tail + 4);
    state.c += size + (Load32(tail + 8) << 8);
    state.Mix();
    return state.c;
}

std::uint32_t Hash::Dobbs(const char* string) {
    const Bytes bytes = BytesOf(string);
    return Dobbs(bytes.data, bytes.size);
}

std::uint32_t Hash::Dobbs(const wchar_t* string) {
    const Bytes bytes = BytesOf(string);
    return Dobbs(bytes.data, bytes.size);
}

std::uint32_t Hash::Fast(const unsigned char* buffer, unsigned size) {
    std::uint32_t hash = size;
    const unsigned char* p = buffer;
    for (unsigned groups = size / 4; groups != 0; --groups, p += 4) {
        hash += Load16(p);
        hash = (hash << 16) ^ (Load16(p + 2) << 11) ^ hash;
        hash += hash >> 11;
    }
    switch (size % 4) {
    case 3:
        hash += Load16(p);
        hash ^= hash << 16;
        hash ^= std::uint32_t{p[2]} << 18;
        hash += hash >> 11;
        break;
    case 2:
        hash += Load16(p);
        hash ^= hash << 11;
        hash += hash >> 17;
        break;
    case 1:
        hash += *p;
        hash ^= hash << 10;
        hash += hash >> 1;
        break;
    default:
        break;
    }
    hash ^= hash << 3;
    hash += hash >> 5;
    hash ^= hash << 2;
    hash += hash >> 15;
    hash ^= hash << 10;
    return hash;
}

std::uint32_t Hash::Fast(const char* string) {
    const Bytes bytes = BytesOf(string);
    return Fast(bytes.data, bytes.size);
}

std::uint32_t Hash::Fast(const wchar_t* string) {
    const Bytes bytes = BytesOf(string);
    return Fast(bytes.data, bytes.size);
}

} // namespace Z4
