// What the stand-in for the debug-help library does, and what it saw.
#pragma once

#include <windows.h>

#include <functional>
#include <string>
#include <vector>

namespace StandIn {

struct Call {
    std::string name;
    std::vector<unsigned long long> arguments;
    DWORD thread;
};

/// Reached through the stand-in's export `Script`.
struct Script {
    int initializeFailures = 0; ///< how many calls of SymInitialize fail, from the next on
    DWORD error = 0;            ///< the last error of every failure
    bool refreshFails = false;
    int enumerateFailures = 0;
    DWORD options = 0;                       ///< the current ones
    HANDLE hold = nullptr;                   ///< SymInitialize waits for this event first
    HANDLE holdEnd = nullptr;                ///< its thread waits for this event when it ends
    std::vector<unsigned long long> modules; ///< the bases that EnumerateLoadedModules64 tells of, 16 bytes each
    std::function<void()> meanwhile;         ///< called by it before each of them
    std::string searchPath;                  ///< of the last SymInitialize
    unsigned overlaps = 0;                   ///< calls that began while another ran
    std::vector<Call> calls;

    unsigned Count(const std::string& name) const {
        unsigned count = 0;
        for (const Call& call : calls) {
            count += call.name == name ? 1u : 0u;
        }
        return count;
    }
};

using GetScript = Script*(__cdecl*)();

} // namespace StandIn
