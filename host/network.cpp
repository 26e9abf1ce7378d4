#include <winsock2.h> // before windows.h

#include <host/internal.h>

namespace ZelkHost {

namespace {

constinit InitCount g_uses;

int Z4_CDECL Init(unsigned version) {
    int result = CheckVersion("network", version, Z4::EAL_NET_VERSION);
    g_uses.Enter([&] {
        WSADATA data;
        if (WSAStartup(MAKEWORD(2, 2), &data) != 0) {
            result = -1;
        }
    });
    return result;
}

int Z4_CDECL Shutdown() {
    g_uses.Leave([] { WSACleanup(); });
    return 0;
}

} // namespace

const Z4::eal_net_dll_interface& NetworkTable() {
    static constexpr Z4::eal_net_dll_interface TABLE{.init = Init, .shutdown = Shutdown};
    return TABLE;
}

} // namespace ZelkHost
