#include "check.h"

#include <cstring>
#include <zelk_core/zelk_core.h>

namespace {

constexpr char TEXT[] = "one text, there and back";

void CheckStream() {
    Z4::TcpSocket listener;
    CHECK(listener.Bind("127.0.0.1", 0) && listener.Listen(1));
    Z4::TcpSocket socket("127.0.0.1", listener.GetPortNumber());
    Z4::StreamSocket<Z4::TcpSocket> accepted;
    CHECK(listener.Accept(accepted));
    CHECK(accepted.Send(TEXT, sizeof TEXT) == sizeof TEXT);

    Z4::BerkeleySocketGroup readable;
    socket.AddToSet(readable);
    unsigned long error = 0;
    CHECK(Z4::BerkeleySocketGroup::Wait(&readable, nullptr, nullptr, 10'000, error) == 1 && socket.IsInSet(readable));
    char text[64] = {};
    CHECK(socket.Receive(text, sizeof text) > 0 && std::strncmp(text, TEXT, 8) == 0);
}

} // namespace

void CheckNetwork() {
    CheckStream();
    Z4::HostInfo local("localhost");
    CHECK(std::strcmp(local.GetAddress(), "127.0.0.1") == 0 && local.GetStatus() == Z4::ERR_OK);
    const Z4::NICInfo adapters;
    CHECK(adapters.GetCount() != 0 && adapters.begin()->GetIPAddressCount() <= 64);
}
