#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <host/heap.h>
#include <new>

namespace ZelkHost {

namespace {

constexpr std::size_t PAGE = 4096;
constexpr std::size_t REGION_STEP = 64 * 1024; // what the system reserves addresses by
constexpr std::size_t REGION_SIZE = 256 * 1024;
constexpr std::size_t FREED_LIMIT = 256 * 1024 * 1024;
/// Sizes and alignments above are refused, so that no sum of them overflows.
constexpr std::size_t LARGEST = 1024 * 1024 * 1024;
constexpr std::byte FILLING{0xDB};

constexpr std::size_t RoundUp(std::size_t value, std::size_t alignment) {
    return (value + alignment - 1) & ~(alignment - 1);
}

struct PlainRecord {
    void* memory; ///< of the C library, in which the block and its record lie; null where they are a slot
    Block block;
    std::uintptr_t mark;
};
static_assert(sizeof(PlainRecord) % Bins::ALIGNMENT == 0, "a block behind its record is as well aligned as the slot");

constexpr std::uintptr_t LIVE_MARK = 0x5A484C56;

PlainRecord* CheckedRecord(void* pointer) {
    PlainRecord* const record = static_cast<PlainRecord*>(pointer) - 1;
    // With the address in it, a copy of a record elsewhere does not pass for one.
    if (record->mark != (reinterpret_cast<std::uintptr_t>(pointer) ^ LIVE_MARK)) {
        Fatal("zelk_host: %p was freed before, or is no block of this host\n", pointer);
    }
    return record;
}

} // namespace

void* PlainHeap::Allocate(const Block& block, std::size_t alignment) {
    if (block.size > LARGEST || alignment > LARGEST) {
        return nullptr;
    }
    const std::size_t bytes = sizeof(PlainRecord) + block.size;
    const std::size_t step = std::max(alignment, Bins::ALIGNMENT);
    const bool isSlot = bytes <= Bins::LARGEST && step == Bins::ALIGNMENT;
    auto* const memory = static_cast<std::byte*>(isSlot ? m_bins.Take(bytes) : std::malloc(bytes + step));
    if (memory == nullptr) {
        return nullptr;
    }
    const auto address = RoundUp(reinterpret_cast<std::uintptr_t>(memory) + sizeof(PlainRecord), step);
    auto* const pointer = reinterpret_cast<void*>(address);
    *(static_cast<PlainRecord*>(pointer) - 1) = {isSlot ? nullptr : memory, block, address ^ LIVE_MARK};
    return pointer;
}

Block PlainHeap::Find(void* pointer) {
    return CheckedRecord(pointer)->block;
}

Block PlainHeap::Free(void* pointer) {
    PlainRecord* const record = CheckedRecord(pointer);
    const Block block = record->block;
    record->mark = 0;
    if (record->memory != nullptr) {
        std::free(record->memory);
    } else {
        m_bins.Give(record, sizeof(PlainRecord) + block.size);
    }
    return block;
}

GuardedHeap::Region::Region(std::size_t bytes)
    : base(static_cast<std::byte*>(VirtualAlloc(nullptr, bytes, MEM_RESERVE, PAGE_NOACCESS))),
      size(bytes),
      used(PAGE) {}

GuardedHeap::Region::~Region() {
    if (base != nullptr) {
        VirtualFree(base, 0, MEM_RELEASE);
    }
}

// Finds addresses for accessible pages and the inaccessible one behind them.
std::byte* GuardedHeap::Carve(std::size_t bytes, std::size_t alignment) {
    const auto fits = [&](const Region& region) {
        const auto base = reinterpret_cast<std::uintptr_t>(region.base);
        const std::size_t offset = RoundUp(base + region.used, alignment) - base;
        return offset <= region.size && region.size - offset >= bytes + PAGE;
    };
    if (m_region == nullptr || !fits(*m_region)) {
        const std::size_t size = std::max(REGION_SIZE, RoundUp(bytes + alignment + 2 * PAGE, REGION_STEP));
        auto region = std::make_shared<Region>(size);
        if (region->base == nullptr) {
            DropFreed(0);
            region = std::make_shared<Region>(size);
        }
        if (region->base == nullptr) {
            return nullptr;
        }
        m_region = std::move(region);
    }
    const auto base = reinterpret_cast<std::uintptr_t>(m_region->base);
    const std::size_t offset = RoundUp(base + m_region->used, alignment) - base;
    m_region->used = offset + bytes + PAGE;
    return m_region->base + offset;
}

void* GuardedHeap::Allocate(const Block& block, std::size_t alignment) {
    if (block.size > LARGEST || alignment > LARGEST) {
        return nullptr;
    }
    // Up to a page, alignment moves a block away from the end; more of it moves the pages.
    const std::size_t span = RoundUp(block.size, std::min(alignment, PAGE));
    const std::size_t bytes = RoundUp(span, PAGE);
    const std::lock_guard guard(m_lock);
    std::byte* const pages = Carve(bytes, std::max(alignment, PAGE));
    if (pages == nullptr) {
        return nullptr;
    }
    std::byte* const start = m_side == Side::END ? pages + (bytes - span) : pages;
    Runs run;
    run.push_back({block, start, pages, bytes, m_region});
    const auto entry = m_runs.emplace(start, run.begin()).first;
    if (bytes != 0 && VirtualAlloc(pages, bytes, MEM_COMMIT, PAGE_READWRITE) == nullptr) {
        m_runs.erase(entry);
        return nullptr;
    }
    std::memset(pages, std::to_integer<int>(FILLING), bytes);
    m_live.splice(m_live.end(), run);
    return start;
}

GuardedHeap::Runs::iterator GuardedHeap::FindRun(void* pointer) {
    const auto entry = m_runs.find(pointer);
    if (entry == m_runs.end()) {
        Fatal("zelk_host: %p is no block of this host\n", pointer);
    }
    const Block& block = entry->second->block;
    if (!entry->second->live) {
        Fatal("zelk_host: %p, %u bytes of context 0x%08X, was freed before\n", pointer,
              static_cast<unsigned>(block.size), static_cast<unsigned>(block.account->id));
    }
    return entry->second;
}

void GuardedHeap::CheckFilling(const Run& run) {
    const auto check = [&](std::byte* from, std::byte* to) {
        std::byte* const changed = std::find_if(from, to, [](std::byte value) { return value != FILLING; });
        if (changed != to) {
            Fatal("zelk_host: %p, %u bytes of context 0x%08X: the byte at offset %d was written to\n",
                  static_cast<void*>(run.start), static_cast<unsigned>(run.block.size),
                  static_cast<unsigned>(run.block.account->id), static_cast<int>(changed - run.start));
        }
    };
    check(run.pages, run.start);
    check(run.start + run.block.size, run.pages + run.bytes);
}

void GuardedHeap::DropFreed(std::size_t limit) {
    while (m_freedBytes > limit) {
        const Run& oldest = m_freed.front();
        m_freedBytes -= oldest.bytes + PAGE;
        m_runs.erase(oldest.start);
        m_freed.pop_front();
    }
}

Block GuardedHeap::Find(void* pointer) {
    const std::lock_guard guard(m_lock);
    return FindRun(pointer)->block;
}

// Must not fail, so it allocates nothing: the record moves from one list to the other.
Block GuardedHeap::Free(void* pointer) {
    const std::lock_guard guard(m_lock);
    const Runs::iterator run = FindRun(pointer);
    const Block block = run->block;
    CheckFilling(*run);
    if (run->bytes != 0) {
        VirtualFree(run->pages, run->bytes, MEM_DECOMMIT);
    }
    run->live = false;
    m_freedBytes += run->bytes + PAGE;
    m_freed.splice(m_freed.end(), m_live, run);
    DropFreed(FREED_LIMIT);
    return block;
}

} // namespace ZelkHost
