#include "examples.h"

//! [example]
void ShowEncryption() {
    const char text[] = "high score: 4711"; // 17 bytes with the terminator
    char hidden[24];                        // filled up to a multiple of 8
    char back[24];

    Z4::XTea cipher;
    if (!cipher.SetKey("sixteen letters!")) { // any other length is refused
        return;
    }
    const unsigned long size = cipher.Encode(text, hidden, sizeof text);
    cipher.Decode(hidden, back, size);
    std::printf("%lu bytes, %s\n", size, back); // 24 bytes, high score: 4711
}
//! [example]
