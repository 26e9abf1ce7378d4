// Hunted here: datagrams that are joined or cut without a word, and senders told wrong.
#include "rawsocket.h"

#include <string>
#include <zelk_core/net/udpsocket.h>

namespace {

using namespace Z4;
using namespace ZelkTest;

class UdpSocketTest : public NetworkTest {
protected:
    UdpSocketTest() { EXPECT_TRUE(socket.Bind("127.0.0.1", 0)); }

    UdpSocket socket;
    RawSocket raw{SOCK_DGRAM};
    unsigned short rawPort = raw.Bind();
    SocketAddr peer;
    char text[16] = {};
};

TEST_F(UdpSocketTest, ExchangesDatagramsWithAStranger) {
    const sockaddr_in target = RawSocket::Loopback(socket.GetPortNumber());
    sendto(raw, "hello", 5, 0, reinterpret_cast<const sockaddr*>(&target), sizeof target);
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
    for (const SocketAddr& nobody : {SocketAddr("no.such.host.invalid", 9), SocketAddr()}) {
        EXPECT_EQ(socket.SendTo(nobody, "x", 1), -1);
        EXPECT_EQ(socket.GetLastError(), ERR_INVALID);
    }
}

TEST_F(UdpSocketTest, DatagramLargerThanTheBufferIsCut) {
    EXPECT_TRUE(!socket.GetBroadCast() && socket.SetBroadCast(true));
    socket = UdpSocket(std::move(socket));
    EXPECT_TRUE(socket.GetBroadCast());
    ASSERT_EQ(raw.Connect(socket.GetPortNumber()), 0);
    for (const bool tellsPeer : {false, true}) {
        send(raw, "aaaabbbb", 8, 0);
        send(raw, "next", 4, 0);
        strcpy(text, "zzzzzzz");
        EXPECT_EQ(tellsPeer ? socket.ReceiveFrom(peer, text, 4) : socket.Receive(text, 4), -1);
        EXPECT_EQ(socket.GetLastError(), ERR_OVERFLOW);
        EXPECT_STREQ(text, "aaaazzz");
        EXPECT_EQ(socket.Receive(text, sizeof text), 4) << "the rest is lost, the next is whole";
    }
}

} // namespace
