/// @file
/// How Map goes over its entries.
#pragma once

#include <cstddef>
#include <iterator>
#include <type_traits>
#include <zelk_core/base/assert.h>
#include <zelk_core/generics/mapnode.h>
#include <zelk_core/generics/redblacktree.h>

namespace Z4::Private {

/// Map::Iterator and Map::ConstIterator.
/// @tparam Reached Entry or const Entry.
template <class Entry, class Reached>
class MapIterator {
public:
    using iterator_category = std::bidirectional_iterator_tag;
    using value_type = Entry;
    using difference_type = std::ptrdiff_t;
    using pointer = Reached*;
    using reference = Reached&;

    constexpr MapIterator() = default;
    constexpr explicit MapIterator(TreeNode* node) : m_node(node) {}
    /// An iterator is also a constant one.
    template <class Other>
    constexpr MapIterator(const MapIterator<Entry, Other>& other) requires(std::is_const_v<Reached> &&
                                                                           !std::is_const_v<Other>)
        : m_node(other.Node()) {}

    Reached& operator*() const {
        Z4_ASSERT(IsAtEntry(), "An iterator that is followed stands at an entry.");
        return static_cast<MapNode<Entry>*>(m_node)->entry;
    }
    Reached* operator->() const { return &**this; }

    MapIterator& operator++() {
        m_node = RedBlackTree::Step(m_node, 1);
        return *this;
    }
    MapIterator& operator--() {
        m_node = RedBlackTree::Step(m_node, 0);
        return *this;
    }
    MapIterator operator++(int) {
        const MapIterator before = *this;
        ++*this;
        return before;
    }
    MapIterator operator--(int) {
        const MapIterator before = *this;
        --*this;
        return before;
    }

    friend constexpr bool operator==(const MapIterator& left, const MapIterator& right) = default;

    constexpr TreeNode* Node() const { return m_node; }
    /// Whether this is neither an end() nor without a map: only the tree's head has no parent.
    constexpr bool IsAtEntry() const { return m_node != nullptr && m_node->parent != nullptr; }

private:
    TreeNode* m_node = nullptr;
};

} // namespace Z4::Private
