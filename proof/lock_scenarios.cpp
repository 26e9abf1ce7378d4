// What locks keep apart, and what wakes whom.
#include <proof/explorer.h>
#include <zelk_core/os/adaptivelock.h>
#include <zelk_core/os/autolock.h>
#include <zelk_core/os/blockinglock.h>
#include <zelk_core/os/condvariable.h>
#include <zelk_core/os/rwlock.h>
#include <zelk_core/os/spinlock.h>
#include <zelk_core/os/threadbarrier.h>

using namespace Proof;
using namespace Z4;

namespace {

/// Plain data that a lock guards. ThreadSanitizer sees whether it does; the steps between let others come in.
class Guarded {
public:
    void Write() {
        const int before = m_value;
        Step("writing");
        m_value = before + 1;
    }
    int Read() const { return m_value; }
    int ReadSlowly() const {
        const int before = m_value;
        Step("reading");
        Check(m_value == before, "a reader sees a writer at work");
        return before;
    }

private:
    int m_value = 0;
};

template <class LockClass>
struct Exclusion {
    LockClass lock;
    Guarded data;

    void Write() {
        const AutoLock guard(lock);
        data.Write();
    }
    int WriteIfFree() {
        if (!lock.TryLock()) {
            return 0;
        }
        data.Write();
        lock.Unlock();
        return 1;
    }
    void Explore() {
        int written = 0;
        {
            const Fork second([this] { Write(); });
            const Fork third([this, &written] { written = WriteIfFree(); });
            Write();
        }
        Check(data.Read() == 2 + written, "two threads are in a lock at once");
    }
};

struct ShortSpinLock : AdaptiveLock {
    ShortSpinLock() : AdaptiveLock(1, nullptr) {}
};

} // namespace

PROOF_SCENARIO(SpinLockExcludes, 3, SOUND) {
    Exclusion<NonRecursiveSpinLock>().Explore();
}

PROOF_SCENARIO(AdaptiveLockExcludes, 3, SOUND) {
    Exclusion<ShortSpinLock>().Explore();
}

PROOF_SCENARIO(BlockingLockExcludes, 3, SOUND) {
    Exclusion<BlockingLock>().Explore();
}

namespace {

/// Two threads read, twice over where the lock allows it, and one of them writes besides; a third writes.
template <class LockClass, bool REENTRANT>
void ExploreReadersAndWriter() {
    LockClass lock;
    Guarded data;
    const auto read = [&] {
        lock.LockReader();
        const int seen = data.ReadSlowly();
        if (REENTRANT) {
            lock.LockReader();
            Check(data.ReadSlowly() == seen, "a reader's re-entry lets a writer in");
            lock.UnlockReader();
        }
        lock.UnlockReader();
    };
    {
        const Fork reader(read);
        const Fork writer([&] {
            lock.LockWriter();
            if (REENTRANT) {
                lock.LockWriter();
                lock.UnlockWriter();
            }
            data.Write();
            lock.UnlockWriter();
        });
        read();
        if (lock.TryLockWriter()) {
            data.Write();
            lock.Downgrade();
            const int seen = data.ReadSlowly();
            lock.Upgrade();
            Check(data.Read() >= seen, "a write is lost");
            data.Write();
            lock.UnlockWriter();
        } else if (lock.TryLockReader()) {
            data.ReadSlowly();
            lock.UnlockReader();
        }
    }
    lock.LockWriter();
    Check(data.Read() == 1 || data.Read() == 3, "two writers are in at once");
    lock.UnlockWriter();
}

} // namespace

PROOF_SCENARIO(RWLockSharesAndExcludes, 3, SOUND) {
    ExploreReadersAndWriter<RWLock, true>();
}

PROOF_SCENARIO(RWLockNonRecursiveSharesAndExcludes, 3, SOUND) {
    ExploreReadersAndWriter<RWLockNonRecursive, false>();
}

PROOF_SCENARIO(RWLockTellsItsModes, 3, SOUND) {
    RWLock lock;
    const Fork other([&] {
        lock.LockReader();
        Check(lock.IsReaderLockActive() && !lock.IsWriterLockActive(), "a reader is in and the lock tells otherwise");
        lock.UnlockReader();
    });
    lock.LockWriter();
    Check(lock.IsWriterLockActive() && !lock.IsReaderLockActive(), "a writer is in and the lock tells otherwise");
    lock.UnlockWriter();
}

// Whoever leaves last destroys the barrier: nobody may need it after having left.
PROOF_SCENARIO(BarrierGoesWithItsLastLeaver, 2, SOUND) {
    struct Party {
        ThreadBarrier barrier{3};
        std::atomic<int> leaving{3};
        std::atomic<int> last{0};
        int written[3] = {};
    };
    Party* const party = new Party;
    const auto attend = [party](int self) {
        for (int round = 1; round <= 2; ++round) {
            // Each writes its own place before the barrier and reads all behind it; a second barrier would be needed
            // to write again, so the second round only counts who is last.
            party->written[self] += round == 1;
            party->last.fetch_add(party->barrier.Wait(true));
            Check(party->last.load() <= round + 1, "more than one thread of a round is the last");
            Check(party->written[0] == 1 && party->written[1] == 1 && party->written[2] == 1,
                  "the barrier opens before all are there");
        }
        if (party->leaving.fetch_sub(1) == 1) {
            Check(party->last.load() == 2, "a round has no last thread");
            delete party;
        }
    };
    const Fork second([&] { attend(1); });
    const Fork third([&] { attend(2); });
    attend(0);
}

namespace {

/// A place for one message, handed from one thread to the next.
template <class LockClass>
struct Mailbox {
    LockClass lock;
    CondVariable changed;
    int message = 0;

    void Put(int value) {
        const AutoLock guard(lock);
        while (message != 0) {
            changed.Wait(lock);
        }
        message = value;
        changed.Broadcast();
    }
    int Take() {
        const AutoLock guard(lock);
        while (message == 0) {
            changed.Wait(lock);
        }
        const int value = message;
        message = 0;
        changed.Broadcast();
        return value;
    }
    void Explore() {
        int sum = 0;
        const Fork second([this] { Put(1); });
        const Fork third([this] { Put(2); });
        sum += Take();
        sum += Take();
        Check(sum == 3, "a message is lost or read twice");
    }
};

} // namespace

PROOF_SCENARIO(MailboxOverBlockingLock, 3, SOUND) {
    Mailbox<BlockingLock>().Explore();
}

PROOF_SCENARIO(MailboxOverAdaptiveLock, 3, SOUND) {
    Mailbox<ShortSpinLock>().Explore();
}

PROOF_SCENARIO(SignalWakesOneAndTimeRunsOut, 3, SOUND) {
    BlockingLock lock;
    CondVariable changed;
    int tokens = 0;
    const auto take = [&] {
        const AutoLock guard(lock);
        while (tokens == 0) {
            changed.Wait(lock);
        }
        --tokens;
    };
    const Fork second(take);
    const Fork third(take);
    for (int i = 0; i < 2; ++i) {
        const AutoLock guard(lock);
        ++tokens;
        changed.Signal();
        changed.WaitWithTimeout(lock, 1);
    }
}
