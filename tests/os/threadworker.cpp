#include "threadworker.h"

namespace ZelkTest {

namespace {

Gate g_start;
std::atomic<bool> g_holdsStarts = false;
std::atomic<bool> g_isHeld = false;

// The loader calls this on each new thread before anything else runs there.
void NTAPI HoldNewThread(void*, DWORD reason, void*) {
    if (reason == DLL_THREAD_ATTACH && g_holdsStarts.exchange(false)) {
        g_isHeld = true;
        g_start.Wait();
    }
}

} // namespace

void HoldStarts() {
    g_start.Close();
    g_isHeld = false;
    g_holdsStarts = true;
}

void AwaitHeldStart() {
    Await([] { return g_isHeld.load(); });
}

void ReleaseStarts() {
    g_holdsStarts = false;
    g_start.Open();
}

} // namespace ZelkTest

extern "C" {
__attribute__((section(".CRT$XLM"), used)) PIMAGE_TLS_CALLBACK g_holdNewThread = ZelkTest::HoldNewThread;
}
