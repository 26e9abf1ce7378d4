/// @file
/// An intrusive doubly linked list: the links lie within the elements, so that a list needs no memory of its own, never
/// fails, and can be used before any constructor has run.
///
/// Derive the element from DList, or give it one DList for each list that it is to be in at a time. Lists are not
/// synchronised.
///
///     struct Job {
///         int number;
///         DList links;
///     };
///     constinit DList::DRoot g_jobs;
///     g_jobs.PushBack(job.links);
///     for (DList& links : g_jobs) {
///         Run(DList::ElementOf<&Job::links>(links));
///     }
#pragma once

#include <zelk_core/base/assert.h>

#include <cstddef>
#include <iterator>

namespace Z4 {

/// An element's links. It must be unlinked before it goes, and its place must not change meanwhile; a copy is not
/// linked.
class DList {
public:
    class DRoot;
    class Iterator;

    constexpr DList() = default;
    constexpr DList(const DList&) : DList() {}
    /// Leaves both where they are.
    constexpr DList& operator=(const DList&) { return *this; } // NOLINT(bugprone-unhandled-self-assignment)

    [[nodiscard]] constexpr bool IsLinked() const { return m_next != nullptr; }

    /// Takes the element out of its list; does nothing when it is in none.
    constexpr void Unlink() {
        if (IsLinked()) {
            m_previous->m_next = m_next;
            m_next->m_previous = m_previous;
            m_next = nullptr;
            m_previous = nullptr;
        }
    }

    /// Puts the element beside `other`, which is in a list, after it was taken out of its own.
    constexpr void LinkBefore(DList& other) {
        Z4_ASSERT(other.IsLinked(), "The element beside which another is put is in a list.");
        if (this != &other) {
            Unlink();
            m_next = &other;
            m_previous = other.m_previous;
            m_previous->m_next = this;
            other.m_previous = this;
        }
    }
    constexpr void LinkAfter(DList& other) {
        Z4_ASSERT(other.IsLinked(), "The element beside which another is put is in a list.");
        if (this != &other) {
            Unlink();
            LinkBefore(*other.m_next);
        }
    }

    /// The element that has `links` as its member `LINKS`: `ElementOf<&Job::links>(links)`.
    template <auto LINKS>
    static auto& ElementOf(DList& links) {
        return ElementOfMember(links, LINKS);
    }

private:
    struct RootTag {};
    constexpr explicit DList(RootTag) : m_next(this), m_previous(this) {}

    template <class Element>
    static Element& ElementOfMember(DList& links, DList Element::*member) {
        // The distance is measured in a place where an element could be; compilers see through it.
        alignas(Element) static unsigned char place[sizeof(Element)];
        const auto* const inPlace =
            reinterpret_cast<const unsigned char*>(&(reinterpret_cast<Element*>(place)->*member));
        return *reinterpret_cast<Element*>(reinterpret_cast<unsigned char*>(&links) - (inPlace - place));
    }

    DList* m_next = nullptr;
    DList* m_previous = nullptr;
};

/// Goes over a list from end to end, both ways. The element that it stands on may be unlinked only after the iterator
/// has moved on; all others may come and go.
class DList::Iterator {
public:
    using iterator_category = std::bidirectional_iterator_tag;
    using value_type = DList;
    using difference_type = std::ptrdiff_t;
    using pointer = DList*;
    using reference = DList&;

    constexpr Iterator() = default;
    /// At an element that is in a list.
    constexpr explicit Iterator(DList& links) : m_links(&links) {}

    constexpr DList& operator*() const { return *Reached(); }
    constexpr DList* operator->() const { return Reached(); }

    constexpr Iterator& operator++() {
        m_links = Reached()->m_next;
        return *this;
    }
    constexpr Iterator& operator--() {
        m_links = Reached()->m_previous;
        return *this;
    }
    constexpr Iterator operator++(int) {
        const Iterator before = *this;
        ++*this;
        return before;
    }
    constexpr Iterator operator--(int) {
        const Iterator before = *this;
        --*this;
        return before;
    }

    friend constexpr bool operator==(const Iterator&, const Iterator&) = default;

private:
    constexpr DList* Reached() const {
        Z4_ASSERT(m_links != nullptr && m_links->IsLinked(), "What an iterator stands on is in a list.");
        return m_links;
    }

    DList* m_links = nullptr;
};

/// The list itself. A `constinit` global is ready before any other code of its module runs. It owns nothing: the list
/// must be empty, or its elements gone for good, when the root goes. A root stays in its place, as the elements at both
/// ends point to it.
class DList::DRoot {
public:
    constexpr DRoot() : m_ends(RootTag()) {}
    DRoot(const DRoot&) = delete;
    DRoot& operator=(const DRoot&) = delete;

    [[nodiscard]] constexpr bool IsEmpty() const { return m_ends.m_next == &m_ends; }
    /// Counts the elements, one by one.
    constexpr unsigned Size() const {
        unsigned size = 0;
        for (const DList* links = m_ends.m_next; links != &m_ends; links = links->m_next) {
            ++size;
        }
        return size;
    }

    constexpr Iterator begin() { return Iterator(*m_ends.m_next); }
    constexpr Iterator end() { return Iterator(m_ends); }

    /// The elements at the ends; null when the list is empty.
    constexpr DList* Front() { return IsEmpty() ? nullptr : m_ends.m_next; }
    constexpr DList* Back() { return IsEmpty() ? nullptr : m_ends.m_previous; }

    /// Puts the element there after it was taken out of the list that it was in, this one or another.
    constexpr void PushFront(DList& links) { links.LinkAfter(m_ends); }
    constexpr void PushBack(DList& links) { links.LinkBefore(m_ends); }

    /// Unlinks the element at one end. @return it, or null when the list is empty.
    constexpr DList* PopFront() { return Pop(Front()); }
    constexpr DList* PopBack() { return Pop(Back()); }

    /// Unlinks all.
    constexpr void Clear() {
        while (PopFront() != nullptr) {
        }
    }

    /// Moves all elements of `other` behind those of this list, in their order; nothing when it is this list.
    constexpr void Append(DRoot& other) {
        if (this == &other || other.IsEmpty()) {
            return;
        }
        DList* const first = other.m_ends.m_next;
        DList* const last = other.m_ends.m_previous;
        other.m_ends.m_next = &other.m_ends;
        other.m_ends.m_previous = &other.m_ends;
        first->m_previous = m_ends.m_previous;
        first->m_previous->m_next = first;
        last->m_next = &m_ends;
        m_ends.m_previous = last;
    }

private:
    static constexpr DList* Pop(DList* links) {
        if (links != nullptr) {
            links->Unlink();
        }
        return links;
    }

    DList m_ends; ///< closes the circle: behind it the first element, before it the last
};

} // namespace Z4
