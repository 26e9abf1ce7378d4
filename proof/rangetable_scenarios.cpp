// A table whose readers never wait, while others put into it and take out of it.
#include <proof/explorer.h>
#include <zelk_core/base/lifecycle.h>
#include <zelk_core/services/dbghelp/private/rangetable.h>

using namespace Proof;
using namespace Z4;

namespace {

using Table = Private::RangeTable<int, 2>;

constexpr std::uintptr_t BASE = 0x1000;

struct Services {
    Services() { InitializeBase(); }
    ~Services() {
        table.Clear();
        ShutdownBase();
    }

    Table table;
};

void Put(Table& table, int value) {
    Table::Entry* const entry = new Table::Entry;
    entry->base = BASE;
    entry->size = 16;
    entry->value = value;
    Check(table.Set(entry) == ERR_OK, "the table is full");
}

/// The value that is read, or 0.
int Read(Table& table) {
    int value = 0;
    table.Visit(BASE + 15, [&](const Table::Entry& entry) {
        value = entry.value;
        Step("reading");
        Check(entry.value == value, "an entry goes while it is read");
        return true;
    });
    return value;
}

} // namespace

// An entry is read, replaced and given up by three threads.
PROOF_SCENARIO(RangeIsReplacedWhileItIsRead, 3, SOUND) {
    Services services;
    Table& table = services.table;
    Put(table, 1);
    {
        const Fork reader([&] {
            const int first = Read(table);
            const int second = Read(table);
            Check(first != 0 && second >= first, "a reader finds nothing, or what was replaced already");
        });
        const Fork other([&] { Check(Read(table) != 0, "a reader finds nothing"); });
        Put(table, 2);
    }
    table.Collect();
    Check(Read(table) == 2, "an entry is lost");
}

// An entry is taken out where nothing may be freed, while another thread frees and one reads.
PROOF_SCENARIO(RangeIsDroppedWhileItIsRead, 3, SOUND) {
    Services services;
    Table& table = services.table;
    Put(table, 1);
    {
        const Fork reader([&] { Read(table); });
        const Fork collector([&] { table.Collect(); });
        Check(table.Drop(BASE), "an entry is lost");
        Check(!table.Drop(BASE), "an entry is there twice");
    }
    Check(Read(table) == 0, "an entry is there again");
}
