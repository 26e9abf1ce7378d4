// Callbacks that are taken away while threads run into them, and registers that follow what is set.
#include <proof/explorer.h>
#include <zelk_core/services/dbghelp/private/callbackuses.h>

using namespace Proof;
using namespace Z4;

namespace {

using Uses = Private::CallbackPlaces<3>;

/// A slot with a callback's memory, which goes as soon as the callback is taken away.
struct Slot {
    Uses uses;
    std::atomic<unsigned long> use{1};
    int* memory = new int(0);

    void Hit(unsigned long threadId) {
        Uses::Place* const place = uses.Enter(threadId);
        Check(place != nullptr && uses.Enter(threadId) == nullptr, "a thread is inside twice or not at all");
        if (Uses::Hold(*place, use)) {
            const int* const mine = memory;
            Step("inside the callback");
            Check(*mine == 0, "a callback has another's memory");
        }
        Uses::Leave(*place);
    }

    void TakeAway(unsigned long threadId) {
        const unsigned long last = use.exchange(0);
        uses.WaitFor(last, threadId);
        delete memory;
        memory = nullptr;
    }
};

} // namespace

PROOF_SCENARIO(CallbackIsTakenAwayWhileTwoCallIt, 2, SOUND) {
    Slot* const slot = new Slot;
    {
        const Fork first([&] { slot->Hit(1); });
        const Fork second([&] { slot->Hit(2); });
        slot->TakeAway(3);
    }
    delete slot;
}

// A slot that is given a second callback meanwhile: whoever holds it sees the first or the second whole.
PROOF_SCENARIO(CallbackIsReplacedWhileItIsCalled, 3, SOUND) {
    Slot* const slot = new Slot;
    {
        const Fork hit([&] { slot->Hit(1); });
        slot->TakeAway(2);
        slot->memory = new int(0);
        slot->use.store(2);
    }
    slot->TakeAway(2);
    delete slot;
}
