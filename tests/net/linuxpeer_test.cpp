// Against a peer outside Windows and Wine: linuxpeer.py starts this program with the port of its server in the
// environment. Hunted here: what two ends of one implementation would agree on.
#include "rawsocket.h"

#include <algorithm>
#include <cstdlib>
#include <string>
#include <tests/support/random.h>
#include <zelk_core/net/udpsocket.h>

namespace {

using namespace Z4;
using namespace ZelkTest;

class LinuxPeerTest : public NetworkTest {
protected:
    void SetUp() override {
        if (m_port == 0) {
            GTEST_SKIP() << "runs as the test net_linux_peer";
        }
    }

    const char* const m_given = std::getenv("ZELK_PEER_PORT");
    const unsigned short m_port = static_cast<unsigned short>(m_given != nullptr ? std::atoi(m_given) : 0);
};

TEST_F(LinuxPeerTest, EchoesAMegabyteUntilTheStreamEnds) {
    TcpSocket socket("127.0.0.1", m_port);
    std::string data(1'000'000, '\0');
    Input().Fill(data.data(), data.size());
    std::string echo;
    char buffer[65536];
    long count = 1;
    for (std::size_t sent = 0; sent < data.size();) {
        count = socket.Send(data.data() + sent, std::min(data.size() - sent, sizeof buffer));
        ASSERT_GT(count, 0);
        for (sent += static_cast<std::size_t>(count); echo.size() < sent && count > 0;) {
            count = socket.Receive(buffer, sizeof buffer);
            echo.append(buffer, count > 0 ? static_cast<std::size_t>(count) : 0);
        }
    }
    EXPECT_TRUE(echo == data);
    ASSERT_TRUE(socket.Shutdown(BerkeleySocket::SHUTDOWN_SEND));
    EXPECT_EQ(socket.Receive(buffer, sizeof buffer), 0) << "the peer ends when we do";
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
