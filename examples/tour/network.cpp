// The file goes through a socket to another thread and comes back; the machine's adapters and names.
#include "tour.h"

#include <zelk_core/zelk_core.h>

namespace {

/// Accepts one connection and returns whatever comes, until the other side has ended its stream.
class Echo : public Z4::Thread {
public:
    explicit Echo(Z4::TcpSocket& listener) : m_listener(listener) {}

    void Run() override {
        Z4::TcpSocket client;
        if (!m_listener.Accept(client)) {
            return;
        }
        char buffer[16384];
        long count = 0;
        while ((count = client.Receive(buffer, sizeof buffer)) > 0) {
            for (long sent = 0; sent < count;) {
                const long now = client.Send(buffer + sent, static_cast<unsigned long>(count - sent));
                if (now < 0) {
                    return;
                }
                sent += now;
            }
        }
    }

private:
    Z4::TcpSocket& m_listener;
};

/// Sends and receives in one thread: neither side ever waits for the other with full buffers.
std::string SendAndReceive(Z4::TcpSocket& socket, const std::string& content) {
    std::string echo;
    std::size_t sent = 0;
    char buffer[16384];
    if (!socket.SetBlocking(false)) {
        return echo;
    }
    while (echo.size() < content.size()) {
        bool readable = false;
        bool writable = false;
        if (!socket.Select(&readable, sent < content.size() ? &writable : nullptr, nullptr)) {
            break;
        }
        if (writable) {
            const long count = socket.Send(content.data() + sent, static_cast<unsigned long>(content.size() - sent));
            sent += count > 0 ? static_cast<std::size_t>(count) : 0;
        }
        if (readable) {
            const long count = socket.Receive(buffer, sizeof buffer);
            if (count <= 0) {
                break;
            }
            echo.append(buffer, static_cast<std::size_t>(count));
        }
    }
    return echo;
}

} // namespace

void TourNetwork(const std::string& content) {
    Chapter("net", "the file through a socket and back; names and adapters");
    Z4::InitializeOS();
    {
        Z4::TcpSocket listener;
        const bool listens = listener.Bind("127.0.0.1", 0) && listener.Listen(1);
        listener.SetTimeout(10'000);
        Echo echo(listener);
        const Z4::Error created = echo.CreateThread();
        Z4::StopWatch watch(true);
        Z4::TcpSocket socket("127.0.0.1", listener.GetPortNumber());
        const std::string back = SendAndReceive(socket, content);
        watch.Stop();
        socket.Close();
        const Z4::Error joined = echo.JoinThread();
        Print("   %-24s created: %s; joined: %s\n", "thread of the listener", Z4::GetErrorString(created),
              Z4::GetErrorString(joined));
        Print("   %-24s %u of %u bytes came back %s in %llu us\n", "127.0.0.1", static_cast<unsigned>(back.size()),
              static_cast<unsigned>(content.size()), listens && back == content ? "unchanged" : "CHANGED",
              watch.GetElapsedUSec());

        Z4::HostInfo local("localhost");
        Z4::HostInfo unknown("no.such.host.invalid");
        Print("   %-24s %s, %s\n", "localhost", local.GetAddress(), Z4::GetErrorString(local.GetStatus()));
        Print("   %-24s %s, %s\n", "no.such.host.invalid", unknown.GetAddress(),
              Z4::GetErrorString(unknown.GetStatus()));

        const Z4::NICInfo adapters;
        for (const Z4::NICEntry& adapter : adapters) {
            Print("   %-24s %s %s\n", "adapter", adapter.GetMACAddress(),
                  adapter.GetIPAddressCount() != 0 ? adapter.GetIPAddress(0) : "without an IPv4 address");
        }
    }
    Z4::ShutdownOS();
}
