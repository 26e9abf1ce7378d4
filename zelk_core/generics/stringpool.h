/// @file
/// Many texts of which each is stored once: what is added again gives the same number and the same address.
///
/// For names that occur often and live long, like those of functions and files. Texts are never moved and never removed
/// one by one.
#pragma once

#include <bit>
#include <cstring>
#include <utility>
#include <zelk_core/base/api.h>
#include <zelk_core/base/error.h>
#include <zelk_core/base/hash.h>
#include <zelk_core/base/hostnew.h>
#include <zelk_core/base/strview.h>
#include <zelk_core/os/autolock.h>

namespace Z4 {

namespace Private {

/// Up to `LIMIT` elements in segments, each as large as all before it together, so that none ever moves and a program
/// with few of them has little memory. Who calls takes care of threads.
template <class T, unsigned long FIRST, unsigned long LIMIT>
class Segments {
public:
    Segments() = default;
    ~Segments() { Clear(); }
    Segments(const Segments&) = delete;
    Segments& operator=(const Segments&) = delete;

    T& operator[](unsigned long index) const {
        const unsigned long segment = SegmentOf(index);
        return m_segments[segment][index - BeginOf(segment)];
    }
    static unsigned long SegmentOf(unsigned long index) {
        return index < FIRST ? 0 : static_cast<unsigned long>(std::bit_width(index / FIRST));
    }
    static unsigned long BeginOf(unsigned long segment) { return segment == 0 ? 0 : FIRST << (segment - 1); }
    static unsigned long SizeOf(unsigned long segment) { return segment == 0 ? FIRST : FIRST << (segment - 1); }

    bool Has(unsigned long segment) const { return m_segments[segment] != nullptr; }
    /// Takes over memory for a segment that is missing.
    void Give(unsigned long segment, void* memory) { m_segments[segment] = static_cast<T*>(memory); }
    void Clear() {
        for (T*& segment : m_segments) {
            FreeToHost(segment);
            segment = nullptr;
        }
    }

private:
    static_assert(std::has_single_bit(FIRST) && std::has_single_bit(LIMIT) && FIRST <= LIMIT);
    static constexpr unsigned long COUNT = static_cast<unsigned long>(std::bit_width(LIMIT / FIRST));

    T* m_segments[COUNT] = {};
};

} // namespace Private

/// The pool. Any thread may call any function at any time but Clear() and the destructor, which must be alone.
///
/// It takes memory from the host piece by piece, each about as large as what it has, and gives it back at the end or by
/// Clear(). The host is never called while the lock is held, and what happens under the lock is short: the table of
/// texts grows by one entry at a time (linear hashing; Litwin, "Linear Hashing: A New Tool for File and Table
/// Addressing", 1980).
///
/// @tparam Lock guards additions: a class with Lock() and Unlock(), NulLock for a pool of one thread.
template <class Lock>
class StringPool {
public:
    static constexpr unsigned long LONGEST = 65535;         ///< characters that a text can have
    static constexpr unsigned long MOST_BYTES = 0x04000000; ///< that a pool takes up for texts, 64 MiB

    StringPool() = default;
    StringPool(const StringPool&) = delete;
    StringPool& operator=(const StringPool&) = delete;

    /// Adds a text of `length` characters, or finds it. A zero among them ends the text. An empty text, which may be
    /// null, has the handle 0 and takes no place.
    /// @param handle receives the text's number; 0 after an error.
    /// @return ERR_OVERFLOW for a text of more than LONGEST characters and where the pool would take more than
    /// MOST_BYTES; ERR_OUT_OF_MEMORY when the host refuses memory. What was added before stays.
    Error Add(const char* text, unsigned long length, unsigned long& handle) {
        handle = 0;
        length = static_cast<unsigned long>(Private::TextLength(text, length));
        if (length == 0) {
            return ERR_OK;
        }
        if (length > LONGEST) {
            return ERR_OVERFLOW;
        }
        const unsigned long hash =
            Hash::XXH32(reinterpret_cast<const unsigned char*>(text), static_cast<unsigned>(length));
        for (;;) {
            Missing missing = Missing::NOTHING;
            unsigned long segment = 0;
            {
                const AutoLock guard(m_lock);
                handle = Find(text, length, hash);
                if (handle != 0) {
                    return ERR_OK;
                }
                const unsigned long place = FindRoom(length, missing, segment);
                if (place >= MOST_BYTES) {
                    return ERR_OVERFLOW;
                }
                if (missing == Missing::NOTHING) {
                    handle = Insert(place, text, length, hash);
                    return ERR_OK;
                }
            }
            if (!Provide(missing, segment)) {
                return ERR_OUT_OF_MEMORY;
            }
        }
    }

    /// The text with this handle, which Add() has given; for 0 the empty text. Takes no lock. The address stays good
    /// until Clear().
    const char* Get(unsigned long handle) const { return handle == 0 ? "" : &m_texts[handle]; }
    /// How many different texts there are, the empty one not counted.
    unsigned long GetCount() const {
        const AutoLock guard(m_lock);
        return m_count;
    }
    /// How many bytes the texts take up, with what the pool stores beside each.
    unsigned long GetBytes() const {
        const AutoLock guard(m_lock);
        return m_bytes;
    }
    /// Removes all texts and gives the memory back. No handle and no address is good any more.
    void Clear() {
        m_texts.Clear();
        m_buckets.Clear();
        m_count = m_bytes = m_end = 0;
        m_bucketCount = FIRST_BUCKETS;
    }

private:
    /// Stands before each text.
    struct Head {
        unsigned long next; ///< handle of another text in the same bucket
        unsigned long hash;
    };
    enum class Missing : unsigned char {
        NOTHING,
        TEXTS,
        BUCKETS,
    };

    static constexpr unsigned long FIRST_BYTES = 4096;
    static constexpr unsigned long FIRST_BUCKETS = 256;
    static constexpr unsigned long MOST_BUCKETS = MOST_BYTES / 16;

    using Texts = Private::Segments<char, FIRST_BYTES, MOST_BYTES>;
    using Buckets = Private::Segments<unsigned long, FIRST_BUCKETS, MOST_BUCKETS>;

    static unsigned long SpaceFor(unsigned long length) {
        constexpr unsigned long ALIGNMENT = alignof(Head);
        return (sizeof(Head) + length + 1 + ALIGNMENT - 1) / ALIGNMENT * ALIGNMENT;
    }
    Head& HeadOf(unsigned long handle) const { return *reinterpret_cast<Head*>(&m_texts[handle - sizeof(Head)]); }
    unsigned long& BucketOf(unsigned long hash) const {
        const unsigned long mask = std::bit_ceil(m_bucketCount) - 1;
        const unsigned long bucket = hash & mask;
        return m_buckets[bucket < m_bucketCount ? bucket : hash & (mask >> 1)];
    }

    // All below but Provide() under the lock.

    unsigned long Find(const char* text, unsigned long length, unsigned long hash) const {
        if (m_count == 0) {
            return 0;
        }
        unsigned long handle = BucketOf(hash);
        // No byte behind a stored text is compared: that ends with a zero, and `text` has none.
        while (handle != 0 && (HeadOf(handle).hash != hash || std::strncmp(&m_texts[handle], text, length) != 0 ||
                               (&m_texts[handle])[length] != '\0')) {
            handle = HeadOf(handle).next;
        }
        return handle;
    }

    /// Where the next text can stand; MOST_BYTES or more when the pool is full. Tells what memory an insertion lacks.
    unsigned long FindRoom(unsigned long length, Missing& missing, unsigned long& segment) const {
        const unsigned long space = SpaceFor(length);
        unsigned long place = m_end;
        segment = Texts::SegmentOf(place);
        while (place < MOST_BYTES && space > Texts::BeginOf(segment) + Texts::SizeOf(segment) - place) {
            place = Texts::BeginOf(++segment);
        }
        if (place >= MOST_BYTES) {
            return place;
        }
        if (!m_texts.Has(segment)) {
            missing = Missing::TEXTS;
        } else if (const unsigned long buckets = Buckets::SegmentOf(NextBucket()); !m_buckets.Has(buckets)) {
            missing = Missing::BUCKETS;
            segment = buckets;
        }
        return place;
    }
    /// The last bucket that there is after the next insertion.
    unsigned long NextBucket() const {
        const bool grows = m_count >= m_bucketCount && m_bucketCount < MOST_BUCKETS;
        return grows ? m_bucketCount : m_bucketCount - 1;
    }

    unsigned long Insert(unsigned long place, const char* text, unsigned long length, unsigned long hash) {
        if (NextBucket() == m_bucketCount) {
            SplitBucket();
        }
        const unsigned long handle = place + sizeof(Head);
        unsigned long& bucket = BucketOf(hash);
        HeadOf(handle) = {bucket, hash};
        std::memcpy(&m_texts[handle], text, length);
        (&m_texts[handle])[length] = '\0';
        bucket = handle;
        ++m_count;
        m_bytes += SpaceFor(length);
        m_end = place + SpaceFor(length);
        return handle;
    }

    /// Moves to one more bucket what belongs there.
    void SplitBucket() {
        const unsigned long added = m_bucketCount++;
        const unsigned long mask = std::bit_ceil(m_bucketCount) - 1;
        unsigned long* link = &m_buckets[added & (mask >> 1)];
        unsigned long* moved = &m_buckets[added];
        while (*link != 0) {
            Head& head = HeadOf(*link);
            if ((head.hash & mask) == added) {
                *moved = *link;
                moved = &head.next;
                *link = head.next;
            } else {
                link = &head.next;
            }
        }
        *moved = 0;
    }

    /// Has the host give the memory, and keeps it if no other thread was faster.
    bool Provide(Missing missing, unsigned long segment) {
        const unsigned long size =
            missing == Missing::TEXTS ? Texts::SizeOf(segment) : Buckets::SizeOf(segment) * sizeof(unsigned long);
        void* memory = Private::AllocateFromHost(size, alignof(Head));
        if (memory == nullptr) {
            return false;
        }
        std::memset(memory, 0, size);
        {
            const AutoLock guard(m_lock);
            if (missing == Missing::TEXTS && !m_texts.Has(segment)) {
                m_texts.Give(segment, std::exchange(memory, nullptr));
            } else if (missing == Missing::BUCKETS && !m_buckets.Has(segment)) {
                m_buckets.Give(segment, std::exchange(memory, nullptr));
            }
        }
        Private::FreeToHost(memory);
        return true;
    }

    mutable Lock m_lock;
    Texts m_texts;
    Buckets m_buckets;
    unsigned long m_count = 0;
    unsigned long m_bytes = 0;
    unsigned long m_end = 0; ///< where the next text stands if it fits there
    unsigned long m_bucketCount = FIRST_BUCKETS;
};

} // namespace Z4
