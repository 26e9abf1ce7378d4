#include "digest.h"

#include <zelk_core/generics/fixedvector.h>
#include <zelk_core/generics/map.h>
#include <zelk_core/generics/string.h>
#include <zelk_core/generics/vector.h>

namespace {

std::uint32_t MakeElement(Input& input, const std::uint32_t*) {
    return input.Bits();
}
Z4::ZelkString MakeElement(Input& input, const Z4::ZelkString*) {
    char text[40];
    const std::uint32_t size = input.Below(sizeof text);
    input.FillText(text, size);
    return Z4::ZelkString(text, size);
}

void AddElement(Digest& digest, std::uint32_t element) {
    digest.Add(element);
}
void AddElement(Digest& digest, const Z4::ZelkString& element) {
    digest.Add(element.Size());
    digest.Add(element.CStr(), element.Size());
}

template <class T>
void ChangeOnce(Z4::Vector<T>& vector, Input& input) {
    T* const position = vector.begin() + input.Below(vector.Size() + 1);
    const T element = MakeElement(input, static_cast<const T*>(nullptr));
    switch (input.Below(8)) {
    case 0:
        vector.Insert(position, element);
        break;
    case 1:
        vector.Insert(position, input.Below(5), element);
        break;
    case 2:
        vector.Erase(position, position + input.Below(static_cast<std::uint32_t>(vector.end() - position) + 1) % 9);
        break;
    case 3:
        vector.Resize(input.Below(2 * vector.Size() + 2) % 200);
        break;
    case 4:
        vector.Append(vector.begin(), vector.Size() % 7);
        break;
    case 5:
        vector = Z4::Vector<T>(vector);
        break;
    default:
        vector.PushBack(element);
    }
}

/// What a vector holds and how it has grown, after each of many changes.
template <class T>
void AddVectorTrace(Digest& digest) {
    Input input;
    Z4::Vector<T> vector;
    for (int step = 0; step < 1000; ++step) {
        ChangeOnce(vector, input);
        digest.Add(vector.Size(), vector.Capacity());
        for (const T& element : vector) {
            AddElement(digest, element);
        }
    }
}

void AddMapTrace(Digest& digest) {
    Input input;
    Z4::Map<std::uint32_t, std::uint32_t> map;
    for (int step = 0; step < 1000; ++step) {
        const std::uint32_t key = input.Below(300);
        if (input.Below(3) == 0) {
            digest.Add(map.Erase(key));
        } else {
            digest.Add(map.Insert(key, input.Bits()).inserted);
        }
    }
    for (const auto& entry : map) {
        digest.Add(entry.key, entry.value);
    }
}

} // namespace

void DigestContainers(Digest& digest) {
    AddVectorTrace<std::uint32_t>(digest);
    AddVectorTrace<Z4::ZelkString>(digest);
    AddMapTrace(digest);
}
