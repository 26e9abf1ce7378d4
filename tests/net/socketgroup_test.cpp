// Hunted here: a set that grows over its end or loses its order, and sockets that a wait forgets or invents.
#include "rawsocket.h"

#include <algorithm>
#include <memory>
#include <tests/support/random.h>
#include <vector>
#include <zelk_core/net/socketgroup.h>
#include <zelk_core/net/udpsocket.h>

namespace {

using namespace Z4;
using namespace ZelkTest;

using SocketGroupTest = NetworkTest;

TEST_F(SocketGroupTest, KeepsAnOrderedSetOf64) {
    Input input;
    BerkeleySocketGroup group;
    std::vector<long> model;
    for (int step = 0; step < 5'000; ++step) {
        const long handle = static_cast<long>(input.Below(90)) * 4;
        const bool isHeld = std::find(model.begin(), model.end(), handle) != model.end();
        ASSERT_EQ(group.IsInSet(handle), isHeld);
        if (input.Below(5) >= 3) {
            group.Remove(handle);
            std::erase(model, handle);
        } else {
            group.Add(handle);
            if (model.size() < 64 && !isHeld) {
                model.push_back(handle);
            }
        }
        std::vector<long> held;
        for (unsigned long i = 0; i < group.GetCount(); ++i) {
            held.push_back(group.GetHandle(i));
        }
        ASSERT_EQ(held, model) << "step " << step;
    }
    EXPECT_EQ(group.GetHandle(group.GetCount()), -1);
    group.Clear();
    EXPECT_EQ(group.GetCount(), 0u);
}

TEST_F(SocketGroupTest, OneThreadServesManySockets) {
    constexpr unsigned SOCKETS = 65;
    const auto connections = std::make_unique<Connection[]>(SOCKETS);
    BerkeleySocketGroup all;
    DatagramSocket closed;
    closed.Close();
    closed.AddToSet(all);
    for (unsigned i = 0; i < SOCKETS; ++i) {
        connections[i].ours.AddToSet(all);
        EXPECT_EQ(connections[i].ours.IsInSet(all), i < 64) << "the closed one takes no room, and there is no 65th";
    }
    const auto wait = [](BerkeleySocketGroup& readable, BerkeleySocketGroup* writable = nullptr) {
        unsigned long reason = ERR_UNHANDLED;
        const long ready = BerkeleySocketGroup::Wait(&readable, writable, nullptr, 10, reason);
        return std::pair(ready, static_cast<Error>(reason));
    };
    BerkeleySocketGroup readable = all;
    EXPECT_EQ(wait(readable), std::pair(0L, ERR_TIMEOUT));
    EXPECT_EQ(readable.GetCount(), 0u);
    EXPECT_EQ(wait(readable), std::pair(-1L, ERR_INVALID)) << "nothing to wait for";

    for (const unsigned i : {3u, 40u, 63u, 64u}) {
        send(connections[i].raw, "x", 1, 0);
        ASSERT_TRUE(connections[i].ours.Select(Socket::SELECT_READABLE));
    }
    readable = all;
    BerkeleySocketGroup writable;
    connections[5].ours.AddToSet(writable);
    EXPECT_EQ(wait(readable, &writable), std::pair(4L, ERR_OK));
    for (unsigned i = 0; i < SOCKETS; ++i) {
        EXPECT_EQ(connections[i].ours.IsInSet(readable), i == 3 || i == 40 || i == 63) << i;
    }
    EXPECT_TRUE(connections[5].ours.IsInSet(writable));

    connections[3].ours.RemoveFromSet(all);
    connections[7].ours.Close(); // one of them
    EXPECT_EQ(wait(all), std::pair(-1L, ERR_INVALID));
    EXPECT_EQ(all.GetCount(), 63u);
}

} // namespace
