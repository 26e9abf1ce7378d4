#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <zelk_core/base/layout.h>
#include <zelk_core/base/private/copytext.h>
#include <zelk_core/base/private/singleton.h>
#include <zelk_core/os/autolock.h>
#include <zelk_core/services/dbghelp/private/pushbackorkeep.h>
#include <zelk_core/services/dbghelp/programmoduledb.h>

namespace Z4 {

template <>
struct Private::Layout<ProgramModuleDB::Module> {
    static_assert(offsetof(ProgramModuleDB::Module, baseAddress) == 0);
    static_assert(offsetof(ProgramModuleDB::Module, size) == 4);
    static_assert(offsetof(ProgramModuleDB::Module, name) == 8);
    static_assert(sizeof(ProgramModuleDB::Module) == 268);
};

namespace {

constinit Private::Singleton<ProgramModuleDB> g_instance;

using Private::PushBackOrKeep;
using Guard = AutoLock<BlockingLock>;

bool Contains(const ProgramModuleDB::Module& module, const void* address) {
    // An address before the base wraps to a large offset.
    const std::uintptr_t offset =
        reinterpret_cast<std::uintptr_t>(address) - reinterpret_cast<std::uintptr_t>(module.baseAddress);
    return offset < module.size;
}

const void* BaseOf(const ProgramModuleDB::Module& module) {
    return module.baseAddress;
}

const void* BaseOf(const void* base) {
    return base;
}

template <class T>
const T* FindBase(const Vector<T>& list, const void* base) {
    for (const T& element : list) {
        if (BaseOf(element) == base) {
            return &element;
        }
    }
    return nullptr;
}

template <class T>
void EraseBase(Vector<T>& list, const void* base) {
    if (const T* const found = FindBase(list, base); found != nullptr) {
        list.Erase(found);
    }
}

/// What one look at the system's list gave.
struct Reading {
    Vector<ProgramModuleDB::Module> modules;
    bool refused = false;
};

int Z4_STDCALL AddEnumerated(const char* name, unsigned long long base, unsigned long size, void* context) {
    Reading& reading = *static_cast<Reading*>(context);
    ProgramModuleDB::Module module{reinterpret_cast<void*>(static_cast<std::uintptr_t>(base)), size, {}};
    Private::CopyTruncated(module.name, name);
    // A list that changed while the system read it begins anew.
    EraseBase(reading.modules, module.baseAddress);
    reading.refused = !PushBackOrKeep(reading.modules, module) || reading.refused;
    return TRUE;
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
        // Waits for the notification that another thread may be in. ERR_NOT_FOUND when WinDbgHelp was made anew.
        WinDbgHelp::Instance().UnregisterDllNotificationCallback(UpdateModulesList, this);
    }
}

Error ProgramModuleDB::Subscribe() {
    const Error result = WinDbgHelp::Instance().RegisterDllNotificationCallback(UpdateModulesList, this);
    if (result == ERR_OK) {
        const Guard guard(m_lock);
        m_subscribed = true;
        // Nobody has kept current what was read before.
        m_modules.Clear();
        NoteLoss();
    }
    return result;
}

unsigned long ProgramModuleDB::GetCount() {
    ReadModulesOnce();
    const Guard guard(m_lock);
    return m_modules.Size();
}

bool ProgramModuleDB::GetModule(unsigned long index, Module& module) {
    ReadModulesOnce();
    const Guard guard(m_lock);
    if (index >= m_modules.Size()) {
        return false;
    }
    module = m_modules[index];
    return true;
}

bool ProgramModuleDB::FindModule(const void* address, Module& module) {
    ReadModulesOnce();
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
    Module module{data.baseAddress, data.size, {}};
    const int last = sizeof module.name - 1;
    // Too long a name leaves the text empty or unfinished: then the short one.
    if (WideCharToMultiByte(CP_ACP, 0, data.fullName, -1, module.name, last, nullptr, nullptr) == 0) {
        WideCharToMultiByte(CP_ACP, 0, data.baseName, -1, module.name, last, nullptr, nullptr);
    }
    module.name[last] = '\0';
    const Guard guard(self.m_lock);
    EraseBase(self.m_modules, module.baseAddress);
    EraseBase(self.m_unloaded, module.baseAddress);
    if (!data.unloaded) {
        self.Add(module);
    } else if (self.m_readers != 0 && !PushBackOrKeep(self.m_unloaded, module.baseAddress)) {
        self.NoteLoss();
    }
}

void ProgramModuleDB::ReadModulesOnce() {
    unsigned long losses = 0;
    {
        const Guard guard(m_lock);
        if (m_read) {
            return;
        }
        ++m_readers;
        losses = m_losses;
    }
    // Into a list of one's own and not under the lock: a notification waits for the lock inside the loader, and the
    // system's list may wait for the loader.
    Reading reading;
    const bool enumerated =
        WinDbgHelp::Instance().EnumerateLoadedModules64(GetCurrentProcess(), AddEnumerated, &reading);
    const Guard guard(m_lock);
    if (!m_read && losses == m_losses) {
        m_read = enumerated && !reading.refused;
        // Of a module that came or went meanwhile, the notifications know better.
        for (const Module& module : reading.modules) {
            if (FindBase(m_modules, module.baseAddress) == nullptr &&
                FindBase(m_unloaded, module.baseAddress) == nullptr) {
                Add(module);
            }
        }
    }
    if (--m_readers == 0) {
        m_unloaded.Clear();
    }
}

void ProgramModuleDB::Add(const Module& module) {
    if (!PushBackOrKeep(m_modules, module)) {
        NoteLoss();
    }
}

void ProgramModuleDB::NoteLoss() {
    ++m_losses;
    m_read = false;
}

} // namespace Z4
