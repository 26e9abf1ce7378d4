// Where the memory table's blocks lie. A heap keeps each block's size and account; misuse of a pointer is fatal.
#pragma once

#include <host/bins.h>
#include <host/ledger.h>
#include <list>
#include <memory>
#include <unordered_map>

namespace ZelkHost {

struct Block {
    std::size_t size;
    Account* account;
};

class Heap {
public:
    virtual ~Heap() = default;
    /// `alignment` is a power of two. Null when there is no memory.
    virtual void* Allocate(const Block& block, std::size_t alignment) = 0;
    virtual Block Find(void* pointer) = 0;
    virtual Block Free(void* pointer) = 0;
};

/// Small blocks are slots of bins, the others come from the C library. A block's record stands before it, marked as
/// long as the block lives: a second free and a foreign pointer are found in all likelihood.
class PlainHeap final : public Heap {
public:
    void* Allocate(const Block& block, std::size_t alignment) override;
    Block Find(void* pointer) override;
    Block Free(void* pointer) override;

private:
    Bins m_bins;
};

/// Puts each block on pages of its own, between inaccessible ones. Nothing is written beside a block but a filling,
/// so that each may end or start exactly at its page's border; a second free and a foreign pointer are found surely.
///
/// Addresses are carved upwards from regions and never used twice. A freed block only loses its memory and waits,
/// with its region, in a queue; a region goes back to the system when the last of its blocks has left the queue. So
/// one lasting block holds a region's addresses, which is why regions are small: 256 KiB.
class GuardedHeap final : public Heap {
public:
    enum class Side {
        START,
        END,
    };

    explicit GuardedHeap(Side side) : m_side(side) {}

    void* Allocate(const Block& block, std::size_t alignment) override;
    Block Find(void* pointer) override;
    Block Free(void* pointer) override;

private:
    struct Region {
        explicit Region(std::size_t bytes);
        ~Region();
        Region(const Region&) = delete;
        Region& operator=(const Region&) = delete;

        std::byte* base;
        std::size_t size;
        std::size_t used;
    };

    /// A block's pages; the page behind them is inaccessible, and so is the one before.
    struct Run {
        Block block;
        std::byte* start; ///< of the block
        std::byte* pages;
        std::size_t bytes; ///< accessible ones, whole pages
        std::shared_ptr<Region> region;
        bool live = true;
    };
    using Runs = std::list<Run>;

    std::byte* Carve(std::size_t bytes, std::size_t alignment);
    Runs::iterator FindRun(void* pointer);
    static void CheckFilling(const Run& run);
    void DropFreed(std::size_t limit);

    const Side m_side;
    SlimLock m_lock;
    Runs m_live;
    Runs m_freed; ///< oldest first
    std::size_t m_freedBytes = 0;
    std::unordered_map<void*, Runs::iterator> m_runs;
    std::shared_ptr<Region> m_region; ///< that is being carved
};

} // namespace ZelkHost
