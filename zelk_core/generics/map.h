/// @file
/// An ordered map: keys without repetition, each with a value, in ascending order.
///
/// A red-black tree (source: redblacktree.h): search, insertion and removal take O(log n) comparisons. Entries never
/// move in memory: pointers, references and iterators to an entry are good until that entry is erased.
///
/// When the host refuses memory, an insertion has no effect and answers end(); a copy is left empty, be it constructed
/// or assigned. Nothing else needs memory. Maps are not synchronised; several threads may read one.
#pragma once

#include <compare>
#include <cstddef>
#include <initializer_list>
#include <iterator>
#include <new>
#include <type_traits>
#include <utility>
#include <zelk_core/base/assert.h>
#include <zelk_core/generics/ealallocator.h>
#include <zelk_core/generics/redblacktree.h>

namespace Z4 {

template <class Key, class T>
struct MapEntry {
    const Key key;
    T value;

    friend bool operator==(const MapEntry& left, const MapEntry& right) {
        return left.key == right.key && left.value == right.value;
    }
};

/// Orders keys by their operator<.
template <class Key>
struct MapOrder {
    constexpr bool operator()(const Key& left, const Key& right) const { return left < right; }
};

namespace Private {

template <class Entry>
struct MapNode : TreeNode {
    template <class Key, class... Arguments>
    explicit MapNode(Key&& key, Arguments&&... arguments)
        : TreeNode(), entry{std::forward<Key>(key), decltype(Entry::value)(std::forward<Arguments>(arguments)...)} {}

    Entry entry;
};

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

} // namespace Private

/// @tparam Order a stateless function object that says whether the first of two keys comes before the second; keys of
/// which neither does are the same.
/// @tparam Allocator an EalAllocator.
template <class Key, class T, class Order = MapOrder<Key>, class Allocator = ZelkAllocator>
class Map {
    using Node = Private::MapNode<MapEntry<Key, T>>;
    using TreeNode = Private::TreeNode;

public:
    using Entry = MapEntry<Key, T>;
    using Iterator = Private::MapIterator<Entry, Entry>;
    using ConstIterator = Private::MapIterator<Entry, const Entry>;

    struct InsertResult {
        Iterator position; ///< the entry with that key, new or not; end() when memory was refused
        bool inserted;
    };

    constexpr Map() = default;
    constexpr explicit Map(const typename Allocator::Context&) {}
    /// As by Insert(); memory that is refused leaves the map with the entries before.
    Map(std::initializer_list<Entry> entries) { Insert(entries.begin(), entries.end()); }
    Map(const Map& other) { CopyFrom(other); }
    /// Leaves `other` empty.
    Map(Map&& other) noexcept { Swap(other); }
    ~Map() { Clear(); }

    Map& operator=(const Map& other) {
        if (this != &other) {
            Clear();
            CopyFrom(other);
        }
        return *this;
    }
    /// Leaves `other` empty.
    Map& operator=(Map&& other) noexcept {
        if (this != &other) {
            Clear();
            Swap(other);
        }
        return *this;
    }

    [[nodiscard]] bool IsEmpty() const { return Size() == 0; }
    unsigned Size() const { return m_tree.Size(); }

    /// An end() stays what it is as long as the map is neither moved, swapped nor destroyed.
    Iterator begin() { return Iterator(m_tree.First()); }
    Iterator end() { return Iterator(m_tree.Head()); }
    ConstIterator begin() const { return ConstIterator(m_tree.First()); }
    ConstIterator end() const { return ConstIterator(Head()); }
    std::reverse_iterator<Iterator> rbegin() { return std::reverse_iterator(end()); }
    std::reverse_iterator<Iterator> rend() { return std::reverse_iterator(begin()); }
    std::reverse_iterator<ConstIterator> rbegin() const { return std::reverse_iterator(end()); }
    std::reverse_iterator<ConstIterator> rend() const { return std::reverse_iterator(begin()); }

    /// end() when there is none.
    [[nodiscard]] Iterator Find(const Key& key) { return Iterator(FindNode(key)); }
    [[nodiscard]] ConstIterator Find(const Key& key) const { return ConstIterator(FindNode(key)); }
    [[nodiscard]] bool Contains(const Key& key) const { return Find(key) != end(); }
    /// The key's value; null when there is none.
    [[nodiscard]] T* FindValue(const Key& key) { return ValueOf(FindNode(key)); }
    [[nodiscard]] const T* FindValue(const Key& key) const { return ValueOf(FindNode(key)); }

    /// The first entry whose key does not come before `key`; end() when there is none.
    [[nodiscard]] Iterator LowerBound(const Key& key) { return Iterator(LowerBoundNode(key)); }
    [[nodiscard]] ConstIterator LowerBound(const Key& key) const { return ConstIterator(LowerBoundNode(key)); }
    /// The first entry whose key comes after `key`; end() when there is none.
    [[nodiscard]] Iterator UpperBound(const Key& key) { return Iterator(UpperBoundNode(key)); }
    [[nodiscard]] ConstIterator UpperBound(const Key& key) const { return ConstIterator(UpperBoundNode(key)); }

    /// Adds an entry unless its key is there already, in which case that entry stays as it is.
    InsertResult Insert(const Key& key, const T& value) { return Emplace(key, value); }
    InsertResult Insert(Key&& key, T&& value) { return Emplace(std::move(key), std::move(value)); }
    /// The same with the entries from `first` to before `last`, iterators of what has a `key` and a `value`.
    /// @return false when memory was refused; the entries before are in.
    template <class InputIterator>
    bool Insert(InputIterator first, InputIterator last) requires requires {
        first->key, first->value;
    }
    {
        for (; first != last; ++first) {
            if (Emplace(first->key, first->value).position == end()) {
                return false;
            }
        }
        return true;
    }
    /// As Insert(), with the value made in its place from `arguments`; they are not touched when the key is there.
    template <class... Arguments>
    InsertResult Emplace(const Key& key, Arguments&&... arguments) {
        return EmplaceKey(key, std::forward<Arguments>(arguments)...);
    }
    template <class... Arguments>
    InsertResult Emplace(Key&& key, Arguments&&... arguments) {
        return EmplaceKey(std::move(key), std::forward<Arguments>(arguments)...);
    }
    /// Adds an entry, or gives the one with this key the new value.
    template <class Value>
    InsertResult InsertOrAssign(const Key& key, Value&& value) {
        const InsertResult result = Emplace(key, std::forward<Value>(value));
        if (!result.inserted && result.position != end()) {
            result.position->value = std::forward<Value>(value); // Emplace() did not touch it.
        }
        return result;
    }

    /// `key` may be that of the entry itself.
    /// @return whether there was such an entry.
    bool Erase(const Key& key) {
        const ConstIterator found = Find(key);
        if (found == end()) {
            return false;
        }
        Erase(found);
        return true;
    }
    /// @param position not end().
    /// @return the entry that follows.
    Iterator Erase(ConstIterator position) {
        Z4_ASSERT(position.IsAtEntry(), "An entry that is erased is not end().");
        TreeNode* const node = position.Node();
        const Iterator next(Private::RedBlackTree::Step(node, 1));
        m_tree.Erase(*node);
        Destroy(node);
        return next;
    }
    /// Erases from `first` to before `last`. @return `last`.
    Iterator Erase(ConstIterator first, ConstIterator last) {
        while (first != last) {
            first = Erase(first);
        }
        return Iterator(last.Node());
    }
    /// Erases every entry for which `predicate(const Entry&)` is true. @return how many.
    template <class Predicate>
    unsigned EraseIf(Predicate predicate) {
        const unsigned before = Size();
        for (Iterator it = begin(); it != end();) {
            it = predicate(std::as_const(*it)) ? Erase(it) : std::next(it);
        }
        return before - Size();
    }
    void Clear() {
        TreeNode* const root = m_tree.Root();
        m_tree.Adopt(nullptr, 0); // First, so that a destructor that looks finds an empty map.
        DestroySubtree(root);
    }

    /// Iterators keep to their entries, which are in the other map then.
    void Swap(Map& other) noexcept { m_tree.Swap(other.m_tree); }

    /// Entry by entry with == of keys and values.
    friend bool operator==(const Map& left, const Map& right) {
        if (left.Size() != right.Size()) {
            return false;
        }
        for (ConstIterator l = left.begin(), r = right.begin(); l != left.end(); ++l, ++r) {
            if (!(*l == *r)) {
                return false;
            }
        }
        return true;
    }
    /// The first difference decides: between keys by `Order`, between values by <; of two maps that begin alike the
    /// shorter is the lesser.
    friend std::weak_ordering operator<=>(const Map& left, const Map& right) {
        ConstIterator l = left.begin();
        ConstIterator r = right.begin();
        for (; l != left.end() && r != right.end(); ++l, ++r) {
            if (IsBefore(l->key, r->key) || IsBefore(r->key, l->key)) {
                return IsBefore(l->key, r->key) ? std::weak_ordering::less : std::weak_ordering::greater;
            }
            if (l->value < r->value || r->value < l->value) {
                return l->value < r->value ? std::weak_ordering::less : std::weak_ordering::greater;
            }
        }
        return left.Size() <=> right.Size();
    }

private:
    friend struct MapProbe;

    static bool IsBefore(const Key& left, const Key& right) { return Order()(left, right); }
    static const Key& KeyOf(const TreeNode* node) { return static_cast<const Node*>(node)->entry.key; }

    TreeNode* Head() const { return const_cast<Map*>(this)->m_tree.Head(); }

    // No branch depends on a comparison, as none could be foretold.
    TreeNode* LowerBoundNode(const Key& key) const {
        TreeNode* bound = Head();
        for (TreeNode* node = m_tree.Root(); node != nullptr;) {
            const bool isBefore = IsBefore(KeyOf(node), key);
            bound = isBefore ? bound : node;
            node = node->child[isBefore ? 1 : 0];
        }
        return bound;
    }
    TreeNode* UpperBoundNode(const Key& key) const {
        TreeNode* const bound = LowerBoundNode(key);
        return bound != Head() && !IsBefore(key, KeyOf(bound)) ? Private::RedBlackTree::Step(bound, 1) : bound;
    }
    TreeNode* FindNode(const Key& key) const {
        TreeNode* const bound = LowerBoundNode(key);
        return bound != Head() && IsBefore(key, KeyOf(bound)) ? Head() : bound;
    }
    T* ValueOf(TreeNode* node) const { return node == Head() ? nullptr : &static_cast<Node*>(node)->entry.value; }

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
    static void DestroySubtree(TreeNode* node) {
        while (node != nullptr) {
            DestroySubtree(node->child[1]);
            TreeNode* const lesser = node->child[0];
            Destroy(node);
            node = lesser;
        }
    }

    template <class AnyKey, class... Arguments>
    InsertResult EmplaceKey(AnyKey&& key, Arguments&&... arguments) {
        TreeNode* parent = m_tree.Head();
        unsigned side = 0;
        TreeNode* bound = parent;
        for (TreeNode* node = m_tree.Root(); node != nullptr; node = node->child[side]) {
            parent = node;
            side = IsBefore(KeyOf(node), key) ? 1 : 0;
            bound = side != 0 ? bound : node;
        }
        if (bound != Head() && !IsBefore(key, KeyOf(bound))) {
            return {Iterator(bound), false};
        }
        Node* const node = Create(std::forward<AnyKey>(key), std::forward<Arguments>(arguments)...);
        if (node == nullptr) {
            return {end(), false};
        }
        m_tree.Insert(*node, *parent, side);
        return {Iterator(node), true};
    }

    void CopyFrom(const Map& other) {
        if (TreeNode* const root = Clone(other.m_tree.Root()); root != nullptr) {
            m_tree.Adopt(root, other.Size());
        }
    }
    /// A copy of the subtree; null when memory is refused, and then nothing of it is left.
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

    Private::RedBlackTree m_tree;
};

} // namespace Z4
