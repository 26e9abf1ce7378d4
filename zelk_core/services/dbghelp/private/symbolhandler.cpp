#include <windows.h>

#include <dbghelp.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <zelk_core/base/layout.h>
#include <zelk_core/base/private/copytext.h>
#include <zelk_core/base/private/singleton.h>
#include <zelk_core/os/atomic.h>
#include <zelk_core/services/dbghelp/private/imageview.h>
#include <zelk_core/services/dbghelp/private/symboldatabase.h>
#include <zelk_core/services/dbghelp/programmoduledb.h>
#include <zelk_core/services/dbghelp/symbolhandler.h>
#include <zelk_core/services/dbghelp/windbghelp.h>

namespace Z4 {

template <>
struct Private::Layout<SymbolInfo> {
    static_assert(offsetof(SymbolInfo, module) == 0);
    static_assert(offsetof(SymbolInfo, function) == 260);
    static_assert(offsetof(SymbolInfo, displacement) == 516);
    static_assert(offsetof(SymbolInfo, file) == 520);
    static_assert(offsetof(SymbolInfo, line) == 780);
    static_assert(offsetof(SymbolInfo, source) == 784);
    static_assert(sizeof(SymbolInfo) == 788);
};

namespace {

constinit Private::Singleton<SymbolHandler> g_instance;

/// Symbols as the debug-help library reads them. One lives as long as the service.
class W32DebugSymbolDataBase : public SymbolDataBase {
public:
    bool FindSymbol(const void* address, SymbolInfo& info) override {
        constexpr ULONG LONGEST_NAME = sizeof info.function;
        struct {
            IMAGEHLP_SYMBOL64 symbol;
            char name[LONGEST_NAME];
        } record{};
        record.symbol.SizeOfStruct = sizeof record.symbol;
        record.symbol.MaxNameLength = LONGEST_NAME;
        const DWORD64 place = reinterpret_cast<std::uintptr_t>(address);
        const HANDLE process = GetCurrentProcess();
        WinDbgHelp& debugHelp = WinDbgHelp::Instance();
        DWORD64 displacement = 0;
        const bool found = debugHelp.SymGetSymFromAddr64(process, place, &displacement, &record.symbol);
        if (found) {
            Private::CopyTruncated(info.function, record.symbol.Name);
            info.displacement = static_cast<unsigned long>(displacement);
            info.source = SYMBOL_DEBUG_INFO;
        }
        IMAGEHLP_LINE64 line{};
        line.SizeOfStruct = sizeof line;
        DWORD lineDisplacement = 0;
        if (debugHelp.SymGetLineFromAddr64(process, place, &lineDisplacement, &line)) {
            Private::CopyTruncated(info.file, line.FileName);
            info.line = line.LineNumber;
        }
        return found;
    }

    void Release() override { delete this; }
};

/// The program or DLL in memory that `address` lies in; null when it lies in none.
const void* FindImage(const void* address) {
    MEMORY_BASIC_INFORMATION region;
    return VirtualQuery(address, &region, sizeof region) != 0 && region.Type == MEM_IMAGE ? region.AllocationBase
                                                                                          : nullptr;
}

Private::ImageView ViewImage(const void* base) {
    constexpr std::uint32_t HEADERS = 4096; // one page, which every image has
    return {base, Private::ImageView(base, HEADERS).GetImageSize()};
}

} // namespace

SymbolDataBase::~SymbolDataBase() = default;

SymbolDataBase* Private::CreateSymbolDataBase() {
    return new W32DebugSymbolDataBase;
}

void SymbolHandler::SingletonInit() {
    g_instance.Get();
}

SymbolHandler& SymbolHandler::Instance() {
    return g_instance.Get();
}

bool SymbolHandler::Resolve(const void* address, SymbolInfo& info) {
    info = {};
    if (Atomic::Get(m_shuttingDown) != 0) {
        return false;
    }
    ProgramModuleDB::Module module;
    if (!ProgramModuleDB::Instance().FindModule(address, module)) {
        return false;
    }
    Private::CopyTruncated(info.module, module.name);
    SymbolDataBase* const dataBase = std::atomic_ref(m_dataBase).load();
    if (dataBase != nullptr) {
        dataBase->FindSymbol(address, info);
    }
    return true;
}

bool SymbolHandler::ResolveQuick(const void* address, SymbolInfo& info) {
    info = {};
    const void* const base = FindImage(address);
    if (base == nullptr) {
        return false;
    }
    const Private::ImageView image = ViewImage(base);
    const auto place = reinterpret_cast<std::uintptr_t>(address) - reinterpret_cast<std::uintptr_t>(base);
    Private::CopyTruncated(info.module, image.GetName());
    const char* name = nullptr;
    std::uint32_t start = 0;
    if (image.FindExport(static_cast<std::uint32_t>(place), name, start)) {
        Private::CopyTruncated(info.function, name);
        info.displacement = static_cast<unsigned long>(place - start);
        info.source = SYMBOL_EXPORT;
    }
    return true;
}

void SymbolHandler::SetDataBase(SymbolDataBase* dataBase) {
    std::atomic_ref(m_dataBase).store(dataBase);
}

void SymbolHandler::SetShuttingDown(bool shuttingDown) {
    Atomic::Exchange(m_shuttingDown, shuttingDown ? 1 : 0);
}

} // namespace Z4
