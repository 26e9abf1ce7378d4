// Callers may come with a stack aligned to 4 bytes only. This file is compiled to keep it so (its calls do not align),
// and enters each call at all four positions, on a thread of its own.
#include <cstring>
#include <gtest/gtest.h>
#include <tests/support/contract.h>
#include <tests/support/testhost.h>
#include <thread>
#include <zelk_core/zelk_core.h>

using namespace Z4;

namespace {

/// Calls `function` with the stack pointer `offset` bytes below a multiple of 16.
void CallWithStackOffset(void (*function)(), unsigned offset) {
    asm volatile("movl %%esp, %%ebx\n\t"
                 "andl $-16, %%esp\n\t"
                 "subl %[offset], %%esp\n\t"
                 "calll *%[function]\n\t"
                 "movl %%ebx, %%esp"
                 :
                 : [offset] "S"(offset), [function] "D"(function)
                 : "eax", "ebx", "ecx", "edx", "cc", "memory", "xmm0", "xmm1", "xmm2", "xmm3", "xmm4", "xmm5", "xmm6",
                   "xmm7");
}

void UseBase() {
    static unsigned char data[4096];
    std::memset(data, 0x5A, sizeof(data));
    EXPECT_EQ(Hash::CRC(data, sizeof(data)), Hash::CRC(data + 7, sizeof(data) - 7, Hash::CRC(data, 7)));
    EXPECT_NE(Hash::XXH32(data, sizeof(data)), Hash::XXH32(data, 64));
    EXPECT_NE(Hash::XXH64(data, sizeof(data)), Hash::XXH64(data, 64));
    char text[64];
    StrFormat::snprintf(text, sizeof(text), "%f %g %d", 1.5, 2.25, 3);
    EXPECT_STREQ(text, "1.500000 2.25 3");
    wchar_t wide[64];
    EXPECT_EQ(StrFormat::snprintf(wide, 64, L"%f", 1.5), 8);
    Private::Log(EAL_LOG_INFO, "tests", 1, "%d\n", 1);
    EXPECT_FALSE(EalAssertWithMessage(1, "e", "f", 1, nullptr, "%f", 0.5));
    EXPECT_GT(Platform::GetMemoryInfo().totalPhysicalMemory, 0u);
    EXPECT_FALSE(DllWrapper("no_such_module.dll").IsDLLLoaded());
}

template <class Cipher>
void UseCipher() {
    static char data[200];
    Cipher cipher;
    EXPECT_EQ(cipher.Encode(data, data, sizeof(data)), sizeof(data));
    EXPECT_EQ(cipher.Decode(data, data, sizeof(data)), sizeof(data));
}
void UseServices() {
    UseCipher<XTea>();
    UseCipher<Tea>();
    ZigRandomGenerator generator(1);
    float sum = 0;
    for (int i = 0; i < 1000; ++i) {
        sum += generator.RNOR(0, 1) + generator.REXP();
    }
    EXPECT_GT(sum, 0);
}

} // namespace

TEST(Stack, FourByteAlignmentIsEnoughForEveryCall) {
    const ZelkTest::LogCapture capture;
    const ZelkTest::ExpectContract reports(4); // UseBase's, one for each offset
    std::thread([] {
        for (unsigned offset = 0; offset < 16; offset += 4) {
            CallWithStackOffset(UseBase, offset);
            CallWithStackOffset(UseServices, offset);
        }
    }).join();
    EXPECT_EQ(capture.Lines().size(), 8u);
}
