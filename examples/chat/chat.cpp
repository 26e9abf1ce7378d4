// A chat room in one thread, on a socket group; any line-based client will do, several at a time:
//   chat PORT          serves until somebody says /stop; try it with: nc 127.0.0.1 PORT
//   chat HOST PORT     joins a room and says each line of the standard input
// Without arguments it serves and joins itself for a moment, as a test.
#include <cstdio>
#include <host/zelkhost.h>
#include <list>
#include <string>
#include <zelk_core/zelk_core.h>

namespace {

/// Bytes of one connection, given out line by line. Lines end with a line feed; one that never ends is cut.
class LineBuffer {
public:
    /// @return false when the peer has gone.
    bool Fill(Z4::TcpSocket& socket) {
        char buffer[1024];
        const long count = socket.Receive(buffer, sizeof buffer);
        if (count > 0) {
            m_text.append(buffer, static_cast<std::size_t>(count));
        }
        return count > 0 || socket.GetLastError() == Z4::ERR_NOT_READY;
    }

    bool NextLine(std::string& line) {
        constexpr std::size_t LONGEST = 400;
        const std::size_t end = m_text.find('\n');
        if (end == std::string::npos && m_text.size() <= LONGEST) {
            return false;
        }
        line = m_text.substr(0, end < LONGEST ? end : LONGEST);
        m_text.erase(0, end < LONGEST ? end + 1 : LONGEST);
        if (!line.empty() && line.back() == '\r') {
            line.pop_back();
        }
        return true;
    }

private:
    std::string m_text;
};

class Room {
public:
    bool Open(unsigned short port) {
        if (m_listener.Bind("127.0.0.1", port) && m_listener.Listen(16) && m_listener.SetBlocking(false)) {
            return true;
        }
        std::fprintf(stderr, "chat: cannot serve port %u: %s\n", port, Z4::GetErrorString(m_listener.GetLastError()));
        return false;
    }

    unsigned short Port() const { return m_listener.GetPortNumber(); }

    /// Serves whoever is ready, waiting for somebody for `ms` milliseconds at most.
    void Serve(unsigned long ms) {
        Z4::BerkeleySocketGroup readable;
        m_listener.AddToSet(readable);
        for (const Guest& guest : m_guests) {
            guest.socket.AddToSet(readable);
        }
        unsigned long error = Z4::ERR_OK;
        if (Z4::BerkeleySocketGroup::Wait(&readable, nullptr, nullptr, ms, error) <= 0) {
            return;
        }
        if (m_listener.IsInSet(readable)) {
            Admit();
        }
        for (Guest& guest : m_guests) {
            if (guest.socket.IsInSet(readable)) {
                Hear(guest);
            }
        }
        m_guests.remove_if([](const Guest& guest) { return !guest.socket.IsValid(); });
    }

    bool Stopped() const { return m_stopped; }

private:
    struct Guest {
        Z4::TcpSocket socket;
        LineBuffer lines;
        std::string name;
    };

    void Admit() {
        Guest guest;
        if (!m_listener.Accept(guest.socket)) {
            return;
        }
        // The group holds 64 sockets, and one of them is the listener.
        if (m_guests.size() + 1 >= Z4::BerkeleySocketGroup::CAPACITY) {
            Tell(guest, "The room is full.");
            return;
        }
        char name[32];
        Z4::StrFormat::Print(name, sizeof name, "guest %u", ++m_admitted);
        guest.name = name;
        Tell(guest, "Welcome, " + guest.name + ".");
        Say(guest.name + " has come.");
        m_guests.push_back(std::move(guest));
    }

    void Hear(Guest& guest) {
        const bool here = guest.lines.Fill(guest.socket);
        std::string line;
        while (guest.lines.NextLine(line)) {
            m_stopped = m_stopped || line == "/stop";
            Say(guest.name + ": " + line);
        }
        if (!here) {
            guest.socket.Close();
            Say(guest.name + " has gone.");
        }
    }

    void Say(const std::string& line) {
        std::printf("%s\n", line.c_str());
        std::fflush(stdout);
        for (Guest& guest : m_guests) {
            Tell(guest, line);
        }
    }

    // A guest who does not read fills his buffer; he loses lines, and nobody waits for him.
    static void Tell(Guest& guest, const std::string& line) {
        const std::string text = line + "\n";
        static_cast<void>(guest.socket.Send(text.data(), static_cast<unsigned long>(text.size())));
    }

    Z4::TcpSocket m_listener;
    std::list<Guest> m_guests;
    unsigned m_admitted = 0;
    bool m_stopped = false;
};

int ParsePort(const char* text) {
    std::uint16_t port = 0;
    return Z4::Str::ToInt(text, port) == Z4::ERR_OK ? port : -1;
}

int ServeRoom(int port) {
    Room room;
    if (!room.Open(static_cast<unsigned short>(port))) {
        return 1;
    }
    std::printf("The room is open: nc 127.0.0.1 %u\n", room.Port());
    std::fflush(stdout);
    while (!room.Stopped()) {
        room.Serve(1000);
    }
    return 0;
}

int JoinRoom(const char* host, int port) {
    Z4::TcpSocket socket(host, static_cast<unsigned short>(port));
    if (socket.GetLastError() != Z4::ERR_OK) {
        std::fprintf(stderr, "chat: cannot join %s:%d: %s\n", host, port, Z4::GetErrorString(socket.GetLastError()));
        return 1;
    }
    char line[400];
    while (std::fgets(line, sizeof line, stdin) != nullptr) {
        if (socket.Send(line, static_cast<unsigned long>(std::char_traits<char>::length(line))) < 0) {
            std::fprintf(stderr, "chat: lost the room: %s\n", Z4::GetErrorString(socket.GetLastError()));
            return 1;
        }
    }
    // What the others said meanwhile, and what comes of our own lines.
    socket.Shutdown(Z4::BerkeleySocket::SHUTDOWN_SEND);
    char buffer[1024];
    long count = 0;
    while ((count = socket.Receive(buffer, sizeof buffer)) > 0) {
        std::fwrite(buffer, 1, static_cast<std::size_t>(count), stdout);
    }
    return 0;
}

/// Two guests on sockets of our own talk through a room in the same thread.
int TryOut() {
    Room room;
    if (!room.Open(0)) {
        return 1;
    }
    Z4::TcpSocket first("127.0.0.1", room.Port());
    room.Serve(1000);
    Z4::TcpSocket second("127.0.0.1", room.Port());
    room.Serve(1000);
    for (const std::string text : {"Hello there\r\nand ", "good-bye\n"}) {
        if (second.Send(text.data(), static_cast<unsigned long>(text.size())) < 0) {
            return 1;
        }
        room.Serve(1000);
    }
    second.Close();
    room.Serve(1000);

    const std::string expected =
        "Welcome, guest 1.\nguest 2 has come.\nguest 2: Hello there\nguest 2: and good-bye\nguest 2 has gone.\n";
    std::string heard;
    LineBuffer lines;
    std::string line;
    first.SetTimeout(1000);
    while (heard.size() < expected.size() && lines.Fill(first)) {
        while (lines.NextLine(line)) {
            heard += line + "\n";
        }
    }
    if (heard != expected) {
        std::fprintf(stderr, "chat: guest 1 heard:\n%s", heard.c_str());
        return 1;
    }
    return 0;
}

int Usage() {
    std::fputs("usage: chat [PORT | HOST PORT]\n", stderr);
    return 2;
}

} // namespace

int main(int argc, char** argv) {
    const int port = argc > 1 ? ParsePort(argv[argc - 1]) : 0;
    if (argc > 3 || port < 0) {
        return Usage();
    }
    ZelkHost::Install();
    Z4::InitializeOS();
    const int result = argc == 1 ? TryOut() : argc == 2 ? ServeRoom(port) : JoinRoom(argv[1], port);
    Z4::ShutdownOS();
    return result;
}
