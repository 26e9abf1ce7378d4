#include "check.h"

#include <cstring>
#include <zelk_core/zelk_core.h>

namespace {

constexpr char TEXT[] = "one text, there and back";

class Echo : public Z4::Thread {
public:
    explicit Echo(Z4::TcpSocket& listener) : m_listener(listener) {}

    void Run() override {
        Z4::StreamSocket<Z4::TcpSocket> client;
        char text[64];
        if (m_listener.Accept(client)) {
            for (long size = 0; (size = client.Receive(text, sizeof text)) > 0;) {
                CHECK(client.Send(text, static_cast<unsigned long>(size)) == size);
            }
        }
    }

private:
    Z4::TcpSocket& m_listener;
};

void CheckStream() {
    Z4::TcpSocket listener;
    CHECK(listener.Bind("127.0.0.1", 0) && listener.Listen(1));
    Echo echo(listener);
    CHECK(echo.CreateThread() == Z4::ERR_OK);
    Z4::TcpSocket socket("127.0.0.1", listener.GetPortNumber());
    CHECK(socket.Send(TEXT, sizeof TEXT) == sizeof TEXT);

    Z4::BerkeleySocketGroup readable;
    socket.AddToSet(readable);
    unsigned long error = 0;
    CHECK(Z4::BerkeleySocketGroup::Wait(&readable, nullptr, nullptr, 10'000, error) == 1 && socket.IsInSet(readable));
    char text[64] = {};
    CHECK(socket.Receive(text, sizeof text) > 0 && std::strncmp(text, TEXT, 8) == 0);
    socket.Close();
    CHECK(echo.JoinThread() == Z4::ERR_OK);
}

} // namespace

void CheckNetwork() {
    CheckStream();
    Z4::HostInfo local("localhost");
    CHECK(std::strcmp(local.GetAddress(), "127.0.0.1") == 0 && local.GetStatus() == Z4::ERR_OK);
    const Z4::NICInfo adapters;
    CHECK(adapters.GetCount() != 0 && adapters.begin()->GetIPAddressCount() <= 64);
}
