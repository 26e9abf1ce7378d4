#include <windows.h>

#include <cstddef>
#include <cstring>
#include <zelk_core/base/hostnew.h>
#include <zelk_core/os/autolock.h>
#include <zelk_core/services/dbghelp/private/codemodules.h>
#include <zelk_core/services/dbghelp/private/imageview.h>

namespace Z4::Private {

namespace {

using Guard = AutoLock<NonRecursiveSpinLock>;

/// Whether a section has the name that the linkers here give the unwind table: a name that is too long for its field is
/// either cut or kept elsewhere, with its place there as the name.
bool IsTableName(const char (&name)[8]) {
    return std::memcmp(name, ".eh_fram", sizeof name) == 0 || (name[0] == '/' && name[1] >= '0' && name[1] <= '9');
}

ImagePart PartOf(const CodeModule& module, std::uint32_t rva, std::uint32_t size) {
    if (rva > module.size || size > module.size - rva) {
        return {};
    }
    return {static_cast<std::uint32_t>(module.key) + rva, size};
}

void ReadSection(const ImageView::Section& section, CodeModule& module) {
    const ImagePart part = PartOf(module, section.rva, section.size);
    if ((section.flags & IMAGE_SCN_MEM_READ) == 0 || (section.flags & IMAGE_SCN_MEM_DISCARDABLE) != 0) {
        return;
    }
    // Of several code sections one: what lies between them need not be readable.
    if ((section.flags & IMAGE_SCN_MEM_EXECUTE) != 0 && part.size > module.code.size) {
        module.code = part;
    }
    if ((section.flags & (IMAGE_SCN_MEM_EXECUTE | IMAGE_SCN_MEM_WRITE)) == 0 && IsTableName(section.name) &&
        part.size != 0 && IsUnwindTable(part.View())) {
        module.table = part;
    }
}

void ReadImage(void* base, CodeModule& module) {
    MEMORY_BASIC_INFORMATION region;
    if (VirtualQuery(base, &region, sizeof region) == 0 || region.State != MEM_COMMIT || region.Type != MEM_IMAGE ||
        region.AllocationBase != base) {
        return;
    }
    const ImageView image(base, region.RegionSize);
    if (!image.IsImage()) {
        return;
    }
    module.size = image.GetImageSize();
    module.timeStamp = image.GetTimeStamp();
    module.imports = PartOf(module, image.GetImports().rva, image.GetImports().size);
    ImageView::Section section;
    for (std::uint32_t i = 0; image.GetSection(i, section); ++i) {
        ReadSection(section, module);
    }
}

void Free(RetiredBlocks::Block* block) {
    while (block != nullptr) {
        RetiredBlocks::Block* const next = block->next;
        FreeToHost(block);
        block = next;
    }
}

} // namespace

constinit CodeModules g_codeModules;

bool CodeModule::FindFunction(std::uint32_t pc, UnwindEntry& entry) const {
    if (table.size == 0) {
        return false;
    }
    return index != nullptr ? FindEntry(index->entries, index->count, pc, entry) : FindEntry(table.View(), pc, entry);
}

bool CodeModules::FindNamed(std::uint32_t address, CodeModule& module, ModuleName& name) {
    bool found = m_table.Find(address, module, &name);
    if (!found) {
        const Guard guard(m_lock);
        found = m_table.Find(address, module, &name);
    }
    return found && module.Whole().Contains(address);
}

bool CodeModules::Get(unsigned long index, CodeModule& module, ModuleName& name) {
    const Guard guard(m_lock);
    if (index >= m_table.GetCount()) {
        return false;
    }
    module = m_table.Get(index);
    m_table.GetTail(index, name);
    return true;
}

unsigned long CodeModules::GetCount() {
    const Guard guard(m_lock);
    return m_table.GetCount();
}

unsigned long CodeModules::GetLost() {
    const Guard guard(m_lock);
    return m_lost;
}

void CodeModules::Put(void* base, std::uint32_t size, const ModuleName& name) {
    CodeModule module{};
    module.key = reinterpret_cast<std::uintptr_t>(base);
    module.size = size;
    ReadImage(base, module);
    ModuleName known;
    const Guard guard(m_lock);
    module.serial = m_serial++;
    const unsigned long index = m_table.IndexOf(module.key);
    if (index != m_table.GetCount()) {
        m_table.GetTail(index, known);
        CodeModule before = m_table.Get(index);
        if (before.size == module.size && before.timeStamp == module.timeStamp &&
            std::strcmp(known.text, name.text) == 0) {
            before.serial = module.serial;
            m_table.Set(index, before);
            return;
        }
        EraseLocked(index);
    }
    m_lost += m_table.Insert(module, name) ? 0U : 1U;
}

void CodeModules::EraseLocked(unsigned long index) {
    UnwindIndex* const unwindIndex = m_table.Get(index).index;
    m_table.Erase(index);
    if (unwindIndex != nullptr) {
        m_retired.Retire(unwindIndex);
    }
}

void CodeModules::Remove(void* base) {
    {
        const Guard guard(m_lock);
        const unsigned long index = m_table.IndexOf(reinterpret_cast<std::uintptr_t>(base));
        if (index == m_table.GetCount()) {
            return;
        }
        EraseLocked(index);
    }
    WaitForReaders();
}

/// Until those who may read the bytes of a module that was just removed are done.
void CodeModules::WaitForReaders() {
    WaitForReaders(m_retired.BeginPhase());
    WaitForReaders(m_retired.BeginPhase());
}

/// A reader takes microseconds; but one can be suspended in between, or was killed there. So the wait has an end, and
/// nobody is waited for twice.
void CodeModules::WaitForReaders(unsigned count) {
    constexpr int YIELDS = 50;
    constexpr int ATTEMPTS = 100;
    std::atomic<unsigned long>& stuck = m_stuck[count];
    for (int i = 0; i < ATTEMPTS; ++i) {
        const unsigned long readers = m_retired.CountReaders(count);
        if (readers <= stuck.load()) {
            stuck.store(readers);
            return;
        }
        Sleep(i < YIELDS ? 0 : 1);
    }
    stuck.store(m_retired.CountReaders(count));
}

std::uint32_t CodeModules::GetNextSerial() {
    const Guard guard(m_lock);
    return m_serial;
}

void CodeModules::RemoveOlder(std::uint32_t serial) {
    const Guard guard(m_lock);
    for (unsigned long i = m_table.GetCount(); i-- != 0;) {
        if (m_table.Get(i).serial < serial) {
            EraseLocked(i);
        }
    }
}

/// The first module, by address, from `from` on that has a table and no index.
bool CodeModules::FindUnindexed(std::uintptr_t from, CodeModule& module) {
    const Guard guard(m_lock);
    const unsigned long count = m_table.GetCount();
    for (unsigned long i = 0; i < count; ++i) {
        module = m_table.Get(i);
        if (module.key >= from && module.table.size != 0 && module.index == nullptr) {
            return true;
        }
    }
    return false;
}

/// @return false when the module is no longer there, or has an index by now.
bool CodeModules::Publish(const CodeModule& module, UnwindIndex* index) {
    const Guard guard(m_lock);
    const unsigned long place = m_table.IndexOf(module.key);
    if (place == m_table.GetCount()) {
        return false;
    }
    CodeModule known = m_table.Get(place);
    if (known.serial != module.serial || known.index != nullptr) {
        return false;
    }
    known.index = index;
    m_table.Set(place, known);
    return true;
}

Error CodeModules::MakeIndexes() {
    Error result = ERR_OK;
    CodeModule module;
    for (std::uintptr_t from = 0; FindUnindexed(from, module); from = module.key + 1) {
        // The host is asked for memory only between two readings, as Remove() waits for the end of each.
        std::uint32_t count = 0;
        CodeModule known;
        {
            const Reader reader(*this);
            if (Find(static_cast<std::uint32_t>(module.key), known) && known.serial == module.serial) {
                count = CountEntries(module.table.View());
            }
        }
        if (count == 0) {
            continue;
        }
        auto* const index = static_cast<UnwindIndex*>(
            AllocateFromHost(offsetof(UnwindIndex, entries) + count * sizeof(UnwindEntry), alignof(UnwindIndex)));
        if (index == nullptr) {
            result = ERR_OUT_OF_MEMORY;
            continue;
        }
        index->count = 0;
        {
            const Reader reader(*this);
            if (Find(static_cast<std::uint32_t>(module.key), known) && known.serial == module.serial) {
                index->count = IndexEntries(module.table.View(), index->entries, count);
            }
        }
        if (index->count == 0 || !Publish(module, index)) {
            FreeToHost(index);
        }
    }
    RetiredBlocks::Block* unused = nullptr;
    {
        const Guard guard(m_lock);
        unused = m_retired.TakeUnused();
    }
    Free(unused);
    return result;
}

void CodeModules::Clear() {
    RetiredBlocks::Block* unused = nullptr;
    {
        const Guard guard(m_lock);
        while (m_table.GetCount() != 0) {
            EraseLocked(m_table.GetCount() - 1);
        }
        m_lost = 0;
        unused = m_retired.TakeAll();
    }
    Free(unused);
}

} // namespace Z4::Private
