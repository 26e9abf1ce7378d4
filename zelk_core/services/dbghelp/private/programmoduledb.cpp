#include <windows.h>

#include <cstdint>
#include <cstring>
#include <zelk_core/base/private/singleton.h>
#include <zelk_core/os/autolock.h>
#include <zelk_core/services/dbghelp/programmoduledb.h>

namespace Z4 {

namespace {

constinit Private::Singleton<ProgramModuleDB> g_instance;

using Guard = AutoLock<BlockingLock>;

bool Contains(const ProgramModuleDB::Module& module, const void* address) {
    // An address before the base wraps to a large offset.
    const std::uintptr_t offset =
        reinterpret_cast<std::uintptr_t>(address) - reinterpret_cast<std::uintptr_t>(module.baseAddress);
    return offset < module.size;
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
    if (m_subscribed) {
        WinDbgHelp::Instance().UnregisterDllNotificationCallback(UpdateModulesList, this);
    }
}

Error ProgramModuleDB::Subscribe() {
    const Error result = WinDbgHelp::Instance().RegisterDllNotificationCallback(UpdateModulesList, this);
    m_subscribed = m_subscribed || result == ERR_OK;
    return result;
}

unsigned long ProgramModuleDB::GetCount() {
    ReadOnce();
    const Guard guard(m_lock);
    return m_modules.Size();
}

bool ProgramModuleDB::GetModule(unsigned long index, Module& module) {
    ReadOnce();
    const Guard guard(m_lock);
    if (index >= m_modules.Size()) {
        return false;
    }
    module = m_modules[index];
    return true;
}

bool ProgramModuleDB::FindModule(const void* address, Module& module) {
    ReadOnce();
    const Guard guard(m_lock);
    for (const Module& candidate : m_modules) {
        if (Contains(candidate, address)) {
            module = candidate;
            return true;
        }
    }
    return false;
}

void Z4_CDECL ProgramModuleDB::UpdateModulesList(const WinDbgHelp::DllNotificationData& data, void* context) {
    ProgramModuleDB& self = *static_cast<ProgramModuleDB*>(context);
    const Guard guard(self.m_lock);
    if (data.unloaded) {
        ++self.m_unloads;
        self.Remove(data.baseAddress);
        return;
    }
    Module module{data.baseAddress, data.size, {}};
    const int last = sizeof module.name - 1;
    // Too long a name leaves the text empty or unfinished: then the short one.
    if (WideCharToMultiByte(CP_ACP, 0, data.fullName, -1, module.name, last, nullptr, nullptr) == 0) {
        WideCharToMultiByte(CP_ACP, 0, data.baseName, -1, module.name, last, nullptr, nullptr);
    }
    module.name[last] = '\0';
    self.Add(module);
}

int Z4_STDCALL ProgramModuleDB::AddEnumerated(const char* name, unsigned long long base, unsigned long size,
                                              void* context) {
    ProgramModuleDB& self = *static_cast<ProgramModuleDB*>(context);
    Module module{reinterpret_cast<void*>(static_cast<std::uintptr_t>(base)), size, {}};
    std::memcpy(module.name, name, strnlen(name, sizeof module.name - 1));
    const Guard guard(self.m_lock);
    self.Add(module);
    return TRUE;
}

void ProgramModuleDB::ReadOnce() {
    // Not under the lock: a notification waits for the lock inside the loader, and the enumeration may wait for the
    // loader. A module unloaded meanwhile could be put in after its removal, so the list is then read again.
    for (;;) {
        unsigned long unloads = 0;
        {
            const Guard guard(m_lock);
            if (m_read) {
                return;
            }
            m_modules.Clear();
            unloads = m_unloads;
        }
        WinDbgHelp::Instance().EnumerateLoadedModules64(GetCurrentProcess(), AddEnumerated, this);
        const Guard guard(m_lock);
        m_read = unloads == m_unloads;
    }
}

void ProgramModuleDB::Add(const Module& module) {
    Remove(module.baseAddress);
    m_modules.PushBack(module);
}

void ProgramModuleDB::Remove(const void* baseAddress) {
    for (const Module& module : m_modules) {
        if (module.baseAddress == baseAddress) {
            m_modules.Erase(&module);
            return;
        }
    }
}

} // namespace Z4
