/// @file
/// The balanced tree under Map. It links nodes and keeps the tree low; Map compares, allocates and frees them.
///
/// It is a red-black tree (Guibas and Sedgewick, "A Dichromatic Framework for Balanced Trees", 1978; insertion and
/// removal after Cormen, Leiserson, Rivest and Stein, "Introduction to Algorithms", chapter 13): a red node has no red
/// child, and every way from the root down to a missing child passes the same number of black nodes. So with n nodes no
/// way is longer than 2 log2(n + 1).
#pragma once

#include <zelk_core/base/assert.h>

namespace Z4::Private {

/// Side 0 is that of the lesser nodes, side 1 that of the greater ones.
struct TreeNode {
    TreeNode* parent;
    TreeNode* child[2]; ///< by side; null where there is none
    unsigned isRed;     ///< 1 or 0
};

/// A tree stays where it is in memory while it has nodes: the root points to it.
class RedBlackTree {
public:
    constexpr RedBlackTree() = default;
    RedBlackTree(const RedBlackTree&) = delete;
    RedBlackTree& operator=(const RedBlackTree&) = delete;

    /// Null when the tree is empty.
    TreeNode* Root() const { return m_head.child[0]; }
    /// The least node; Head() when the tree is empty.
    TreeNode* First() const { return m_first; }
    /// A node that belongs to the tree itself: it stands behind the last one, and is the parent of the root.
    TreeNode* Head() { return &m_head; }
    const TreeNode* Head() const { return &m_head; }
    unsigned Size() const { return m_size; }

    /// The next node in order when `side` is 1, the one before when it is 0. There must be one: none comes after
    /// Head(), and none before First().
    static TreeNode* Step(TreeNode* node, unsigned side) {
        if (node->child[side] != nullptr) {
            return Outermost(node->child[side], 1 - side);
        }
        for (;; node = node->parent) {
            Z4_ASSERT(node->parent != nullptr, "An iterator goes neither beyond the end nor before the begin.");
            if (node != node->parent->child[side]) {
                return node->parent;
            }
        }
    }

    /// Puts `node` into the place `parent.child[side]`, which must be free and the right one in order.
    void Insert(TreeNode& node, TreeNode& parent, unsigned side) {
        node = {&parent, {nullptr, nullptr}, 1};
        parent.child[side] = &node;
        if (m_first == &parent && side == 0) {
            m_first = &node;
        }
        ++m_size;
        SeparateReds(&node);
    }

    /// Takes `node`, which is in this tree, out of it.
    void Erase(TreeNode& node) {
        if (m_first == &node) {
            m_first = Step(&node, 1);
        }
        --m_size;
        Place place{};
        bool tookBlack = false;
        if (node.child[0] != nullptr && node.child[1] != nullptr) {
            // The next node leaves its own place, in which it has no lesser child, and takes over this one.
            TreeNode& next = *Outermost(node.child[1], 0);
            tookBlack = next.isRed == 0;
            if (next.parent == &node) {
                place = {&next, 1};
            } else {
                place = {next.parent, 0};
                Replace(next, next.child[1]);
                Attach(next, 1, node.child[1]);
            }
            Replace(node, &next);
            Attach(next, 0, node.child[0]);
            next.isRed = node.isRed;
        } else {
            tookBlack = node.isRed == 0;
            place = {node.parent, SideOf(node)};
            Replace(node, node.child[node.child[0] == nullptr ? 1 : 0]);
        }
        if (tookBlack) {
            RestoreBlack(place);
        }
    }

    /// Forgets all nodes, and takes over the whole tree under `root` (null for none) with its `size` nodes.
    void Adopt(TreeNode* root, unsigned size) {
        m_head.child[0] = nullptr;
        m_first = &m_head;
        m_size = size;
        if (root != nullptr) {
            Attach(m_head, 0, root);
            m_first = Outermost(root, 0);
        }
    }

    void Swap(RedBlackTree& other) {
        TreeNode* const root = Root();
        const unsigned size = m_size;
        Adopt(other.Root(), other.m_size);
        other.Adopt(root, size);
    }

private:
    /// A parent and one of its sides.
    struct Place {
        TreeNode* parent;
        unsigned side;
    };

    static bool IsRed(const TreeNode* node) { return node != nullptr && node->isRed != 0; }

    static unsigned SideOf(const TreeNode& node) { return node.parent->child[1] == &node ? 1 : 0; }

    static TreeNode* Outermost(TreeNode* node, unsigned side) {
        while (node->child[side] != nullptr) {
            node = node->child[side];
        }
        return node;
    }

    static void Attach(TreeNode& parent, unsigned side, TreeNode* child) {
        parent.child[side] = child;
        if (child != nullptr) {
            child->parent = &parent;
        }
    }

    static void Replace(TreeNode& node, TreeNode* other) { Attach(*node.parent, SideOf(node), other); }

    /// Moves `node` down to its `side`; the child from the other side, which must exist, comes up into its place.
    static void Rotate(TreeNode& node, unsigned side) {
        TreeNode& child = *node.child[1 - side];
        Attach(node, 1 - side, child.child[side]);
        Replace(node, &child);
        Attach(child, side, &node);
    }

    /// Mends what a new red node below a red parent breaks.
    void SeparateReds(TreeNode* node) {
        while (node->parent->isRed != 0) { // Neither the head nor the root is red.
            TreeNode* parent = node->parent;
            TreeNode& grandparent = *parent->parent;
            const unsigned side = SideOf(*parent);
            TreeNode* const uncle = grandparent.child[1 - side];
            if (IsRed(uncle)) {
                parent->isRed = 0;
                uncle->isRed = 0;
                grandparent.isRed = 1;
                node = &grandparent;
                continue;
            }
            if (SideOf(*node) != side) {
                Rotate(*parent, side);
                parent = node;
            }
            parent->isRed = 0;
            grandparent.isRed = 1;
            Rotate(grandparent, 1 - side);
            break;
        }
        Root()->isRed = 0;
    }

    /// Mends what the loss of a black node at `place` breaks: all ways through it are one black node short.
    void RestoreBlack(Place place) {
        TreeNode* node = place.parent->child[place.side];
        while (place.parent != &m_head && !IsRed(node)) {
            TreeNode& parent = *place.parent;
            const unsigned side = place.side;
            if (IsRed(parent.child[1 - side])) {
                parent.child[1 - side]->isRed = 0;
                parent.isRed = 1;
                Rotate(parent, side);
            }
            TreeNode* sibling = parent.child[1 - side]; // Black, and it exists: its side is not short.
            if (!IsRed(sibling->child[0]) && !IsRed(sibling->child[1])) {
                sibling->isRed = 1;
                node = &parent;
                place = {node->parent, SideOf(*node)};
                continue;
            }
            if (!IsRed(sibling->child[1 - side])) {
                sibling->isRed = 1;
                Rotate(*sibling, 1 - side);
                sibling = parent.child[1 - side];
            }
            sibling->isRed = parent.isRed;
            parent.isRed = 0;
            sibling->child[1 - side]->isRed = 0;
            Rotate(parent, side);
            return;
        }
        if (node != nullptr) {
            node->isRed = 0;
        }
    }

    TreeNode m_head{}; ///< the root is its lesser child
    TreeNode* m_first = &m_head;
    unsigned m_size = 0;
};

} // namespace Z4::Private
