#include "standin.h"

#include <dbghelp.h>

#include <algorithm>

namespace ZelkTest {

namespace {

StandIn* g_standIn;

/// A text that can be a template's argument.
struct Name {
    char text[32] = {};

    template <std::size_t SIZE>
    consteval Name(const char (&from)[SIZE]) {
        std::copy_n(from, SIZE, text);
    }
};

template <Name NAME, class Result, class... Arguments>
Result WINAPI Record(Arguments... arguments) {
    const StandIn::Call call{NAME.text, {ToNumber(arguments)...}, GetCurrentThreadId()};
    g_standIn->calls.push_back(call);
    const auto answer = g_standIn->answers.find(call.name);
    return FromNumber<Result>(answer != g_standIn->answers.end() ? answer->second(call) : StandIn::USUAL_ANSWER);
}

template <Name NAME, class Result, class... Arguments>
FARPROC RecordAs(Result(WINAPI*)(Arguments...)) {
    return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(Record<NAME, Result, Arguments...>));
}

LONG NTAPI Register(ULONG, decltype(StandIn::notify) notify, void* context, void** cookie) {
    g_standIn->notify = notify;
    g_standIn->context = context;
    *cookie = g_standIn;
    return 0;
}

LONG NTAPI Unregister(void* cookie) {
    if (cookie == g_standIn) {
        g_standIn->notify = nullptr;
    }
    return 0;
}

// clang-format off
#define STAND_IN(name) {#name, RecordAs<#name>(static_cast<decltype(&::name)>(nullptr))},
// clang-format on
const struct {
    std::string name;
    FARPROC function;
} FUNCTIONS[] = {ZELK_FOR_EACH_STAND_IN(STAND_IN) //
                 {"LdrRegisterDllNotification", reinterpret_cast<FARPROC>(reinterpret_cast<void*>(Register))},
                 {"LdrUnregisterDllNotification", reinterpret_cast<FARPROC>(reinterpret_cast<void*>(Unregister))}};

FARPROC WINAPI LookUp(HMODULE module, LPCSTR name) {
    g_standIn->lookedUp.push_back(name);
    g_standIn->atLookUp();
    if (g_standIn->isMissing != nullptr && g_standIn->isMissing(name)) {
        return nullptr;
    }
    for (const auto& row : FUNCTIONS) {
        if (row.name == name) {
            return row.function;
        }
    }
    return GetProcAddress(module, name);
}

} // namespace

StandIn::StandIn() : m_lookUp("GetProcAddress", LookUp) {
    g_standIn = this;
}

StandIn::~StandIn() {
    g_standIn = nullptr;
}

unsigned StandIn::Count(const std::string& name) const {
    return static_cast<unsigned>(
        std::count_if(calls.begin(), calls.end(), [&](const Call& call) { return call.name == name; }));
}

std::string StandIn::Names() const {
    std::string names;
    for (const Call& call : calls) {
        names += call.name.substr(3) + " ";
    }
    return names;
}

StandIn::Answer StandIn::Fails(int failures, DWORD error) {
    return [=](const Call&) mutable -> unsigned long long {
        if (failures == 0) {
            return TRUE;
        }
        --failures;
        SetLastError(error);
        return FALSE;
    };
}

} // namespace ZelkTest
