/// @file
/// A doubly linked list whose links lie within its elements: it needs no memory of its own, nothing can fail, and it
/// can be used before any constructor has run.
///
/// Derive the class of the elements from DList, or give it one DList as a member for each list that an element can be
/// in at the same time. A list and its elements are used by one thread at a time.
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

/// The links of one element, used by one thread at a time together with its list. While it is in a list, an element
/// must stay where it is in memory; Unlink() it before it is destroyed. A copy of an element is in no list.
class DList {
public:
    class DRoot;
    class Iterator;

    constexpr DList() = default;
    constexpr DList(const DList&) : DList() {}
    /// Changes nothing: both elements stay where they are, each in its list or in none.
    constexpr DList& operator=(const DList&) { return *this; } // NOLINT(bugprone-unhandled-self-assignment)

    [[nodiscard]] constexpr bool IsLinked() const { return m_next != nullptr; }

    /// Takes the element out of its list. Does nothing when it is in none.
    constexpr void Unlink() {
        if (IsLinked()) {
            m_previous->m_next = m_next;
            m_next->m_previous = m_previous;
            m_next = nullptr;
            m_previous = nullptr;
        }
    }

    /// Takes the element out of the list that it is in, if any, and puts it next to `other`, which is in a list. Does
    /// nothing when `other` is this element.
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
            LinkBefore(*other.m_next);
        }
    }

    /// The element of which `links` is the member `LINKS`: `ElementOf<&Job::links>(links)`.
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

/// Goes over a list in both directions, on the thread that uses the list. The element at which an iterator stands must
/// not be unlinked; move the iterator on first. All others may come and go meanwhile.
class DList::Iterator {
public:
    using iterator_category = std::bidirectional_iterator_tag;
    using value_type = DList;
    using difference_type = std::ptrdiff_t;
    using pointer = DList*;
    using reference = DList&;

    constexpr Iterator() = default;
    /// Stands at an element, which is in a list.
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

/// The list itself, used by one thread at a time. A `constinit` global is ready before any code of its module runs. A
/// list owns nothing: before it is destroyed, Clear() it, unless its elements are never used again. It must stay where
/// it is in memory, as the elements at its ends point to it.
class DList::DRoot {
public:
    constexpr DRoot() : m_ends(RootTag()) {}
    DRoot(const DRoot&) = delete;
    DRoot& operator=(const DRoot&) = delete;

    [[nodiscard]] constexpr bool IsEmpty() const { return m_ends.m_next == &m_ends; }
    /// Counts the elements one by one.
    constexpr unsigned Size() const {
        unsigned size = 0;
        for (const DList* links = m_ends.m_next; links != &m_ends; links = links->m_next) {
            ++size;
        }
        return size;
    }

    constexpr Iterator begin() { return Iterator(*m_ends.m_next); }
    constexpr Iterator end() { return Iterator(m_ends); }

    /// The first and the last element; null when the list is empty.
    constexpr DList* Front() { return IsEmpty() ? nullptr : m_ends.m_next; }
    constexpr DList* Back() { return IsEmpty() ? nullptr : m_ends.m_previous; }

    /// Takes the element out of the list that it is in, this one included, and puts it at that end of this list.
    constexpr void PushFront(DList& links) { links.LinkAfter(m_ends); }
    constexpr void PushBack(DList& links) { links.LinkBefore(m_ends); }

    /// Takes the element at that end out of the list.
    /// @return it; null when the list is empty.
    constexpr DList* PopFront() { return Pop(Front()); }
    constexpr DList* PopBack() { return Pop(Back()); }

    /// Takes all elements out of the list.
    constexpr void Clear() {
        while (PopFront() != nullptr) {
        }
    }

    /// Moves all elements of `other` behind those of this list, in their order. Does nothing when `other` is this list.
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
