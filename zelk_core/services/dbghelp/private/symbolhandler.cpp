#include <windows.h>

#include <dbghelp.h>

#include <atomic>
#include <cstddef>
#include <zelk_core/base/layout.h>
#include <zelk_core/base/path.h>
#include <zelk_core/base/private/copytext.h>
#include <zelk_core/base/private/singleton.h>
#include <zelk_core/base/str.h>
#include <zelk_core/os/atomic.h>
#include <zelk_core/os/autolock.h>
#include <zelk_core/services/dbghelp/private/symbolsources.h>
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

/// Whether `name`, with a path or without, is that of the module's file.
bool IsModule(const void* moduleBase, StrView name) {
    char path[Private::LONGEST_MODULE];
    Private::WriteModulePath(moduleBase, path);
    return Str::EqualsNoCase(path, name) || Str::EqualsNoCase(Path::FileName(path), name);
}

} // namespace

SymbolDataBase::~SymbolDataBase() = default;

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
    return Private::FindInMemory(address, info);
}

ErrorCodeWrapper SymbolHandler::LoadSymbolFile(const void* moduleBase, const char* path) {
    return Atomic::Get(m_shuttingDown) == 0 ? Private::LoadSymbolFile(moduleBase, path) : ERR_NOT_READY;
}

ErrorCodeWrapper SymbolHandler::UnloadSymbolFile(const void* moduleBase) {
    return Private::UnloadSymbolFile(moduleBase);
}

bool SymbolHandler::FindFunction(const char* module, const char* function, const void*& address) {
    if (function == nullptr || Atomic::Get(m_shuttingDown) != 0) {
        return false;
    }
    const StrView name = module;
    ProgramModuleDB& modules = ProgramModuleDB::Instance();
    ProgramModuleDB::Module candidate;
    for (unsigned long i = 0; modules.GetModule(i, candidate); ++i) {
        if ((name.IsEmpty() || IsModule(candidate.baseAddress, name)) &&
            Private::FindFunctionInModule(candidate.baseAddress, function, address)) {
            return true;
        }
    }
    return false;
}

void SymbolHandler::SetDemangler(Demangler demangler, void* context) {
    const AutoLock guard(m_demanglerLock);
    m_demangler = demangler;
    m_demanglerContext = context;
}

unsigned long SymbolHandler::Demangle(const char* name, char* text, unsigned long size) {
    constexpr unsigned long LONGEST = 4096;
    Demangler demangler = nullptr;
    void* context = nullptr;
    {
        const AutoLock guard(m_demanglerLock);
        demangler = m_demangler;
        context = m_demanglerContext;
    }
    if (name == nullptr) {
        name = "";
    }
    char readable[LONGEST] = "";
    const bool isMicrosoft = name[0] == '?';
    const bool isItanium = name[0] == '_' && name[1] == 'Z';
    if ((demangler != nullptr && (isMicrosoft || isItanium) && demangler(name, readable, LONGEST, context)) ||
        (isMicrosoft && Atomic::Get(m_shuttingDown) == 0 &&
         WinDbgHelp::Instance().UnDecorateSymbolName(name, readable, LONGEST, UNDNAME_COMPLETE) != 0)) {
        readable[LONGEST - 1] = '\0';
        return static_cast<unsigned long>(Str::Copy(text, size, readable));
    }
    return DemangleQuick(name, text, size);
}

void SymbolHandler::SetDataBase(SymbolDataBase* dataBase) {
    std::atomic_ref(m_dataBase).store(dataBase);
}

void SymbolHandler::SetShuttingDown(bool shuttingDown) {
    Atomic::Exchange(m_shuttingDown, shuttingDown ? 1 : 0);
}

} // namespace Z4
