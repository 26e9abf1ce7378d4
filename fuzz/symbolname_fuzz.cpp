// Decorated names that are not. The short form must come back, keep to its room and be the same in every room.
#include "body.h"
#include "hostmemory.h"

#include <cstring>
#include <vector>
#include <zelk_core/services/dbghelp/private/symbolname.h>

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const Z4::StrView name(reinterpret_cast<const char*>(data), size);
    const std::size_t length = Z4::Private::ShortenName(name, nullptr, 0);
    // A constructor repeats the name of its class.
    Require(length <= (size + 32) * (size + 32));
    std::vector<char> whole(length + 1);
    Require(Z4::Private::ShortenName(name, whole.data(), whole.size()) == length && whole[length] == '\0');
    std::vector<char> half(length / 2 + 1);
    Require(Z4::Private::ShortenName(name, half.data(), half.size()) == length);
    Require(std::memcmp(half.data(), whole.data(), length / 2) == 0 && half[length / 2] == '\0');
    return 0;
}
