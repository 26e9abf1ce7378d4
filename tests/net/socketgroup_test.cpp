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
    for (int step = 0; step < 20'000; ++step) {
        const long handle = static_cast<long>(random() % 90) * 4;
        const auto found = std::find(model.begin(), model.end(), handle);
        if (random() % 5 < 3) {
            group.Add(handle);
            if (found == model.end() && model.size() < 64) {
                model.push_back(handle);
            }
        } else {
            group.Remove(handle);
            if (found != model.end()) {
                model.erase(found);
            }
        }
        ASSERT_EQ(group.GetCount(), model.size()) << "seed " << SEED << ", step " << step;
        for (unsigned long i = 0; i < model.size(); ++i) {
            ASSERT_EQ(group.GetHandle(i), model[i]) << "seed " << SEED << ", step " << step;
        }
        ASSERT_EQ(group.IsInSet(handle), std::count(model.begin(), model.end(), handle) != 0);
    }
    EXPECT_EQ(group.GetHandle(group.GetCount()), -1);
    group.Clear();
    EXPECT_EQ(group.GetCount(), 0u);
}

TEST_F(SocketGroupTest, OneThreadServesManySockets) {
    constexpr unsigned SOCKETS = 65;
    std::vector<std::unique_ptr<Connection>> connections;
    BerkeleySocketGroup all;
    for (unsigned i = 0; i < SOCKETS; ++i) {
        connections.push_back(std::make_unique<Connection>());
        connections.back()->ours.AddToSet(all);
    }
    EXPECT_EQ(all.GetCount(), 64u);
    EXPECT_TRUE(connections[63]->ours.IsInSet(all));
    EXPECT_FALSE(connections[64]->ours.IsInSet(all)) << "there is no room for a 65th";

    unsigned long error = 0;
    BerkeleySocketGroup readable = all;
    EXPECT_EQ(BerkeleySocketGroup::Wait(&readable, nullptr, nullptr, 10, error), 0);
    EXPECT_EQ(error, static_cast<unsigned long>(ERR_TIMEOUT));
    EXPECT_EQ(readable.GetCount(), 0u);

    for (const unsigned i : {3u, 40u, 63u, 64u}) {
        send(connections[i]->raw, "x", 1, 0);
        ASSERT_TRUE(connections[i]->ours.Select(Socket::SELECT_READABLE));
    }
    readable = all;
    BerkeleySocketGroup writable;
    connections[5]->ours.AddToSet(writable);
    EXPECT_EQ(BerkeleySocketGroup::Wait(&readable, &writable, nullptr, 0xFFFFFFFF, error), 4);
    EXPECT_EQ(error, static_cast<unsigned long>(ERR_OK));
    EXPECT_EQ(readable.GetCount(), 3u);
    for (unsigned i = 0; i < SOCKETS; ++i) {
        EXPECT_EQ(connections[i]->ours.IsInSet(readable), i == 3 || i == 40 || i == 63) << i;
    }
    EXPECT_TRUE(connections[5]->ours.IsInSet(writable));

    connections[3]->ours.RemoveFromSet(all);
    EXPECT_FALSE(connections[3]->ours.IsInSet(all));
    DatagramSocket closed;
    closed.Close();
    closed.AddToSet(all);
    EXPECT_EQ(all.GetCount(), 63u) << "a closed socket is not put in";

    EXPECT_EQ(BerkeleySocketGroup::Wait(nullptr, nullptr, nullptr, 0, error), -1);
    EXPECT_EQ(error, static_cast<unsigned long>(ERR_INVALID));
    connections[7]->ours.Close();
    readable = all;
    EXPECT_EQ(BerkeleySocketGroup::Wait(&readable, nullptr, nullptr, 0, error), -1) << "one of them is closed";
    EXPECT_EQ(error, static_cast<unsigned long>(ERR_INVALID));
}

} // namespace
