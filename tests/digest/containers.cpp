#include "digest.h"

#include <zelk_core/generics/map.h>
#include <zelk_core/generics/string.h>
#include <zelk_core/generics/vector.h>

namespace {

/// What a vector and a map hold, and how the vector has grown, after many changes.
void AddContainers(Digest& digest, Input& input) {
    Z4::Vector<Z4::ZelkString> vector;
    Z4::Map<std::uint32_t, std::uint32_t> map;
    for (int step = 0; step < 3000; ++step) {
        char text[40];
        const std::uint32_t size = input.Below(sizeof text);
        input.FillText(text, size);
        vector.Insert(vector.begin() + input.Below(vector.Size() + 1), Z4::ZelkString(text, size));
        if (input.OnceIn(8)) {
            vector.Erase(vector.begin() + input.Below(vector.Size()), vector.end());
        }
        digest.Add(vector.Size(), vector.Capacity());
        const std::uint32_t key = input.Below(300);
        digest.Add(input.OnceIn(3) ? map.Erase(key) : map.Insert(key, input.Bits()).inserted);
    }
    for (const Z4::ZelkString& text : vector) {
        digest.Add(text.CStr(), text.Size());
    }
    for (const auto& entry : map) {
        digest.Add(entry.key, entry.value);
    }
}

constexpr Room CONTAINERS[] = {{"containers", AddContainers}};

} // namespace

std::span<const Room> ContainerRooms() {
    return CONTAINERS;
}
