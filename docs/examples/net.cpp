#include "examples.h"

//! [example]
void ShowNet() {
    Z4::InitializeOS(); // starts the network; before, every call fails with ERR_DEVICE_NOT_READY
    {
        Z4::TcpSocket listener;
        if (!listener.Bind("127.0.0.1", 0) || !listener.Listen(1)) { // 0: the system chooses a port
            std::printf("%s\n", Z4::GetErrorString(listener.GetLastError()));
        }
        Z4::TcpSocket client("127.0.0.1", listener.GetPortNumber());
        Z4::TcpSocket server;
        char text[16] = "";
        if (listener.Accept(server) && client.Send("hello", 5) == 5) {
            const long count = server.Receive(text, sizeof text - 1); // 0: the other side has ended its stream
            std::printf("%ld bytes: %s\n", count, text);              // 5 bytes: hello
        }
    }
    Z4::ShutdownOS();
}
//! [example]
