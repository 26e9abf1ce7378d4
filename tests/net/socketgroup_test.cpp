// Hunted here: a set that grows over its end or loses its order, and sockets that a wait forgets or invents.
#include "rawsocket.h"

#include <algorithm>
#include <memory>
#include <random>
#include <vector>
#include <zelk_core/net/socketgroup.h>
#include <zelk_core/net/udpsocket.h>

namespace {

using namespace Z4;
using namespace ZelkTest;

using SocketGroupTest = NetworkTest;

TEST_F(SocketGroupTest, KeepsAnOrderedSetOf64) {
    constexpr unsigned SEED = 20250611;
    std::mt19937 random(SEED);
    BerkeleySocketGroup group;
    std::vector<long> model;
    for (int step = 0; step < 5'000; ++step) {
        const long handle = static_cast<long>(random() % 90) * 4;
        if (random() % 5 >= 3) {
            group.Remove(handle);
            std::erase(model, handle);
        } else {
            group.Add(handle);
            if (model.size() < 64 && std::find(model.begin(), model.end(), handle) == model.end()) {
                model.push_back(handle);
            }
        }
        std::vector<long> held;
        for (unsigned long i = 0; i < group.GetCount(); ++i) {
            held.push_back(group.GetHandle(i));
        }
        ASSERT_EQ(held, model) << "seed " << SEED << ", step " << step;
        ASSERT_EQ(group.IsInSet(handle), std::count(model.begin(), model.end(), handle) != 0);
    }
    EXPECT_EQ(group.GetHandle(group.GetCount()), -1);
    group.Clear();
    EXPECT_EQ(group.GetCount(), 0u);
}

/// How many sockets are ready to be read within 10 ms, or why none is.
std::pair<long, unsigned long> WaitToRead(BerkeleySocketGroup& group) {
    unsigned long error = ERR_UNHANDLED;
    const long ready = BerkeleySocketGroup::Wait(&group, nullptr, nullptr, 10, error);
    return {ready, error};
}

TEST_F(SocketGroupTest, OneThreadServesManySockets) {
    constexpr unsigned SOCKETS = 65;
    const auto connections = std::make_unique<Connection[]>(SOCKETS);
    BerkeleySocketGroup all;
    for (unsigned i = 0; i < SOCKETS; ++i) {
        connections[i].ours.AddToSet(all);
        EXPECT_EQ(connections[i].ours.IsInSet(all), i < 64) << "there is no room for a 65th";
    }
    BerkeleySocketGroup readable = all;
    EXPECT_EQ(WaitToRead(readable), std::pair(0L, static_cast<unsigned long>(ERR_TIMEOUT)));
    EXPECT_EQ(readable.GetCount(), 0u);

    for (const unsigned i : {3u, 40u, 63u, 64u}) {
        send(connections[i].raw, "x", 1, 0);
        ASSERT_TRUE(connections[i].ours.Select(Socket::SELECT_READABLE));
    }
    readable = all;
    BerkeleySocketGroup writable;
    connections[5].ours.AddToSet(writable);
    unsigned long error = ERR_UNHANDLED;
    EXPECT_EQ(BerkeleySocketGroup::Wait(&readable, &writable, nullptr, 0xFFFFFFFF, error), 4);
    EXPECT_EQ(error, static_cast<unsigned long>(ERR_OK));
    for (unsigned i = 0; i < SOCKETS; ++i) {
        EXPECT_EQ(connections[i].ours.IsInSet(readable), i == 3 || i == 40 || i == 63) << i;
    }
    EXPECT_TRUE(connections[5].ours.IsInSet(writable));

    connections[3].ours.RemoveFromSet(all);
    DatagramSocket closed;
    closed.Close();
    closed.AddToSet(all);
    EXPECT_EQ(all.GetCount(), 63u) << "a closed socket is not put in";

    const std::pair invalid(-1L, static_cast<unsigned long>(ERR_INVALID));
    BerkeleySocketGroup none;
    EXPECT_EQ(WaitToRead(none), invalid);
    connections[7].ours.Close();
    EXPECT_EQ(WaitToRead(all), invalid) << "one of them is closed";
    EXPECT_EQ(all.GetCount(), 63u);
}

} // namespace
