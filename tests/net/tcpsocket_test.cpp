// Hunted here: operations that reach the system on a closed socket or forget the last error, handles closed twice or
// never, waits for the wrong thing or of the wrong length, options and counts that change on their way.
#include "rawsocket.h"

#include <tests/support/contract.h>
#include <tests/support/counts.h>
#include <tests/support/importhook.h>
#include <tests/support/winsystem.h>

#include <functional>
#include <string>
#include <tuple>
#include <zelk_core/net/tcpsocket.h>
#include <zelk_core/net/udpsocket.h>

namespace {

using namespace Z4;
using namespace ZelkTest;

using TcpSocketTest = NetworkTest;

TEST_F(TcpSocketTest, ClosedSocketAnswersEveryOperationWithoutTheSystem) {
    TcpSocket tcp;
    DatagramSocket udp;
    tcp.Close();
    udp.Close();
    TcpSocket other;
    SocketAddr peer;
    char byte = 0;
    WSASetLastError(12345);
    EXPECT_FALSE(tcp.Close() || tcp.Bind("no.such.host.invalid", 0) || tcp.Bind(0) || tcp.Connect("127.0.0.1", 1) ||
                 tcp.Listen(1) || tcp.Accept(other) || tcp.Select(Socket::SELECT_READABLE) ||
                 tcp.Shutdown(BerkeleySocket::SHUTDOWN_BOTH) || tcp.SetBlocking(true) || tcp.SetSendBufSize(4096) ||
                 tcp.SetReceiveBufSize(4096));
    EXPECT_FALSE(tcp.SetReuseAddr(true) || tcp.GetReuseAddr() || tcp.SetNagleOnOff(true) || tcp.GetNagleOnOff() ||
                 tcp.SetLingerOnOff(true) || tcp.GetLingerOnOff() || tcp.SetLingerSeconds(1) ||
                 udp.SetBroadCast(true) || udp.GetBroadCast());
    EXPECT_TRUE(tcp.Send(&byte, 1) == -1 && tcp.Receive(&byte, 1) == -1 && tcp.GetPendingDataCount() == -1);
    EXPECT_TRUE(udp.ReceiveFrom(peer, &byte, 1) == -1 && udp.SendTo(SocketAddr(INADDR_LOOPBACK, 1), &byte, 1) == -1);
    EXPECT_EQ(tcp.GetSendBufSize() + tcp.GetReceiveBufSize() + tcp.GetLingerSeconds(), 0u);
    EXPECT_EQ(WSAGetLastError(), 12345);
    EXPECT_EQ(tcp.GetLastError(), ERR_NOT_CONNECTED);
    EXPECT_EQ(udp.GetLastError(), ERR_NOT_CONNECTED);
    EXPECT_TRUE(other.IsValid()) << "a closed listener leaves the other socket alone";
}

TEST_F(TcpSocketTest, LifeOfAHandle) {
    TcpSocket socket;
    EXPECT_STREQ(socket.GetHostName(), "0.0.0.0");
    socket.SetTimeout(5);
    EXPECT_TRUE(socket.SetBlocking(true) && socket.SetBlocking(false) && socket.Bind("127.0.0.1", 0));
    const unsigned short port = socket.GetPortNumber();
    EXPECT_NE(port, 0);
    EXPECT_TRUE(socket.Close());
    EXPECT_TRUE(socket.GetBlocking());
    EXPECT_EQ(socket.GetTimeout(), BerkeleySocket::NO_TIMEOUT);
    EXPECT_EQ(socket.GetPortNumber(), port) << "the address is kept";
    EXPECT_STREQ(socket.GetIpAddress(), "127.0.0.1");
    EXPECT_TRUE(socket.Open());
    EXPECT_EQ(socket.GetLastError(), ERR_OK);

    TcpSocket bound(port);
    EXPECT_EQ(bound.GetPortNumber(), port);
    EXPECT_STREQ(bound.GetIpAddress(), "0.0.0.0");
    EXPECT_FALSE(bound.Bind(0)) << "bound twice";
    EXPECT_EQ(bound.GetLastError(), ERR_INVALID);
}

TEST_F(TcpSocketTest, HandlesMoveAndAreClosedOnce) {
    Connection connection;
    connection.ours.SetTimeout(60'000);
    EXPECT_FALSE(connection.ours.Select(0)) << "nothing to wait for";
    TcpSocket moved(std::move(connection.ours));
    EXPECT_FALSE(connection.ours.IsValid());
    EXPECT_EQ(moved.GetTimeout(), 60'000u);
    EXPECT_EQ(moved.GetLastError(), ERR_INVALID);
    EXPECT_STREQ(moved.GetIpAddress(), "127.0.0.1");
    StreamSocket<TcpSocket> stream(moved.Detach());
    EXPECT_FALSE(moved.IsValid());
    StreamSocket<TcpSocket> target;
    const long replaced = target.GetHandle();
    StreamSocket<TcpSocket>& same = target = std::move(stream);
    target = std::move(same);
    unsigned long error = ERR_OK;
    EXPECT_EQ(BerkeleySocket::Send("x", 1, replaced, error), -1) << "what it had is closed";
    EXPECT_EQ(error, static_cast<unsigned long>(ERR_INVALID));
    EXPECT_EQ(target.Send("hello", 5), 5);
    target = StreamSocket<TcpSocket>(-1);
    EXPECT_EQ(connection.ReceiveAll(), "hello") << "closed with its last owner";
}

TEST_F(TcpSocketTest, OptionsReachTheSystem) {
    TcpSocket socket;
    const auto read = [&](int level, int option) {
        int value = 0;
        int size = sizeof value;
        getsockopt(static_cast<SOCKET>(socket.GetHandle()), level, option, reinterpret_cast<char*>(&value), &size);
        return value;
    };
    for (const bool on : {true, false, true, true}) {
        EXPECT_TRUE(socket.SetReuseAddr(on) && socket.SetNagleOnOff(on) && socket.SetLingerOnOff(on));
        EXPECT_EQ(socket.GetReuseAddr(), on);
        EXPECT_EQ(read(SOL_SOCKET, SO_REUSEADDR) != 0, on);
        EXPECT_EQ(socket.GetNagleOnOff(), on);
        EXPECT_EQ(read(IPPROTO_TCP, TCP_NODELAY) != 0, !on);
        EXPECT_EQ(socket.GetLingerOnOff(), on);
    }
    EXPECT_TRUE(socket.SetLingerSeconds(65535));
    EXPECT_TRUE(socket.GetLingerOnOff()) << "each setter leaves the other's field";
    EXPECT_FALSE(socket.SetLingerSeconds(65536));
    EXPECT_EQ(socket.GetLastError(), ERR_INVALID);
    EXPECT_EQ(socket.GetLingerSeconds(), 65535u);
    EXPECT_TRUE(socket.SetSendBufSize(20000) && socket.SetReceiveBufSize(30000));
    EXPECT_EQ(socket.GetSendBufSize(), static_cast<unsigned long>(read(SOL_SOCKET, SO_SNDBUF)));
    EXPECT_EQ(socket.GetReceiveBufSize(), static_cast<unsigned long>(read(SOL_SOCKET, SO_RCVBUF)));
}

TEST_F(TcpSocketTest, WhatCannotBeConnectedTo) {
    RawSocket silent(SOCK_STREAM);
    const std::tuple<const char*, unsigned short, Error> rows[] = {
        {"0.0.0.0", 80, ERR_INVALID},
        {"no.such.host.invalid", 80, ERR_INVALID},
        {nullptr, 80, ERR_INVALID},
        {"127.0.0.1", 0, ERR_INVALID},
        {"127.0.0.1", silent.Bind(), ERR_CONNECTION_REFUSED}};
    for (const auto& [host, port, error] : rows) {
        const TcpSocket socket(host, port);
        EXPECT_EQ(socket.GetLastError(), error) << testing::PrintToString(host) << ':' << port;
        EXPECT_TRUE(socket.IsValid());
        EXPECT_EQ(socket.GetPortNumber(), 0) << "the address is stored on success only";
    }
}

TEST_F(TcpSocketTest, AcceptsAndTellsThePeer) {
    TcpSocket listener(0);
    ASSERT_TRUE(listener.Listen(5));
    RawSocket client(SOCK_STREAM);
    const unsigned short clientPort = client.Bind();
    ASSERT_EQ(client.Connect(listener.GetPortNumber()), 0);
    TcpSocket accepted;
    ASSERT_TRUE(listener.Accept(accepted));
    EXPECT_STREQ(accepted.GetIpAddress(), "127.0.0.1");
    EXPECT_EQ(accepted.GetPortNumber(), clientPort);
    EXPECT_TRUE(accepted.GetBlocking());

    // A connection from a listener that does not block does not block either, and knows it.
    ASSERT_TRUE(listener.SetBlocking(false));
    EXPECT_FALSE(listener.Accept(accepted));
    EXPECT_EQ(listener.GetLastError(), ERR_NOT_READY);
    EXPECT_FALSE(accepted.IsValid()) << "closed first";
    EXPECT_TRUE(accepted.GetBlocking());
    EXPECT_EQ(accepted.GetLastError(), ERR_OK) << "it was closed well";
    RawSocket second(SOCK_STREAM);
    ASSERT_EQ(second.Connect(listener.GetPortNumber()), 0);
    ASSERT_TRUE(listener.Select(Socket::SELECT_READABLE) && listener.Accept(accepted));
    EXPECT_FALSE(accepted.GetBlocking());
    char byte = 0;
    EXPECT_EQ(accepted.Receive(&byte, 1), -1);
    EXPECT_EQ(accepted.GetLastError(), ERR_NOT_READY);
}

/// The system's select: keeps what it was asked, and finds ready what it is told to.
class FakeSelect {
public:
    static inline std::string s_asked; ///< the letters of the sets that it was given, and the limit
    static inline std::string s_ready; ///< the letters of those that keep their socket

    FakeSelect() { s_asked = s_ready = ""; }

private:
    static int WSAAPI Answer(int, fd_set* readable, fd_set* writable, fd_set* failed, const timeval* limit) {
        const std::pair<char, fd_set*> sets[] = {{'r', readable}, {'w', writable}, {'f', failed}};
        int ready = 0;
        s_asked.clear();
        for (const auto& [letter, set] : sets) {
            if (set != nullptr) {
                s_asked += letter;
                set->fd_count = s_ready.find(letter) != std::string::npos ? 1 : 0;
                ready += static_cast<int>(set->fd_count);
            }
        }
        s_asked += limit == nullptr ? "" : ' ' + std::to_string(limit->tv_sec) + ' ' + std::to_string(limit->tv_usec);
        return ready;
    }

    ImportHook m_hook{"select", Answer};
};

TEST_F(TcpSocketTest, SelectTellsWhatIsReady) {
    const FakeSelect system;
    const TcpSocket socket;
    for (const std::string ready : {"", "r", "w", "f", "rwf"}) {
        system.s_ready = ready;
        bool readable = true;
        bool writable = true;
        bool failed = true;
        EXPECT_EQ(socket.Select(&readable, &writable, &failed), !ready.empty());
        EXPECT_EQ(std::string(readable ? "r" : "") + (writable ? "w" : "") + (failed ? "f" : ""), ready);
        EXPECT_EQ(socket.GetLastError(), ready.empty() ? ERR_TIMEOUT : ERR_OK);
        EXPECT_EQ(system.s_asked, "rwf") << "and no limit";
    }
}

TEST_F(TcpSocketTest, TimeOuts) {
    const FakeSelect system;
    TcpSocket tcp;
    TcpSocket accepted;
    UdpSocket udp;
    SocketAddr peer("127.0.0.1", 1);
    char byte = 0;
    const std::tuple<const Socket&, std::function<bool()>, std::string> rows[] = {
        {tcp, [&] { return tcp.Send(&byte, 1) >= 0; }, "w"},
        {tcp, [&] { return tcp.Receive(&byte, 1) >= 0; }, "r"},
        {tcp, [&] { return tcp.Accept(accepted); }, "r"},
        {udp, [&] { return udp.SendTo(peer, &byte, 1) >= 0; }, "w"},
        {udp, [&] { return udp.ReceiveFrom(peer, &byte, 1) >= 0; }, "r"},
        {udp, [&] { return udp.Select(Socket::SELECT_READABLE); }, "r"},
        {udp, [&] { return udp.Select(Socket::SELECT_WRITABLE | Socket::SELECT_FAILED); }, "wf"},
    };
    const std::pair<unsigned long, const char*> limits[] = {{0, " 0 0"}, {60, " 0 60000"}, {61'999, " 61 999000"}};
    for (const auto& [ms, limit] : limits) {
        tcp.SetTimeout(ms);
        udp.SetTimeout(ms);
        for (const auto& [socket, call, set] : rows) {
            EXPECT_FALSE(call());
            EXPECT_EQ(system.s_asked, set + limit);
            EXPECT_EQ(socket.GetLastError(), ERR_TIMEOUT);
        }
    }
    // Without a limit, or without blocking, there is nothing to ask for.
    system.s_asked = "no";
    tcp.SetTimeout(BerkeleySocket::NO_TIMEOUT);
    EXPECT_EQ(tcp.Receive(&byte, 1), -1);
    tcp.SetTimeout(5);
    EXPECT_TRUE(tcp.SetBlocking(false));
    EXPECT_EQ(tcp.Send(&byte, 1), -1);
    EXPECT_EQ(system.s_asked, "no");
}

TEST_F(TcpSocketTest, ReportsHandlesInTheWrongPlace) {
    const ExpectContract expected(LIBRARY_CHECKS ? 3 : 0);
    TcpSocket socket;
    EXPECT_FALSE(socket.SetBlocking(false) && socket.Accept(socket));
    ASSERT_TRUE(socket.Open()) << "closed before it was asked";
    BerkeleySocketGroup group;
    socket.AddToSet(group);
    unsigned long error = ERR_OK;
    EXPECT_GE(BerkeleySocketGroup::Wait(&group, &group, nullptr, 0, error), 0);
    socket.Attach(socket.GetHandle());
    EXPECT_FALSE(socket.Close()) << "closed before it was taken over";
}

TEST_F(TcpSocketTest, HalfCloseLeavesTheOtherDirection) {
    Connection connection;
    TcpSocket& socket = connection.ours;
    socket.SetTimeout(10'000);
    {
        Failure::s_result = 3;
        const ImportHook fullBuffer(ZELK_FAILING(send));
        EXPECT_EQ(socket.Send("hello", 5), 3) << "what the system has taken";
    }
    EXPECT_EQ(socket.Send("question", 8), 8);
    ASSERT_TRUE(socket.Shutdown(BerkeleySocket::SHUTDOWN_SEND));
    EXPECT_EQ(connection.ReceiveAll(), "question");
    send(connection.raw, "answer", 6, 0);
    char text[16];
    EXPECT_EQ(socket.Receive(text, 16), 6);
    EXPECT_FALSE(socket.Shutdown(static_cast<BerkeleySocket::ShutdownHow>(17)));
    EXPECT_EQ(socket.GetLastError(), ERR_INVALID);
}

TEST_F(TcpSocketTest, ManyConnectionsLeakNoHandle) {
    const unsigned CONNECTIONS = Repeats(150, 10'000);
    TcpSocket listener(0);
    ASSERT_TRUE(listener.Listen(8));
    unsigned before = 0;
    for (unsigned i = 0; i < CONNECTIONS; ++i) {
        before = i == 100 ? CountHandles() : before;
        TcpSocket client("127.0.0.1", listener.GetPortNumber());
        TcpSocket accepted;
        ASSERT_TRUE(client.GetLastError() == ERR_OK && listener.Accept(accepted)) << "connection " << i;
        // A reset leaves no port waiting for late segments, of which there are not enough for all these connections.
        ASSERT_TRUE(client.SetLingerOnOff(true) && client.SetLingerSeconds(0));
    }
    EXPECT_LE(CountHandles(), before + 5);
}

} // namespace
