// Sockets beside the system's own calls, against the same peer on a thread of its own. Pinned to one core: what wakes
// on another costs several times as much, now and then.
#include <winsock2.h> // before windows.h

#include <benchmark/benchmark.h>
#include <host/zelkhost.h>

#include <thread>
#include <vector>
#include <zelk_core/net/tcpsocket.h>
#include <zelk_core/net/udpsocket.h>
#include <zelk_core/os/lifecycle.h>

namespace {

constexpr int MESSAGE = 64;
constexpr int BLOCK = 65536;

sockaddr_in Loopback(unsigned short port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

unsigned short BindLoopback(SOCKET socket) {
    sockaddr_in address = Loopback(0);
    int size = sizeof address;
    bind(socket, reinterpret_cast<const sockaddr*>(&address), size);
    getsockname(socket, reinterpret_cast<sockaddr*>(&address), &size);
    return ntohs(address.sin_port);
}

void SetNoDelay(SOCKET socket) {
    const int on = 1;
    setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<const char*>(&on), sizeof on);
}

/// A stream to a thread that answers each message, or only swallows.
class StreamPeer {
public:
    explicit StreamPeer(bool answers) {
        const SOCKET listener = socket(AF_INET, SOCK_STREAM, 0);
        const unsigned short port = BindLoopback(listener);
        listen(listener, 1);
        client = socket(AF_INET, SOCK_STREAM, 0);
        const sockaddr_in address = Loopback(port);
        connect(client, reinterpret_cast<const sockaddr*>(&address), sizeof address);
        SetNoDelay(client);
        m_server = accept(listener, nullptr, nullptr);
        SetNoDelay(m_server);
        closesocket(listener);
        m_thread = std::thread([this, answers] {
            std::vector<char> buffer(BLOCK);
            int count = 0;
            while ((count = recv(m_server, buffer.data(), BLOCK, 0)) > 0) {
                if (answers) {
                    send(m_server, buffer.data(), count, 0);
                }
            }
        });
    }
    ~StreamPeer() {
        shutdown(client, SD_SEND);
        m_thread.join();
        closesocket(m_server);
        closesocket(client);
    }
    StreamPeer(const StreamPeer&) = delete;
    StreamPeer& operator=(const StreamPeer&) = delete;

    SOCKET client;

private:
    SOCKET m_server;
    std::thread m_thread;
};

void PingPongRaw(benchmark::State& state) {
    const StreamPeer peer(true);
    char message[MESSAGE] = {};
    for (auto _ : state) {
        send(peer.client, message, MESSAGE, 0);
        recv(peer.client, message, MESSAGE, 0);
    }
}

void PingPong(benchmark::State& state) {
    const StreamPeer peer(true);
    Z4::StreamSocket<Z4::TcpSocket> stream(static_cast<long>(peer.client));
    char message[MESSAGE] = {};
    for (auto _ : state) {
        benchmark::DoNotOptimize(stream.Send(message, MESSAGE));
        benchmark::DoNotOptimize(stream.Receive(message, MESSAGE));
    }
    benchmark::DoNotOptimize(stream.Detach()); // the peer closes it
}

void StreamRaw(benchmark::State& state) {
    const StreamPeer peer(false);
    const std::vector<char> block(BLOCK);
    for (auto _ : state) {
        send(peer.client, block.data(), BLOCK, 0);
    }
    state.SetBytesProcessed(state.iterations() * BLOCK);
}

void Stream(benchmark::State& state) {
    const StreamPeer peer(false);
    Z4::StreamSocket<Z4::TcpSocket> stream(static_cast<long>(peer.client));
    const std::vector<char> block(BLOCK);
    for (auto _ : state) {
        benchmark::DoNotOptimize(stream.Send(block.data(), BLOCK));
    }
    benchmark::DoNotOptimize(stream.Detach()); // the peer closes it
    state.SetBytesProcessed(state.iterations() * BLOCK);
}

/// A datagram to oneself and back: without a second thread, only the calls count.
struct DatagramPair {
    DatagramPair() : ours(BindLoopback(static_cast<SOCKET>(socket.GetHandle()))) {}

    Z4::UdpSocket socket;
    unsigned short ours;
    char message[MESSAGE] = {};
};

void DatagramRaw(benchmark::State& state) {
    DatagramPair pair;
    const SOCKET handle = static_cast<SOCKET>(pair.socket.GetHandle());
    const sockaddr_in target = Loopback(pair.ours);
    sockaddr_in sender{};
    for (auto _ : state) {
        int size = sizeof sender;
        sendto(handle, pair.message, MESSAGE, 0, reinterpret_cast<const sockaddr*>(&target), sizeof target);
        recvfrom(handle, pair.message, MESSAGE, 0, reinterpret_cast<sockaddr*>(&sender), &size);
    }
}

void Datagram(benchmark::State& state) {
    DatagramPair pair;
    const Z4::SocketAddr target(INADDR_LOOPBACK, pair.ours);
    Z4::SocketAddr sender;
    for (auto _ : state) {
        benchmark::DoNotOptimize(pair.socket.SendTo(target, pair.message, MESSAGE));
        benchmark::DoNotOptimize(pair.socket.ReceiveFrom(sender, pair.message, MESSAGE));
    }
}

/// So many sockets as the row's argument says, the middle one with a datagram waiting.
struct Crowd {
    explicit Crowd(const benchmark::State& state) : sockets(static_cast<std::size_t>(state.range(0))) {
        for (unsigned i = 0; i < sockets.size(); ++i) {
            const unsigned short port = BindLoopback(static_cast<SOCKET>(sockets[i].GetHandle()));
            if (i == sockets.size() / 2) {
                benchmark::DoNotOptimize(sockets[0].SendTo(Z4::SocketAddr(INADDR_LOOPBACK, port), "x", 1));
            }
        }
    }
    std::vector<Z4::UdpSocket> sockets;
};

void GroupWaitRaw(benchmark::State& state) {
    const Crowd crowd(state);
    fd_set all;
    FD_ZERO(&all);
    for (const Z4::UdpSocket& socket : crowd.sockets) {
        FD_SET(static_cast<SOCKET>(socket.GetHandle()), &all);
    }
    for (auto _ : state) {
        fd_set readable = all;
        benchmark::DoNotOptimize(select(0, &readable, nullptr, nullptr, nullptr));
    }
}

void GroupWait(benchmark::State& state) {
    const Crowd crowd(state);
    Z4::BerkeleySocketGroup all;
    for (const Z4::UdpSocket& socket : crowd.sockets) {
        socket.AddToSet(all);
    }
    unsigned long error = 0;
    for (auto _ : state) {
        Z4::BerkeleySocketGroup readable = all;
        benchmark::DoNotOptimize(Z4::BerkeleySocketGroup::Wait(&readable, nullptr, nullptr, 0xFFFFFFFF, error));
    }
}

} // namespace

BENCHMARK(PingPong)->Name("tcp_ping_pong/zelk/64")->UseRealTime();
BENCHMARK(PingPongRaw)->Name("tcp_ping_pong/raw/64")->UseRealTime();
BENCHMARK(Stream)->Name("tcp_stream/zelk/65536")->UseRealTime();
BENCHMARK(StreamRaw)->Name("tcp_stream/raw/65536")->UseRealTime();
BENCHMARK(Datagram)->Name("datagram/zelk/64")->UseRealTime();
BENCHMARK(DatagramRaw)->Name("datagram/raw/64")->UseRealTime();
BENCHMARK(GroupWait)->Name("group_wait/zelk")->RangeMultiplier(4)->Range(1, 64)->UseRealTime();
BENCHMARK(GroupWaitRaw)->Name("group_wait/raw")->RangeMultiplier(4)->Range(1, 64)->UseRealTime();

int main(int argc, char** argv) {
    SetProcessAffinityMask(GetCurrentProcess(), 1);
    benchmark::Initialize(&argc, argv);
    ZelkHost::Install();
    Z4::InitializeOS();
    benchmark::RunSpecifiedBenchmarks();
    Z4::ShutdownOS();
}
