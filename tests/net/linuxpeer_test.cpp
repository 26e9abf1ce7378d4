// Against a peer outside Windows and Wine: linuxpeer.py starts this program with the port of its server in the
// environment. Hunted here: what two ends of one implementation would agree on.
#include "rawsocket.h"

#include <cstdlib>
#include <string>
#include <zelk_core/net/udpsocket.h>

namespace {

using namespace Z4;
using namespace ZelkTest;

class LinuxPeerTest : public NetworkTest {
protected:
    void SetUp() override {
        const char* const port = std::getenv("ZELK_PEER_PORT");
        if (port == nullptr) {
            GTEST_SKIP() << "runs as the test net_linux_peer";
        }
        m_port = static_cast<unsigned short>(std::atoi(port));
    }

    unsigned short m_port = 0;
};

TEST_F(LinuxPeerTest, EchoesAMegabyteUntilTheStreamEnds) {
    TcpSocket socket("127.0.0.1", m_port);
    std::string data;
    for (unsigned i = 0; data.size() < 1'000'000; ++i) {
        data += std::to_string(i * 2654435761u);
    }
    ASSERT_TRUE(socket.SetBlocking(false));
    std::string echo;
    std::size_t sent = 0;
    for (long count = 1; count != 0;) {
        bool readable = false;
        bool writable = false;
        ASSERT_TRUE(socket.Select(&readable, sent < data.size() ? &writable : nullptr, nullptr));
        if (readable) {
            char buffer[65536];
            count = socket.Receive(buffer, sizeof buffer);
            ASSERT_GE(count, 0);
            echo.append(buffer, static_cast<std::size_t>(count));
        }
        if (writable) {
            const long taken = socket.Send(data.data() + sent, static_cast<unsigned long>(data.size() - sent));
            ASSERT_GT(taken, 0);
            sent += static_cast<std::size_t>(taken);
            if (sent == data.size()) {
                ASSERT_TRUE(socket.Shutdown(BerkeleySocket::SHUTDOWN_SEND)) << "the peer ends when we do";
            }
        }
    }
    EXPECT_TRUE(echo == data);
}

TEST_F(LinuxPeerTest, Datagrams) {
    UdpSocket socket;
    ASSERT_TRUE(socket.Bind("127.0.0.1", 0));
    socket.SetTimeout(20'000);
    for (const unsigned long size : {1ul, 1400ul, 40'000ul}) {
        const std::string data(size, 'd');
        ASSERT_EQ(socket.SendTo(SocketAddr("127.0.0.1", m_port), data.data(), size), static_cast<long>(size));
        std::string back(size + 1, '\0');
        SocketAddr from;
        ASSERT_EQ(socket.ReceiveFrom(from, back.data(), size + 1), static_cast<long>(size));
        EXPECT_EQ(from.GetPort(), m_port);
        back.resize(size);
        EXPECT_TRUE(back == data);
    }
}

} // namespace
