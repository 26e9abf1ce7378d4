// A sorted table whose readers never wait.
#pragma once

#include <atomic>
#include <cstdint>
#include <cstring>
#include <emmintrin.h>
#include <type_traits>

namespace Z4::Private {

/// Up to `CAPACITY` records, in the order of their `key`, an std::uintptr_t that comes first and that no two share.
/// Each has a `Tail` beside it, for what is seldom read.
///
/// Readers, of whom there may be any number at any time, take no lock and make no system call: they read while the
/// table may be changing, and a number that is odd during a change and higher after it tells them whether what they
/// read is worth anything (a sequence lock). All words are atomic and ordered as in Boehm, "Can Seqlocks Get Along With
/// Programming Language Memory Models?", 2012. Writers come one at a time; their caller sees to that.
///
/// An object in static storage is ready before any code runs.
template <class Record, class Tail, unsigned long CAPACITY>
class SequenceTable {
public:
    constexpr SequenceTable() = default;
    SequenceTable(const SequenceTable&) = delete;
    SequenceTable& operator=(const SequenceTable&) = delete;

    /// For a reader: copies the record with the highest key that is not above `key`, and its tail where one is wanted.
    /// When the table does not stop changing for some microseconds, as when the writer was suspended, there is none.
    bool Find(std::uintptr_t key, Record& record, Tail* tail = nullptr) const {
        constexpr int ATTEMPTS = 8;
        for (int i = 0; i < ATTEMPTS; ++i) {
            const std::uintptr_t before = LoadSequence();
            if (before % 2 != 0) {
                break;
            }
            const unsigned long index = CountUpTo(key);
            if (index != 0) {
                Load(m_records[index - 1], record);
                if (tail != nullptr) {
                    Load(m_tails[index - 1], *tail);
                }
            }
            if (m_sequence.load(std::memory_order_relaxed) == before) {
                return index != 0;
            }
        }
        return false;
    }

    /// @name For the one writer
    /// @{
    unsigned long GetCount() const { return Count(); }
    Record Get(unsigned long index) const {
        Record record;
        Load(m_records[index], record);
        return record;
    }
    void GetTail(unsigned long index, Tail& tail) const { Load(m_tails[index], tail); }
    /// @return GetCount() when there is no such key.
    unsigned long IndexOf(std::uintptr_t key) const {
        const unsigned long index = CountUpTo(key);
        return index != 0 && KeyOf(index - 1) == key ? index - 1 : Count();
    }

    /// Changes a record, whose key must stay.
    void Set(unsigned long index, const Record& record) {
        const Change change(*this);
        Store(record, m_records[index]);
    }
    /// The key must be new.
    /// @return false when the table is full.
    bool Insert(const Record& record, const Tail& tail) {
        const unsigned long count = Count();
        if (count == CAPACITY) {
            return false;
        }
        const unsigned long index = CountUpTo(record.key);
        const Change change(*this);
        for (unsigned long i = count; i != index; --i) {
            Move(i - 1, i);
        }
        Store(record, m_records[index]);
        Store(tail, m_tails[index]);
        m_count.store(count + 1, std::memory_order_release);
        return true;
    }
    void Erase(unsigned long index) {
        const unsigned long count = Count() - 1;
        const Change change(*this);
        m_count.store(count, std::memory_order_release);
        for (unsigned long i = index; i != count; ++i) {
            Move(i + 1, i);
        }
    }
    /// @}

private:
    using Word = std::uintptr_t;

    template <class T>
    struct Words {
        static_assert(std::is_trivially_copyable_v<T> && sizeof(T) % sizeof(Word) == 0);
        static constexpr std::size_t COUNT = sizeof(T) / sizeof(Word);
        std::atomic<Word> words[COUNT]{};
    };

    class Change {
    public:
        explicit Change(SequenceTable& table) : m_table(table) { Next(std::memory_order_relaxed); }
        ~Change() { Next(std::memory_order_release); }
        Change(const Change&) = delete;
        Change& operator=(const Change&) = delete;

    private:
        void Next(std::memory_order order) {
            m_table.m_sequence.store(m_table.m_sequence.load(std::memory_order_relaxed) + 1, order);
        }

        SequenceTable& m_table;
    };

    /// Even, unless a change takes longer than most.
    Word LoadSequence() const {
        constexpr int PAUSES = 100;
        Word sequence = m_sequence.load(std::memory_order_acquire);
        for (int i = 0; sequence % 2 != 0 && i < PAUSES; ++i) {
            _mm_pause();
            sequence = m_sequence.load(std::memory_order_acquire);
        }
        return sequence;
    }

    unsigned long Count() const { return static_cast<unsigned long>(m_count.load(std::memory_order_acquire)); }
    Word KeyOf(unsigned long index) const { return m_records[index].words[0].load(std::memory_order_acquire); }

    /// How many records have a key that is not above `key`. In a changing table any number up to the capacity.
    unsigned long CountUpTo(Word key) const {
        unsigned long begin = 0;
        unsigned long end = Count();
        while (begin != end) {
            const unsigned long middle = begin + (end - begin) / 2;
            if (KeyOf(middle) <= key) {
                begin = middle + 1;
            } else {
                end = middle;
            }
        }
        return begin;
    }

    // Loads that acquire keep the second look at the sequence behind them; stores that release keep the first mark of a
    // change before them.
    template <class T>
    static void Load(const Words<T>& from, T& to) {
        Word words[Words<T>::COUNT];
        for (std::size_t i = 0; i < Words<T>::COUNT; ++i) {
            words[i] = from.words[i].load(std::memory_order_acquire);
        }
        std::memcpy(&to, words, sizeof to);
    }
    template <class T>
    static void Store(const T& from, Words<T>& to) {
        Word words[Words<T>::COUNT];
        std::memcpy(words, &from, sizeof from);
        for (std::size_t i = 0; i < Words<T>::COUNT; ++i) {
            to.words[i].store(words[i], std::memory_order_release);
        }
    }
    void Move(unsigned long from, unsigned long to) {
        Record record;
        Load(m_records[from], record);
        Store(record, m_records[to]);
        Tail tail;
        Load(m_tails[from], tail);
        Store(tail, m_tails[to]);
    }

    std::atomic<Word> m_sequence{0};
    std::atomic<Word> m_count{0};
    Words<Record> m_records[CAPACITY];
    Words<Tail> m_tails[CAPACITY];
};

} // namespace Z4::Private
