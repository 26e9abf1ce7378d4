// Against a peer outside Windows and Wine: linuxpeer.py starts this program with the port of its server in the
// environment and checks the other end.
#include "rawsocket.h"

#include <cstdlib>
#include <string>
#include <vector>
#include <zelk_core/base/strformat.h>
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

    /// A connection on which the peer was told what to do.
    TcpSocket Command(const char* format, unsigned argument) {
        char line[32];
        StrFormat::snprintf(line, sizeof line, format, argument);
        TcpSocket socket("127.0.0.1", m_port);
        EXPECT_EQ(socket.Send(line, std::char_traits<char>::length(line)),
                  static_cast<long>(std::char_traits<char>::length(line)));
        return socket;
    }

    static std::string ReceiveAll(TcpSocket& socket) {
        std::string all;
        char buffer[4096];
        long count = 0;
        while ((count = socket.Receive(buffer, sizeof buffer)) > 0) {
            all.append(buffer, static_cast<std::size_t>(count));
        }
        EXPECT_EQ(count, 0) << "error " << socket.GetLastError();
        return all;
    }

    unsigned short m_port = 0;
};

TEST_F(LinuxPeerTest, EchoesAMegabyte) {
    TcpSocket socket = Command("ECHO %u\n", 0);
    std::string data;
    for (unsigned i = 0; data.size() < 1'000'000; ++i) {
        data += std::to_string(i * 2654435761u);
    }
    ASSERT_TRUE(socket.SetBlocking(false));
    std::string echo;
    std::size_t sent = 0;
    char buffer[65536];
    while (echo.size() < data.size()) {
        bool readable = false;
        bool writable = false;
        ASSERT_TRUE(socket.Select(&readable, sent < data.size() ? &writable : nullptr, nullptr));
        if (readable) {
            const long count = socket.Receive(buffer, sizeof buffer);
            ASSERT_GT(count, 0);
            echo.append(buffer, static_cast<std::size_t>(count));
        }
        if (writable) {
            const long count = socket.Send(data.data() + sent, static_cast<unsigned long>(data.size() - sent));
            ASSERT_GT(count, 0);
            sent += static_cast<std::size_t>(count);
        }
    }
    EXPECT_TRUE(echo == data);
}

TEST_F(LinuxPeerTest, HalfCloseIsSeenOnTheOtherSide) {
    TcpSocket socket = Command("COUNT %u\n", 0);
    const std::string data(123'456, 'c');
    ASSERT_EQ(socket.Send(data.data(), static_cast<unsigned long>(data.size())), 123'456);
    ASSERT_TRUE(socket.Shutdown(BerkeleySocket::SHUTDOWN_SEND));
    EXPECT_EQ(ReceiveAll(socket), "123456");
}

TEST_F(LinuxPeerTest, ServesAForeignClient) {
    TcpSocket listener(0);
    ASSERT_TRUE(listener.Listen(2));
    TcpSocket command = Command("CALL %u\n", listener.GetPortNumber());
    TcpSocket client;
    listener.SetTimeout(20'000);
    ASSERT_TRUE(listener.Accept(client));
    EXPECT_STREQ(client.GetIpAddress(), "127.0.0.1");
    char word[6] = {};
    ASSERT_EQ(client.Receive(word, 5), 5);
    EXPECT_STREQ(word, "hello");
    EXPECT_EQ(client.Send(word, 5), 5);
    client.Close();
    EXPECT_EQ(ReceiveAll(command), "hello") << "what the client got back";
}

TEST_F(LinuxPeerTest, ResetByThePeer) {
    TcpSocket socket = Command("RESET %u\n", 0);
    socket.SetTimeout(20'000);
    char byte = 0;
    EXPECT_LE(socket.Receive(&byte, 1), 0);
    long sent = 0;
    for (int i = 0; i < 1000 && sent >= 0; ++i) {
        sent = socket.Send("x", 1);
    }
    EXPECT_EQ(sent, -1);
    EXPECT_THAT(socket.GetLastError(), testing::AnyOf(ERR_RESET, ERR_ABORTED));
}

TEST_F(LinuxPeerTest, Datagrams) {
    UdpSocket socket;
    ASSERT_TRUE(socket.Bind("127.0.0.1", 0));
    const SocketAddr peer("127.0.0.1", m_port);
    for (const unsigned long size : {1ul, 1400ul, 40'000ul}) {
        const std::string data(size, 'd');
        ASSERT_EQ(socket.SendTo(peer, data.data(), size), static_cast<long>(size));
        std::string back(size + 1, '\0');
        SocketAddr from;
        socket.SetTimeout(20'000);
        ASSERT_EQ(socket.ReceiveFrom(from, back.data(), size + 1), static_cast<long>(size));
        EXPECT_EQ(from.GetPort(), m_port);
        back.resize(size);
        EXPECT_TRUE(back == data);
    }
}

} // namespace
