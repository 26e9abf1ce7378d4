// Hunted here: datagrams that are joined, cut without a word or taken from strangers, and senders told wrong.
#include "rawsocket.h"

#include <string>
#include <zelk_core/net/udpsocket.h>

namespace {

using namespace Z4;
using namespace ZelkTest;

using UdpSocketTest = NetworkTest;

TEST_F(UdpSocketTest, ExchangesDatagramsWithAStranger) {
    UdpSocket socket;
    ASSERT_TRUE(socket.Bind("127.0.0.1", 0));
    RawSocket raw(SOCK_DGRAM);
    const unsigned short rawPort = raw.Bind();
    const sockaddr_in target = RawSocket::Loopback(socket.GetPortNumber());
    sendto(raw, "hello", 5, 0, reinterpret_cast<const sockaddr*>(&target), sizeof target);
    char text[16] = {};
    SocketAddr peer;
    ASSERT_TRUE(socket.Select(Socket::SELECT_READABLE));
    EXPECT_EQ(socket.GetPendingDataCount(), 5);
    EXPECT_EQ(socket.ReceiveFrom(peer, text, sizeof text), 5);
    EXPECT_STREQ(text, "hello");
    EXPECT_EQ(peer.GetPort(), rawPort);
    EXPECT_EQ(peer.GetAddress(), static_cast<unsigned long>(INADDR_LOOPBACK));

    EXPECT_EQ(socket.SendTo(peer, "", 0), 0) << "an empty datagram is one, too";
    EXPECT_EQ(socket.SendTo(peer, "back", 4), 4);
    EXPECT_EQ(recv(raw, text, sizeof text, 0), 0);
    EXPECT_EQ(recv(raw, text, sizeof text, 0), 4);

    EXPECT_EQ(socket.SendTo(SocketAddr("no.such.host.invalid", 9), "x", 1), -1);
    EXPECT_EQ(socket.GetLastError(), ERR_INVALID);
    EXPECT_EQ(socket.SendTo(SocketAddr(), "x", 1), -1);
    EXPECT_EQ(socket.GetLastError(), ERR_INVALID);
}

TEST_F(UdpSocketTest, DatagramLargerThanTheBufferIsCut) {
    UdpSocket socket;
    ASSERT_TRUE(socket.Bind("127.0.0.1", 0));
    RawSocket raw(SOCK_DGRAM);
    ASSERT_EQ(raw.Connect(socket.GetPortNumber()), 0);
    const std::string large(1000, 'a');
    for (int i = 0; i < 2; ++i) {
        send(raw, large.data(), static_cast<int>(large.size()), 0);
        send(raw, "next", 4, 0);
        char text[8] = "zzzzzzz";
        SocketAddr peer;
        EXPECT_EQ(i == 0 ? socket.Receive(text, 4) : socket.ReceiveFrom(peer, text, 4), -1);
        EXPECT_EQ(socket.GetLastError(), ERR_OVERFLOW);
        EXPECT_STREQ(text, "aaaazzz");
        EXPECT_EQ(socket.Receive(text, sizeof text), 4) << "the rest is lost, the next is whole";
    }
}

TEST_F(UdpSocketTest, ConnectedSocketHearsItsPeerOnly) {
    UdpSocket socket;
    RawSocket friendly(SOCK_DGRAM);
    RawSocket stranger(SOCK_DGRAM);
    const unsigned short port = friendly.Bind();
    ASSERT_TRUE(socket.Bind("127.0.0.1", 0));
    const unsigned short ourPort = socket.GetPortNumber();
    ASSERT_TRUE(socket.Connect("127.0.0.1", port));
    EXPECT_EQ(socket.GetPortNumber(), port);
    ASSERT_EQ(stranger.Connect(ourPort), 0);
    send(stranger, "bad", 3, 0);
    EXPECT_EQ(socket.Send("ping", 4), 4);
    char text[8];
    EXPECT_EQ(recv(friendly, text, sizeof text, 0), 4);
    ASSERT_EQ(friendly.Connect(ourPort), 0);
    send(friendly, "pong!", 5, 0);
    EXPECT_EQ(socket.Receive(text, sizeof text), 5);
    socket.SetTimeout(10);
    SocketAddr peer;
    EXPECT_EQ(socket.ReceiveFrom(peer, text, sizeof text), -1);
    EXPECT_EQ(socket.GetLastError(), ERR_TIMEOUT);
}

TEST_F(UdpSocketTest, BroadCastOptionAndMoves) {
    UdpSocket socket;
    EXPECT_FALSE(socket.GetBroadCast());
    EXPECT_TRUE(socket.SetBroadCast(true));
    UdpSocket moved(std::move(socket));
    EXPECT_TRUE(moved.GetBroadCast());
    EXPECT_FALSE(socket.IsValid());
}

} // namespace
