#include <windows.h>

#include <winternl.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <zelk_core/base/layout.h>
#include <zelk_core/base/private/singleton.h>
#include <zelk_core/os/atomic.h>
#include <zelk_core/services/dbghelp/private/codemodules.h>
#include <zelk_core/services/dbghelp/private/textroom.h>
#include <zelk_core/services/dbghelp/programmoduledb.h>

// The loader's list, which the system's headers do not declare.
struct LoaderEntry {
    LIST_ENTRY links[3];
    void* base;
    void* entryPoint;
    ULONG size;
    UNICODE_STRING fullName;
    UNICODE_STRING baseName;
};
extern "C" NTSYSAPI NTSTATUS NTAPI LdrEnumerateLoadedModules(
    ULONG reserved, void(NTAPI* callback)(const LoaderEntry* entry, void* context, BOOLEAN* stop), void* context);

namespace Z4 {

template <>
struct Private::Layout<ProgramModuleDB::Module> {
    static_assert(offsetof(ProgramModuleDB::Module, baseAddress) == 0);
    static_assert(offsetof(ProgramModuleDB::Module, size) == 4);
    static_assert(offsetof(ProgramModuleDB::Module, name) == 8);
    static_assert(offsetof(ProgramModuleDB::Module, timeStamp) == 268);
    static_assert(sizeof(ProgramModuleDB::Module) == 272);
    static_assert(sizeof(ProgramModuleDB::Module::name) == sizeof(Private::ModuleName::text));
    static_assert(ProgramModuleDB::MAX_MODULES == Private::CodeModules::CAPACITY);
};

namespace {

constinit Private::Singleton<ProgramModuleDB> g_instance;

using Private::CodeModule;
using Private::g_codeModules;
using Private::ModuleName;

/// Too long a name leaves the text empty or unfinished: then the short one.
void ConvertName(const wchar_t* fullName, int fullLength, const wchar_t* baseName, int baseLength, ModuleName& name) {
    constexpr int LAST = sizeof name.text - 1;
    name = {};
    if (WideCharToMultiByte(CP_ACP, 0, fullName, fullLength, name.text, LAST, nullptr, nullptr) == 0) {
        std::memset(name.text, 0, sizeof name.text);
        WideCharToMultiByte(CP_ACP, 0, baseName, baseLength, name.text, LAST, nullptr, nullptr);
    }
}

void ConvertName(const UNICODE_STRING& fullName, const UNICODE_STRING& baseName, ModuleName& name) {
    constexpr int UNIT = sizeof(wchar_t);
    ConvertName(fullName.Buffer, fullName.Length / UNIT, baseName.Buffer, baseName.Length / UNIT, name);
}

void NTAPI PutEntry(const LoaderEntry* entry, void*, BOOLEAN*) {
    ModuleName name;
    ConvertName(entry->fullName, entry->baseName, name);
    g_codeModules.Put(entry->base, entry->size, name);
}

void ToModule(const CodeModule& found, const ModuleName& name, ProgramModuleDB::Module& module) {
    module.baseAddress = reinterpret_cast<void*>(found.key);
    module.size = found.size;
    std::memcpy(module.name, name.text, sizeof module.name);
    module.timeStamp = found.timeStamp;
}

} // namespace

void ProgramModuleDB::SingletonInit() {
    g_instance.Get();
}

void ProgramModuleDB::SingletonShutdown() {
    g_instance.Destroy();
}

ProgramModuleDB& ProgramModuleDB::Instance() {
    return g_instance.Get();
}

ProgramModuleDB::~ProgramModuleDB() {
    if (m_subscribed != 0) {
        // Waits for the notification that another thread may be in. ERR_NOT_FOUND when WinDbgHelp was made anew.
        WinDbgHelp::Instance().UnregisterDllNotificationCallback(UpdateModulesList, this);
    }
    g_codeModules.Clear();
}

Error ProgramModuleDB::Subscribe() {
    const Error result = WinDbgHelp::Instance().RegisterDllNotificationCallback(UpdateModulesList, this);
    if (result == ERR_OK) {
        Atomic::Exchange(m_subscribed, 1);
        // Nobody has kept current what was read before.
        Atomic::Increment(m_wanted);
        ReadModulesOnce();
    }
    return result;
}

Error ProgramModuleDB::Prepare() {
    ReadModulesOnce();
    return g_codeModules.MakeIndexes();
}

unsigned long ProgramModuleDB::GetCount() {
    ReadModulesOnce();
    return g_codeModules.GetCount();
}

bool ProgramModuleDB::GetModule(unsigned long index, Module& module) {
    ReadModulesOnce();
    CodeModule found;
    ModuleName name;
    if (!g_codeModules.Get(index, found, name)) {
        return false;
    }
    ToModule(found, name, module);
    return true;
}

bool ProgramModuleDB::FindModule(const void* address, Module& module) {
    ReadModulesOnce();
    CodeModule found;
    ModuleName name;
    if (!g_codeModules.FindNamed(reinterpret_cast<std::uintptr_t>(address), found, name)) {
        return false;
    }
    ToModule(found, name, module);
    return true;
}

unsigned long ProgramModuleDB::GetLost() {
    return g_codeModules.GetLost();
}

unsigned long ProgramModuleDB::ToText(char* text, unsigned long size) {
    Private::TextRoom room(text, size);
    Module module;
    for (unsigned long i = 0; GetModule(i, module); ++i) {
        const auto base = static_cast<unsigned long>(reinterpret_cast<std::uintptr_t>(module.baseAddress));
        room.Print("%08lx-%08lx %08lx %s\n", base, base + module.size, module.timeStamp,
                   static_cast<const char*>(module.name));
    }
    return room.Length();
}

void Z4_CDECL ProgramModuleDB::UpdateModulesList(const WinDbgHelp::DllNotificationData& data, void*) {
    if (data.unloaded) {
        g_codeModules.Remove(data.baseAddress);
        return;
    }
    ModuleName name;
    ConvertName(data.fullName, lstrlenW(data.fullName), data.baseName, lstrlenW(data.baseName), name);
    g_codeModules.Put(data.baseAddress, data.size, name);
}

void ProgramModuleDB::ReadModulesOnce() {
    const unsigned long wanted = Atomic::Get(m_wanted);
    if (Atomic::Get(m_read) == wanted) {
        return;
    }
    // What comes and goes before the notifications begin is told by nobody.
    const bool isObserved = Atomic::Get(m_subscribed) == 0 || WinDbgHelp::Instance().IsReady();
    const std::uint32_t serial = g_codeModules.GetNextSerial();
    // The loader's lock keeps the list as it is meanwhile, and notifications away.
    if (LdrEnumerateLoadedModules(0, PutEntry, nullptr) < 0) {
        return;
    }
    g_codeModules.RemoveOlder(serial);
    if (isObserved) {
        Atomic::Exchange(m_read, wanted);
    }
}

} // namespace Z4
