// The program: it brings the host, loads the module and deletes what the module made.
#include "module.h"

#include <cstdio>
#include <host/zelkhost.h>
#include <windows.h>
#include <zelk_core/zelk_core.h>

int main() {
    ZelkHost::Install();
    Z4::InitializeOS();
    bool isGood = false;
    {
        const Z4::DllWrapper module("module.dll");
        if (module.IsDLLLoaded()) {
            const auto open = reinterpret_cast<OpenGuestbookFunction*>(
                GetProcAddress(static_cast<HMODULE>(module.GetDLLHandle()), "OpenGuestbook"));
            Guestbook* const book = open();
            book->Sign("123");
            const int count = book->Sign("456789");
            isGood = count == 2 && book->CheckSum() == 0xCBF43926;
            std::printf("%d names, CRC-32 %08lX\n", count, book->CheckSum());
            delete book; // before the module goes, which has its destructor
        }
    }
    Z4::ShutdownOS();
    return isGood && ZelkHost::ReportLeaks() == 0 ? 0 : 1;
}
