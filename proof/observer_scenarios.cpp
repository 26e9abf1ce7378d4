// Observers that come and go while they are being notified.
#include <proof/explorer.h>
#include <windows.h>
#include <zelk_core/services/dbghelp/observertable.h>

using namespace Proof;
using namespace Z4;

namespace {

using Callback = void (*)(const int& data, void* context);
using Table = Private::ObserverTable<Callback, 4>;

/// Memory of an observer's own, which goes as soon as the observer is removed.
struct Observed {
    int calls = 0;

    static void Count(const int&, void* context) {
        int& calls = static_cast<Observed*>(context)->calls;
        const int before = calls;
        Step("observing");
        calls = before + 1;
    }
};

void Notify(Table& table) {
    table.Notify(1, GetCurrentThreadId());
}

void Remove(Table& table, Callback callback, void* context) {
    Check(table.Remove(callback, context, GetCurrentThreadId()) == ERR_OK, "an observer is lost");
}

} // namespace

// Two observers, of which the first goes during a notification; the second is called all the same, and once.
PROOF_SCENARIO(ObserverGoesWhileItIsCalled, 3, SOUND) {
    Table table;
    Observed* const first = new Observed;
    Observed second;
    Check(table.Add(Observed::Count, first) == ERR_OK, "an observer is refused");
    Check(table.Add(Observed::Count, &second) == ERR_OK, "an observer is refused");
    {
        const Fork notifier([&] { Notify(table); });
        Remove(table, Observed::Count, first);
        delete first;
    }
    Check(second.calls == 1, "an observer is skipped or called twice");
    Remove(table, Observed::Count, &second);
}

// An observer that removes itself, and another that is added meanwhile on a third thread.
PROOF_SCENARIO(ObserverRemovesItselfWhileOneComes, 3, SOUND) {
    struct Leaver {
        Table table;
        int calls = 0;

        static void Leave(const int&, void* context) {
            Leaver& self = *static_cast<Leaver*>(context);
            ++self.calls;
            Remove(self.table, Leave, context);
        }
    } leaver;
    Observed late;
    Check(leaver.table.Add(Leaver::Leave, &leaver) == ERR_OK, "an observer is refused");
    {
        const Fork adder([&] { Check(leaver.table.Add(Observed::Count, &late) == ERR_OK, "an observer is refused"); });
        const Fork notifier([&] { Notify(leaver.table); });
    }
    Check(leaver.calls == 1 && late.calls <= 1, "an observer is called twice");
    Remove(leaver.table, Observed::Count, &late);
    Check(leaver.table.IsEmpty(), "an observer stays behind");
}

// Two notifications at once, each inside the one observer when it goes.
PROOF_SCENARIO(ObserverGoesWhileTwoCallIt, 2, SOUND) {
    struct Idle {
        std::atomic<int> calls{0};

        static void Count(const int&, void* context) { static_cast<Idle*>(context)->calls.fetch_add(1); }
    };
    Table table;
    Idle* const idle = new Idle;
    Check(table.Add(Idle::Count, idle) == ERR_OK, "an observer is refused");
    const Fork first([&] { Notify(table); });
    const Fork second([&] { Notify(table); });
    Remove(table, Idle::Count, idle);
    delete idle;
}
