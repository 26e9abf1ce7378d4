// Faults hunted: neighbours, ends or counts that are wrong after any way of linking; an element left in two lists; a
// root that is not ready before constructors run.
#include <gtest/gtest.h>
#include <string>
#include <zelk_core/generics/dlist.h>

using Z4::DList;

namespace {

struct Letter {
    char letter;
    DList links;
};

std::string Text(DList::DRoot& root) {
    std::string forwards;
    for (DList& each : root) {
        forwards += DList::ElementOf<&Letter::links>(each).letter;
    }
    std::string backwards;
    for (auto it = root.end(); it != root.begin();) {
        backwards += DList::ElementOf<&Letter::links>(*--it).letter;
    }
    EXPECT_EQ(forwards, std::string(backwards.rbegin(), backwards.rend()));
    EXPECT_TRUE(forwards.size() == root.Size() && forwards.empty() == root.IsEmpty());
    return forwards;
}

constinit DList::DRoot g_early;

/// Links itself while static initialisers run.
struct EarlyBird {
    EarlyBird() { g_early.PushBack(letter.links); }
    Letter letter{'e', {}};
} g_bird;

} // namespace

TEST(DList, LinksAndUnlinksEverywhere) {
    Letter a{'a', {}};
    Letter b{'b', {}};
    Letter c{'c', {}};
    DList::DRoot root;
    DList::DRoot other;
    EXPECT_TRUE(root.PopFront() == nullptr && root.Back() == nullptr);
    root.PushBack(b.links);
    root.PushFront(a.links);
    root.PushBack(c.links);
    EXPECT_TRUE(Text(root) == "abc" && root.Front() == &a.links && root.Back() == &c.links);
    // An element that is linked moves, within its list and to another.
    root.PushBack(a.links);
    root.PushBack(a.links);
    EXPECT_EQ(Text(root), "bca");
    a.links.LinkBefore(c.links);
    EXPECT_EQ(Text(root), "bac");
    b.links.LinkAfter(a.links);
    b.links.LinkAfter(a.links);
    b.links.LinkAfter(b.links);
    EXPECT_EQ(Text(root), "abc");
    other.PushFront(b.links);
    EXPECT_EQ(Text(root) + Text(other), "acb");
    root.Append(other);
    root.Append(other);
    root.Append(root);
    EXPECT_EQ(Text(root) + '|' + Text(other), "acb|");
    other.Append(root);
    EXPECT_EQ(Text(root) + '|' + Text(other), "|acb");
    // A copy is not linked, and does not unlink.
    const Letter copy = c;
    EXPECT_FALSE(copy.links.IsLinked());
    c = copy;
    EXPECT_EQ(other.PopBack(), &b.links);
    b.links.Unlink();
    EXPECT_EQ(Text(other), "ac");
    other.Clear();
    EXPECT_FALSE(a.links.IsLinked() || b.links.IsLinked() || c.links.IsLinked() || !other.IsEmpty());
    // The element just passed may go.
    root.PushBack(a.links);
    root.PushBack(b.links);
    for (auto it = root.begin(); it != root.end();) {
        (it++)->Unlink();
    }
    EXPECT_EQ(Text(root), "");
}

TEST(DList, WorksBeforeConstructorsHaveRun) {
    EXPECT_EQ(Text(g_early), "e");
}
