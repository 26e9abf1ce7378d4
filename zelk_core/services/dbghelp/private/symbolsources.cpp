#include <windows.h>

#include <dbghelp.h>

#include <cstdint>
#include <iterator>
#include <utility>
#include <zelk_core/base/path.h>
#include <zelk_core/base/private/copytext.h>
#include <zelk_core/base/str.h>
#include <zelk_core/services/dbghelp/private/imageview.h>
#include <zelk_core/services/dbghelp/private/rangetable.h>
#include <zelk_core/services/dbghelp/private/symbolfile.h>
#include <zelk_core/services/dbghelp/private/symbolsources.h>
#include <zelk_core/services/dbghelp/windbghelp.h>

namespace Z4 {

namespace {

using Private::ImageView;

/// The symbol file of a module.
struct LoadedFile {
    SymbolMap map;
    char module[64]; ///< its file's name
};

/// Modules that went, of which the debug-help library does not know yet.
class UnloadedModules {
public:
    void Add(std::uintptr_t base) {
        const AutoLock guard(m_lock);
        if (m_count < std::size(m_bases)) {
            m_bases[m_count++] = base;
        } else {
            m_wasFull = true;
        }
    }
    /// Takes one out. @return 0 when there is none.
    std::uintptr_t Take() {
        const AutoLock guard(m_lock);
        return m_count != 0 ? m_bases[--m_count] : 0;
    }
    /// Whether some were lost since the last call.
    bool TakeLoss() {
        const AutoLock guard(m_lock);
        return std::exchange(m_wasFull, false);
    }
    void Clear() {
        const AutoLock guard(m_lock);
        m_count = 0;
        m_wasFull = false;
    }

private:
    static constexpr unsigned CAPACITY = 64;

    NonRecursiveSpinLock m_lock;
    std::uintptr_t m_bases[CAPACITY] = {};
    unsigned m_count = 0;
    bool m_wasFull = false;
};

constexpr unsigned MOST_FILES = 128;
using Files = Private::RangeTable<LoadedFile, MOST_FILES>;

constinit Files g_files;
constinit UnloadedModules g_unloaded;

void Z4_CDECL OnModule(const WinDbgHelp::DllNotificationData& data, void*) {
    const auto base = reinterpret_cast<std::uintptr_t>(data.baseAddress);
    g_files.Drop(base);
    if (data.unloaded) {
        g_unloaded.Add(base);
    }
}

/// The program or DLL in memory that `address` lies in; null when it lies in none.
const void* FindImage(const void* address) {
    MEMORY_BASIC_INFORMATION region;
    return VirtualQuery(address, &region, sizeof region) != 0 && region.Type == MEM_IMAGE ? region.AllocationBase
                                                                                          : nullptr;
}

ImageView ViewImage(const void* base) {
    constexpr std::uint32_t HEADERS = 4096; // one page, which every image has
    return {base, ImageView(base, HEADERS).GetImageSize()};
}

unsigned long OffsetIn(const void* base, const void* address) {
    return static_cast<unsigned long>(reinterpret_cast<std::uintptr_t>(address) -
                                      reinterpret_cast<std::uintptr_t>(base));
}

/// @return whether the file knows the place; perhaps only its object file.
bool FindInFiles(const void* address, SymbolInfo& info) {
    const auto place = reinterpret_cast<std::uintptr_t>(address);
    return g_files.Visit(place, [&](const Files::Entry& entry) {
        const auto rva = static_cast<unsigned long>(place - entry.base);
        SymbolMap::Symbol symbol;
        if (!entry.value.map.Find(rva, symbol)) {
            return false;
        }
        if (info.module[0] == '\0') {
            Private::CopyTruncated(info.module, entry.value.module);
        }
        if (info.file[0] == '\0') {
            Private::CopyTruncated(info.file, symbol.object);
        }
        const bool isKnown = *symbol.function != '\0';
        Private::CopyTruncated(info.function, symbol.function);
        info.displacement = isKnown ? rva - symbol.rva : 0;
        info.source = isKnown ? SYMBOL_FILE : SYMBOL_OBJECT_ONLY;
        return true;
    });
}

/// Symbols as the debug-help library reads them, then those in memory. One lives as long as the service.
class ModuleSymbols : public SymbolDataBase {
public:
    bool FindSymbol(const void* address, SymbolInfo& info) override {
        if (!FindInDebugInfo(address, info)) {
            Private::FindInMemory(address, info);
        }
        return info.function[0] != '\0';
    }

    void Release() override { delete this; }

private:
    static bool FindInDebugInfo(const void* address, SymbolInfo& info) {
        WinDbgHelp& debugHelp = WinDbgHelp::Instance();
        const HANDLE process = GetCurrentProcess();
        const DWORD64 place = reinterpret_cast<std::uintptr_t>(address);
        const bool canName = BringUpToDate(debugHelp, process, address);
        IMAGEHLP_LINE64 line{};
        line.SizeOfStruct = sizeof line;
        DWORD lineDisplacement = 0;
        if (debugHelp.SymGetLineFromAddr64(process, place, &lineDisplacement, &line)) {
            Private::CopyTruncated(info.file, line.FileName);
            info.line = line.LineNumber;
        }
        constexpr ULONG LONGEST_NAME = sizeof info.function;
        struct {
            IMAGEHLP_SYMBOL64 symbol;
            char name[LONGEST_NAME];
        } record{};
        record.symbol.SizeOfStruct = sizeof record.symbol;
        record.symbol.MaxNameLength = LONGEST_NAME;
        DWORD64 displacement = 0;
        if (!canName || !debugHelp.SymGetSymFromAddr64(process, place, &displacement, &record.symbol)) {
            return false;
        }
        Private::CopyTruncated(info.function, record.symbol.Name);
        info.displacement = static_cast<unsigned long>(displacement);
        info.source = SYMBOL_DEBUG_INFO;
        return true;
    }

    /// Has the library forget the modules that went, and read the one at `address` when it does not know it.
    /// @return whether it has more than exports of it, which it finds at their first byte only.
    static bool BringUpToDate(WinDbgHelp& debugHelp, HANDLE process, const void* address) {
        const bool readsSymbols = WinDbgHelp::GetLoadSymbols();
        if (g_unloaded.TakeLoss() && debugHelp.IsLoaded()) {
            g_unloaded.Clear();
            debugHelp.SymCleanup(process);
            static_cast<void>(debugHelp.SymInitialize(process, debugHelp.GetSymbolPath(), readsSymbols));
        }
        while (const std::uintptr_t base = g_unloaded.Take()) {
            debugHelp.SymUnloadModule64(process, base);
        }
        const DWORD64 place = reinterpret_cast<std::uintptr_t>(address);
        IMAGEHLP_MODULE64 module{};
        module.SizeOfStruct = sizeof module;
        if (!debugHelp.SymGetModuleInfo64(process, place, &module)) {
            const void* const base = FindImage(address);
            char path[MAX_PATH];
            const DWORD length = readsSymbols && base != nullptr
                                     ? GetModuleFileNameA(static_cast<HMODULE>(const_cast<void*>(base)), path, MAX_PATH)
                                     : 0;
            if (length == 0 || length == MAX_PATH ||
                debugHelp.SymLoadModule64(process, nullptr, path, nullptr, reinterpret_cast<std::uintptr_t>(base),
                                          ViewImage(base).GetImageSize()) == 0 ||
                !debugHelp.SymGetModuleInfo64(process, place, &module)) {
                return false;
            }
        }
        return module.SymType != SymNone && module.SymType != SymExport && module.SymType != SymDeferred;
    }
};

} // namespace

SymbolDataBase* Private::CreateSymbolDataBase() {
    g_unloaded.Clear();
    // There is a free place, unless the program has taken all; then what comes late stays unknown. WinDbgHelp forgets
    // its observers at its end.
    static_cast<void>(WinDbgHelp::Instance().RegisterDllNotificationCallback(OnModule, nullptr));
    return new ModuleSymbols;
}

bool Private::FindInMemory(const void* address, SymbolInfo& info) {
    if (FindInFiles(address, info)) {
        return true;
    }
    const void* const base = FindImage(address);
    if (base == nullptr) {
        return false;
    }
    const ImageView image = ViewImage(base);
    const unsigned long place = OffsetIn(base, address);
    if (info.module[0] == '\0') {
        CopyTruncated(info.module, image.GetName());
    }
    const char* name = nullptr;
    std::uint32_t start = 0;
    if (image.FindExport(place, name, start)) {
        CopyTruncated(info.function, name);
        info.displacement = place - start;
        info.source = SYMBOL_EXPORT;
    }
    return true;
}

void Private::WriteModulePath(const void* moduleBase, char (&path)[LONGEST_MODULE]) {
    wchar_t wide[MAX_PATH];
    const DWORD length = GetModuleFileNameW(static_cast<HMODULE>(const_cast<void*>(moduleBase)), wide, MAX_PATH);
    const bool isWhole = length != 0 && length < MAX_PATH;
    if (!isWhole || WideCharToMultiByte(CP_UTF8, 0, wide, -1, path, LONGEST_MODULE, nullptr, nullptr) == 0) {
        path[0] = '\0';
    }
}

Error Private::LoadSymbolFile(const void* moduleBase, const char* path) {
    if (moduleBase == nullptr || FindImage(moduleBase) != moduleBase) {
        return ERR_NOT_FOUND;
    }
    Files::Entry* const entry = new Files::Entry;
    if (entry == nullptr) {
        return ERR_OUT_OF_MEMORY;
    }
    const ImageView image = ViewImage(moduleBase);
    char file[LONGEST_MODULE];
    WriteModulePath(moduleBase, file);
    entry->base = reinterpret_cast<std::uintptr_t>(moduleBase);
    entry->size = image.GetImageSize();
    const StrView name = Path::FileName(file);
    CopyTruncated(entry->value.module, name.Data(), name.Size());
    Error error =
        path != nullptr ? ReadSymbolFile(path, image, entry->value.map) : FindSymbolFile(file, image, entry->value.map);
    if (error == ERR_OK) {
        error = g_files.Set(entry);
    }
    if (error != ERR_OK) {
        delete entry;
    }
    return error;
}

Error Private::UnloadSymbolFile(const void* moduleBase) {
    const bool wasThere = g_files.Drop(reinterpret_cast<std::uintptr_t>(moduleBase));
    g_files.Collect();
    return wasThere ? ERR_OK : ERR_NOT_FOUND;
}

bool Private::FindFunctionInModule(const void* moduleBase, const char* function, const void*& address) {
    std::uint32_t rva = 0;
    const bool isFound = g_files.Visit(reinterpret_cast<std::uintptr_t>(moduleBase), [&](const Files::Entry& entry) {
        unsigned long place = 0;
        const bool has = entry.value.map.FindName(function, place);
        rva = place;
        return has;
    });
    if (!isFound && (FindImage(moduleBase) != moduleBase || !ViewImage(moduleBase).FindExportByName(function, rva))) {
        return false;
    }
    address = static_cast<const char*>(moduleBase) + rva;
    return true;
}

void Private::UnloadAllSymbolFiles() {
    g_files.Clear();
}

} // namespace Z4
