// Faults hunted: neighbours, ends or counts that are wrong after any way of linking; an element left in two lists; a
// root that is not ready before constructors run.
#include <gtest/gtest.h>
#include <string>
#include <zelk_core/generics/dlist.h>

using Z4::DList;

namespace {

struct Letter {
    char letter;
    DList byUse;
    DList byName;
};

std::string Text(DList::DRoot& root) {
    std::string forwards;
    for (DList& links : root) {
        forwards += DList::ElementOf<&Letter::byName>(links).letter;
    }
    std::string backwards;
    for (auto it = root.end(); it != root.begin();) {
        backwards += DList::ElementOf<&Letter::byName>(*--it).letter;
    }
    EXPECT_EQ(forwards, std::string(backwards.rbegin(), backwards.rend()));
    EXPECT_TRUE(forwards.size() == root.Size() && forwards.empty() == root.IsEmpty());
    return forwards;
}

constinit DList::DRoot g_early;

/// Links itself while static initialisers run.
struct EarlyBird {
    EarlyBird() { g_early.PushBack(letter.byName); }
    Letter letter{'e', {}, {}};
} g_bird;

} // namespace

TEST(DList, LinksAndUnlinksEverywhere) {
    Letter a{'a', {}, {}};
    Letter b{'b', {}, {}};
    Letter c{'c', {}, {}};
    DList::DRoot root;
    DList::DRoot other;
    EXPECT_TRUE(root.PopFront() == nullptr && root.Back() == nullptr);
    root.PushBack(b.byName);
    root.PushFront(a.byName);
    root.PushBack(c.byName);
    EXPECT_TRUE(Text(root) == "abc" && root.Front() == &a.byName && root.Back() == &c.byName);
    // An element that is linked moves, within its list and to another.
    root.PushBack(a.byName);
    root.PushBack(a.byName);
    EXPECT_EQ(Text(root), "bca");
    a.byName.LinkBefore(c.byName);
    EXPECT_EQ(Text(root), "bac");
    b.byName.LinkAfter(a.byName);
    b.byName.LinkAfter(a.byName);
    b.byName.LinkAfter(b.byName);
    EXPECT_EQ(Text(root), "abc");
    other.PushFront(b.byName);
    EXPECT_EQ(Text(root) + Text(other), "acb");
    root.Append(other);
    root.Append(other);
    root.Append(root);
    EXPECT_EQ(Text(root) + '|' + Text(other), "acb|");
    other.Append(root);
    EXPECT_EQ(Text(root) + '|' + Text(other), "|acb");
    // A copy is not linked, and does not unlink.
    const Letter copy = c;
    EXPECT_FALSE(copy.byName.IsLinked());
    c = copy;
    EXPECT_EQ(other.PopBack(), &b.byName);
    b.byName.Unlink();
    EXPECT_EQ(Text(other), "ac");
    other.Clear();
    EXPECT_FALSE(a.byName.IsLinked() || b.byName.IsLinked() || c.byName.IsLinked() || !other.IsEmpty());
}

TEST(DList, TheElementJustPassedMayGo) {
    Letter letters[] = {{'a', {}, {}}, {'b', {}, {}}};
    DList::DRoot root;
    DList::DRoot byUse;
    for (Letter& letter : letters) {
        root.PushBack(letter.byName);
        byUse.PushFront(letter.byUse);
    }
    for (auto it = root.begin(); it != root.end();) {
        (it++)->Unlink();
    }
    EXPECT_TRUE(root.IsEmpty() && byUse.Size() == 2 && DList::ElementOf<&Letter::byUse>(*byUse.Front()).letter == 'b');
    byUse.Clear();
}

TEST(DList, WorksBeforeConstructorsHaveRun) {
    EXPECT_EQ(Text(g_early), "e");
}
