// Modules that come and go while others look them up: what readers find is whole, and stays as long as they use it.
#include <proof/explorer.h>
#include <zelk_core/os/autolock.h>
#include <zelk_core/os/spinlock.h>
#include <zelk_core/services/dbghelp/private/retiredblocks.h>
#include <zelk_core/services/dbghelp/private/sequencetable.h>

using namespace Proof;
using namespace Z4;
using namespace Z4::Private;

namespace {

struct Index : RetiredBlocks::Block {
    std::uintptr_t key;
};

struct Record {
    std::uintptr_t key;
    Index* index;
};

struct Tail {
    std::uintptr_t twice; ///< the key
};

/// A table with the indexes that its records point to, as the modules have it.
class Indexed {
public:
    ~Indexed() {
        while (m_table.GetCount() != 0) {
            Remove(m_table.Get(0).key);
        }
        Free(m_retired.TakeAll());
    }

    void Add(std::uintptr_t key) {
        Index* const index = new Index;
        index->key = key;
        const AutoLock guard(m_lock);
        Check(m_table.Insert({key, index}, {2 * key}), "a record is refused");
    }
    void Remove(std::uintptr_t key) {
        const AutoLock guard(m_lock);
        const unsigned long place = m_table.IndexOf(key);
        m_retired.Retire(m_table.Get(place).index);
        m_table.Erase(place);
    }
    void FreeUnused() {
        RetiredBlocks::Block* unused = nullptr;
        {
            const AutoLock guard(m_lock);
            unused = m_retired.TakeUnused();
        }
        Free(unused);
    }
    /// Looks up the record below `key`, and uses its index for a while.
    /// @return its key, or 0.
    std::uintptr_t Read(std::uintptr_t key) {
        const unsigned count = m_retired.Enter();
        Record record{};
        const bool isFound = m_table.Find(key, record);
        if (isFound) {
            Check(record.index->key == record.key, "a record is torn");
            Step("reading an index");
            Check(record.index->key == record.key, "an index is gone while it is read");
        }
        m_retired.Leave(count);
        return isFound ? record.key : 0;
    }
    void ReadTail(std::uintptr_t key) {
        Record record{};
        Tail tail{};
        if (m_table.Find(key, record, &tail)) {
            Check(tail.twice == 2 * record.key, "a record has another one's tail");
        }
    }

private:
    static void Free(RetiredBlocks::Block* block) {
        while (block != nullptr) {
            Index* const index = static_cast<Index*>(block);
            block = block->next;
            index->key = 0;
            delete index;
        }
    }

    NonRecursiveSpinLock m_lock;
    SequenceTable<Record, Tail, 3> m_table;
    RetiredBlocks m_retired;
};

} // namespace

// One goes and is freed, another one takes its place, while a reader looks up both.
PROOF_SCENARIO(IndexGoesWhileItIsRead, 3, SOUND) {
    Indexed modules;
    modules.Add(10);
    modules.Add(20);
    const Fork reader([&] {
        const std::uintptr_t key = modules.Read(25);
        Check(key == 0 || key == 10 || key == 20 || key == 15, "a record is found that never was");
    });
    modules.Remove(20);
    modules.FreeUnused();
    modules.Add(15);
    modules.FreeUnused();
}

// A third in front of the others moves them while they are looked up.
PROOF_SCENARIO(TailBelongsToItsRecord, 3, SOUND) {
    Indexed modules;
    modules.Add(20);
    const Fork reader([&] { modules.ReadTail(25); });
    modules.Add(10);
    modules.Remove(20);
}

// What is no block of the table, as the bytes of a module, goes when its readers are waited for. The second wait must
// not miss a reader who was late for the count of the first.
PROOF_SCENARIO(BytesGoAfterTheirReaders, 3, SOUND) {
    RetiredBlocks readers;
    std::atomic<int*> bytes(new int(1));
    const auto replace = [&] {
        int* const before = bytes.exchange(new int(1));
        for (int i = 0; i < 2; ++i) {
            const unsigned count = readers.BeginPhase();
            while (readers.CountReaders(count) != 0) {
                Pause();
            }
        }
        *before = 0;
        delete before;
    };
    {
        const Fork reader([&] {
            const unsigned count = readers.Enter();
            const int* const read = bytes.load();
            Check(*read == 1, "bytes are gone when they are found");
            Step("reading bytes");
            Check(*read == 1, "bytes are gone while they are read");
            readers.Leave(count);
        });
        replace();
        replace();
    }
    delete bytes.load();
}
