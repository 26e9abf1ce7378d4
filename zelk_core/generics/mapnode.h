/// @file
/// The nodes of Map's tree, with an entry in each, and how they come and go.
#pragma once

#include <new>
#include <utility>
#include <zelk_core/generics/redblacktree.h>

namespace Z4::Private {

template <class Entry>
struct MapNode : TreeNode {
    template <class Key, class... Arguments>
    explicit MapNode(Key&& key, Arguments&&... arguments)
        : TreeNode(), entry{std::forward<Key>(key), decltype(Entry::value)(std::forward<Arguments>(arguments)...)} {}

    Entry entry;
};

/// Nodes in the memory of `Allocator`, an EalAllocator.
template <class Entry, class Allocator>
struct MapNodes {
    using Node = MapNode<Entry>;

    /// A node with an entry that is made from a key and the arguments for its value; null when memory is refused, and
    /// then the arguments were not touched.
    template <class... Arguments>
    static Node* Create(Arguments&&... arguments) {
        Node* const memory = Allocator::template Allocate<Node>(1);
        return memory == nullptr ? nullptr
                                 : ::new (static_cast<void*>(memory)) Node(std::forward<Arguments>(arguments)...);
    }
    static void Destroy(TreeNode* node) {
        static_cast<Node*>(node)->~Node();
        Allocator::Free(static_cast<Node*>(node));
    }
    /// Destroys `node`, which may be null, and all below it. Recursion goes as deep as the tree is high.
    static void DestroySubtree(TreeNode* node) {
        while (node != nullptr) {
            DestroySubtree(node->child[1]);
            TreeNode* const lesser = node->child[0];
            Destroy(node);
            node = lesser;
        }
    }

    /// A copy of the subtree, null for null; null also when memory is refused, and then nothing of it is left.
    static TreeNode* Clone(const TreeNode* source) {
        if (source == nullptr) {
            return nullptr;
        }
        const Entry& entry = static_cast<const Node*>(source)->entry;
        Node* const node = Create(entry.key, entry.value);
        if (node == nullptr) {
            return nullptr;
        }
        node->isRed = source->isRed;
        for (const unsigned side : {0U, 1U}) {
            TreeNode* const child = Clone(source->child[side]);
            if (child != nullptr) {
                node->child[side] = child;
                child->parent = node;
            } else if (source->child[side] != nullptr) {
                DestroySubtree(node);
                return nullptr;
            }
        }
        return node;
    }
};

} // namespace Z4::Private
