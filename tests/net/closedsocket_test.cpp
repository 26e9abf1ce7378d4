// A call that the system refuses: one that answers success, the wrong error, or something in its outputs.
#include "rawsocket.h"

#include <functional>
#include <optional>
#include <tests/support/importhook.h>
#include <zelk_core/net/udpsocket.h>

namespace {

using namespace Z4;
using Sockets = BerkeleySocket;

using RefusedCalls = ZelkTest::NetworkTest;

TEST_F(RefusedCalls, SayWhyAndStoreNothing) {
    constexpr long CLOSED = -1;
    long handle = CLOSED;
    unsigned long error = ERR_OK;
    EXPECT_FALSE(Sockets::Close(handle, error)); // with the system's own idea of the error
    const TcpSocket socket;
    const long open = socket.GetHandle();
    bool flag = true;
    unsigned long number = 77;
    char byte = 'b';
    SocketAddr peer(INADDR_LOOPBACK, 9);
    SocketAddr bound(INADDR_LOOPBACK, 0);
    const struct {
        std::function<bool()> call;
        const char* failing = nullptr;
        void* failure = nullptr;
    } rows[] = {
        {[&] { return Sockets::SetBlocking(true, CLOSED, error); }},
        {[&] { return Sockets::SetReuseAddr(true, CLOSED, error); }},
        {[&] { return Sockets::SetLingerOnOff(true, CLOSED, error); }},
        {[&] { return Sockets::SetLingerOnOff(true, open, error); }, ZELK_FAILING(setsockopt)},
        {[&] { return Sockets::SetLingerSeconds(5, CLOSED, error); }},
        {[&] { return Sockets::SetLingerSeconds(5, open, error); }, ZELK_FAILING(setsockopt)},
        {[&] { return Sockets::SetSendBufSize(5, CLOSED, error); }},
        {[&] { return Sockets::GetReuseAddr(flag, CLOSED, error); }},
        {[&] { return Sockets::GetNagleOnOff(flag, CLOSED, error); }},
        {[&] { return Sockets::GetLingerOnOff(flag, CLOSED, error); }},
        {[&] { return Sockets::GetSendBufSize(number, CLOSED, error); }},
        {[&] { return Sockets::GetLingerSeconds(number, CLOSED, error); }},
        {[&] { return Sockets::GetPendingDataCount(number, CLOSED, error); }},
        {[&] { return Sockets::Bind(bound, open, error); }, ZELK_FAILING(getsockname)},
        {[&] { return Sockets::Connect(SocketAddr(), bound, open, error); }},
        {[&] { return Sockets::Listen(1, CLOSED, error); }},
        {[&] { return Sockets::Shutdown(Sockets::SHUTDOWN_BOTH, CLOSED, error); }},
        {[&] { return Sockets::Select(nullptr, &flag, nullptr, CLOSED, 0, error) || !std::exchange(flag, true); }},
        {[&] { return Sockets::Accept(peer, CLOSED, error) >= 0; }},
        {[&] { return Sockets::Send(&byte, 0xFFFFFFFF, CLOSED, error) >= 0; }},
        {[&] { return Sockets::Receive(&byte, 1, CLOSED, error) >= 0; }},
        {[&] { return Sockets::ReceiveFrom(peer, &byte, 1, CLOSED, error) >= 0; }},
        {[&] { return Sockets::OpenStream(error) >= 0; }, ZELK_FAILING(socket)},
        {[&] { return Sockets::OpenDatagram(error) >= 0; }, ZELK_FAILING(socket)},
        {[&] { return (error = TcpSocket(0).GetLastError()) == ERR_OK; }, ZELK_FAILING(socket)},
        {[&] { return (error = TcpSocket("127.0.0.1", 9).GetLastError()) == ERR_OK; }, ZELK_FAILING(socket)},
    };
    ZelkTest::Failure::s_error = WSAENOTSOCK;
    ZelkTest::Failure::s_result = SOCKET_ERROR;
    for (const auto& row : rows) {
        SCOPED_TRACE(&row - rows);
        std::optional<ZelkTest::ImportHook> hook;
        if (row.failing != nullptr) {
            hook.emplace(row.failing, row.failure);
        }
        error = ERR_OK;
        EXPECT_FALSE(row.call());
        EXPECT_EQ(error, static_cast<unsigned long>(ERR_INVALID));
    }
    EXPECT_TRUE(flag && number == 77 && byte == 'b' && peer.GetPort() == 9);
}

} // namespace
