// Blocks that are no longer to be found, but may still be in use by readers who found them before.
#pragma once

#include <atomic>

namespace Z4::Private {

/// Counts the readers, of whom there may be any number at any time, and keeps what is retired until no reader is left
/// who can have found it. An object in static storage is ready before any code runs.
///
/// There are two counts, so that one can come to an end while readers go on coming: BeginPhase() sends newcomers to the
/// other count. A reader can be late, still at the door of the first one; whoever waits for all readers that are inside
/// therefore begins two phases, and waits for the end of each count (the scheme of sleepable read-copy-update,
/// McKenney, 2006).
class RetiredBlocks {
public:
    /// What is retired begins with this.
    struct Block {
        Block* next;
    };

    constexpr RetiredBlocks() = default;

    /// Before a reader looks for a block.
    /// @return what to hand to Leave(), after the last use of what it found.
    unsigned Enter() {
        const unsigned count = m_phase.load() % 2;
        m_readers[count].fetch_add(1);
        return count;
    }
    void Leave(unsigned count) { m_readers[count].fetch_sub(1); }

    /// @return the number of the count that gets no newcomers from now on, 0 or 1.
    unsigned BeginPhase() { return m_phase.fetch_add(1) % 2; }
    unsigned long CountReaders(unsigned count) const { return m_readers[count].load(); }

    /// Takes over a block that no reader finds any more. One thread at a time is in this function or the next.
    void Retire(Block* block) {
        block->next = m_first;
        m_first = block;
    }
    /// @return the blocks that are in nobody's use, linked, for the caller to free; null while any may be.
    Block* TakeUnused() {
        // Changes the counts, by nothing: whoever enters after this finds none of the blocks.
        if (m_first == nullptr || m_readers[0].fetch_add(0) != 0 || m_readers[1].fetch_add(0) != 0) {
            return nullptr;
        }
        return TakeAll();
    }
    /// The same for when no reader is left but some that were killed inside.
    Block* TakeAll() {
        Block* const first = m_first;
        m_first = nullptr;
        return first;
    }

private:
    std::atomic<unsigned> m_phase{0};
    std::atomic<unsigned long> m_readers[2]{};
    Block* m_first = nullptr;
};

} // namespace Z4::Private
