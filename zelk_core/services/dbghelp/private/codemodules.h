// The loaded modules as captures of call stacks need them: where the code lies, and how its frames are unwound.
#pragma once

#include <cstdint>
#include <zelk_core/base/error.h>
#include <zelk_core/os/spinlock.h>
#include <zelk_core/services/dbghelp/private/retiredblocks.h>
#include <zelk_core/services/dbghelp/private/sequencetable.h>
#include <zelk_core/services/dbghelp/private/unwindtable.h>

namespace Z4::Private {

/// The functions of one module's unwind table, sorted.
struct UnwindIndex : RetiredBlocks::Block {
    std::uint32_t count;
    UnwindEntry entries[1]; ///< `count` of them
};

/// Part of a module's image. Natively addresses are longer than what is kept of them here; there are no modules then.
struct ImagePart {
    std::uint32_t begin;
    std::uint32_t size;

    bool Contains(std::uint32_t address) const { return address - begin < size; }
    MemoryView View() const {
        return {reinterpret_cast<const unsigned char*>(static_cast<std::uintptr_t>(begin)), begin, size};
    }
};

/// What is unknown of a module has the size 0.
struct CodeModule {
    std::uintptr_t key; ///< its base address
    UnwindIndex* index; ///< null as long as nobody has made it
    std::uint32_t size;
    std::uint32_t timeStamp;
    std::uint32_t serial; ///< higher than that of every module that came before
    ImagePart code;
    ImagePart imports; ///< the addresses of imported functions
    ImagePart table;   ///< for unwinding

    ImagePart Whole() const { return {static_cast<std::uint32_t>(key), size}; }
    /// Finds the record of the only function that `pc` can lie in.
    bool FindFunction(std::uint32_t pc, UnwindEntry& entry) const;
};

struct ModuleName {
    char text[260];
};

/// Any thread may call any operation at any time. None waits, but for a lock over a few instructions; those that say so
/// take no lock either.
class CodeModules {
public:
    static constexpr unsigned long CAPACITY = 512;

    constexpr CodeModules() = default;

    /// While it lives, the bytes of modules that Find() gives, and their indexes, stay: Remove() waits for its end, for
    /// some milliseconds at least. Takes no lock.
    class Reader {
    public:
        explicit Reader(CodeModules& modules) : m_modules(modules), m_count(modules.m_retired.Enter()) {}
        ~Reader() { m_modules.m_retired.Leave(m_count); }
        Reader(const Reader&) = delete;
        Reader& operator=(const Reader&) = delete;

    private:
        CodeModules& m_modules;
        const unsigned m_count;
    };

    /// Finds the module of an address without taking a lock; while modules come or go it can fail to.
    bool Find(std::uint32_t address, CodeModule& module, ModuleName* name = nullptr) const {
        return m_table.Find(address, module, name) && module.Whole().Contains(address);
    }
    /// Finds it in any case.
    bool FindNamed(std::uint32_t address, CodeModule& module, ModuleName& name);
    bool Get(unsigned long index, CodeModule& module, ModuleName& name);
    unsigned long GetCount();
    unsigned long GetLost();

    /// A module has come, or is still there. It takes the place of what was known at its base address. The bytes at
    /// that address are looked at where they are an image's.
    void Put(void* base, std::uint32_t size, const ModuleName& name);
    /// A module is about to go.
    void Remove(void* base);
    /// The serial that the next module will have, at least.
    std::uint32_t GetNextSerial();
    /// Removes the modules that have not been put since GetNextSerial() returned `serial`.
    void RemoveOlder(std::uint32_t serial);
    /// Makes the indexes that are missing, and frees those of modules that went.
    /// @return ERR_OUT_OF_MEMORY when the host refused memory for one; the others are made.
    Error MakeIndexes();
    /// Forgets all modules and frees everything. Nobody else uses the table, but threads that were killed in a reading.
    void Clear();

private:
    void EraseLocked(unsigned long index);
    bool FindUnindexed(std::uintptr_t from, CodeModule& module);
    bool Publish(const CodeModule& module, UnwindIndex* index);
    void WaitForReaders();
    void WaitForReaders(unsigned count);

    NonRecursiveSpinLock m_lock; ///< of writers
    SequenceTable<CodeModule, ModuleName, CAPACITY> m_table;
    RetiredBlocks m_retired;
    std::uint32_t m_serial = 0;
    unsigned long m_lost = 0;
    std::atomic<unsigned long> m_stuck[2]{}; ///< readers of each count that were waited for in vain
};

/// The process's own.
extern constinit CodeModules g_codeModules;

} // namespace Z4::Private
