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
    for (unsigned i = 0; i < SOCKETS; ++i) {
        connections[i].ours.AddToSet(all);
        EXPECT_EQ(connections[i].ours.IsInSet(all), i < 64) << "there is no room for a 65th";
    }
    const auto expectReady = [](long ready, Error error, BerkeleySocketGroup& readable, BerkeleySocketGroup* writable) {
        unsigned long reason = ERR_UNHANDLED;
        EXPECT_EQ(BerkeleySocketGroup::Wait(&readable, writable, nullptr, 10, reason), ready);
        EXPECT_EQ(reason, static_cast<unsigned long>(error));
    };
    BerkeleySocketGroup readable = all;
    expectReady(0, ERR_TIMEOUT, readable, nullptr);
    EXPECT_EQ(readable.GetCount(), 0u);

    for (const unsigned i : {3u, 40u, 63u, 64u}) {
        send(connections[i].raw, "x", 1, 0);
        ASSERT_TRUE(connections[i].ours.Select(Socket::SELECT_READABLE));
    }
    readable = all;
    BerkeleySocketGroup writable;
    connections[5].ours.AddToSet(writable);
    expectReady(4, ERR_OK, readable, &writable);
    for (unsigned i = 0; i < SOCKETS; ++i) {
        EXPECT_EQ(connections[i].ours.IsInSet(readable), i == 3 || i == 40 || i == 63) << i;
    }
    EXPECT_TRUE(connections[5].ours.IsInSet(writable));

    connections[3].ours.RemoveFromSet(all);
    DatagramSocket closed;
    closed.Close();
    closed.AddToSet(all);
    EXPECT_EQ(all.GetCount(), 63u) << "a closed socket is not put in";
    BerkeleySocketGroup none;
    expectReady(-1, ERR_INVALID, none, nullptr);
    connections[7].ours.Close(); // one of them
    expectReady(-1, ERR_INVALID, all, nullptr);
    EXPECT_EQ(all.GetCount(), 63u);
}

} // namespace
