// Peers for the library's sockets: the system's own calls, without the library.
#pragma once

#include <winsock2.h> // before windows.h

#include <ws2tcpip.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <zelk_core/net/tcpsocket.h>
#include <zelk_core/os/lifecycle.h>

namespace ZelkTest {

/// Starts the network for each test.
class NetworkTest : public testing::Test {
protected:
    NetworkTest() { Z4::InitializeOS(); }
    ~NetworkTest() override { Z4::ShutdownOS(); }
};

class RawSocket {
public:
    explicit RawSocket(SOCKET handle) : m_handle(handle) {}
    explicit RawSocket(int type) : m_handle(socket(AF_INET, type, 0)) {}
    ~RawSocket() { closesocket(m_handle); }
    RawSocket(const RawSocket&) = delete;
    RawSocket& operator=(const RawSocket&) = delete;

    operator SOCKET() const { return m_handle; }

    /// Binds to a free loopback port.
    /// @return the port.
    unsigned short Bind() {
        sockaddr_in address = Loopback(0);
        int size = sizeof address;
        bind(m_handle, reinterpret_cast<const sockaddr*>(&address), size);
        getsockname(m_handle, reinterpret_cast<sockaddr*>(&address), &size);
        return ntohs(address.sin_port);
    }

    int Connect(unsigned short port) {
        const sockaddr_in address = Loopback(port);
        return connect(m_handle, reinterpret_cast<const sockaddr*>(&address), sizeof address);
    }

    static sockaddr_in Loopback(unsigned short port) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        return address;
    }

private:
    SOCKET m_handle;
};

/// One connection: our end and the system's, which waits no longer than 10 s for anything.
struct Connection {
    Connection() {
        const DWORD limit = 10'000;
        setsockopt(raw, SOL_SOCKET, SO_RCVTIMEO, reinterpret_cast<const char*>(&limit), sizeof limit);
    }

    /// What the system's end has until the stream ends.
    std::string ReceiveAll() {
        std::string all;
        char buffer[65536];
        for (int count = 0; (count = recv(raw, buffer, sizeof buffer, 0)) > 0;) {
            all.append(buffer, static_cast<unsigned>(count));
        }
        return all;
    }

    Z4::TcpSocket ours;
    RawSocket raw{Connect(ours)};

private:
    static SOCKET Connect(Z4::TcpSocket& ours) {
        RawSocket listener(SOCK_STREAM);
        const unsigned short port = listener.Bind();
        listen(listener, 1);
        EXPECT_TRUE(ours.Connect("127.0.0.1", port));
        return accept(listener, nullptr, nullptr);
    }
};

} // namespace ZelkTest
