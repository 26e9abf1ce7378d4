#include "examples.h"

//! [example]
void ShowGenerics() {
    const Z4::ZelkString all = "torch, ladder, rope";
    const Z4::ZelkString copy = all; // shares the text, takes no memory

    Z4::Vector<Z4::ZelkString> items = {"torch", "ladder", "rope"};
    items.PushBack("map");
    if (items.WasRefused()) { // the host had no memory: nothing throws
        return;
    }

    Z4::Map<unsigned, Z4::ZelkString> byLength;
    for (const Z4::ZelkString& item : items) {
        byLength.Insert(item.Size(), item); // the first of equal keys stays
    }
    for (const auto& entry : byLength) {
        std::printf("%u %s\n", entry.key, entry.value.CStr()); // 3 map, 4 rope, 5 torch, 6 ladder
    }
}
//! [example]
