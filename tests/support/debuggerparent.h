// A debugger for a program of ours: runs it, passes on whatever it meets, and tells what that was.
#pragma once

#include <windows.h>

#include <string>

namespace ZelkTest {

struct DebuggedRun {
    DWORD exitCode = 0xFFFFFFFF;
    std::string output;  ///< what it wrote to the debugger
    unsigned breaks = 0; ///< stops of the program's own making
    unsigned steps = 0;  ///< single steps and hits of debug registers, which the program then handles itself
};

/// Runs this very program with other arguments. Its standard output goes nowhere: it would be taken for this program's.
inline DebuggedRun RunUnderDebugger(const char* arguments) {
    char program[MAX_PATH];
    GetModuleFileNameA(nullptr, program, MAX_PATH);
    std::string commandLine = std::string("\"") + program + "\" " + arguments;
    STARTUPINFOA startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES; // and has none
    PROCESS_INFORMATION process{};
    DebuggedRun run;
    if (CreateProcessA(program, commandLine.data(), nullptr, nullptr, FALSE, DEBUG_ONLY_THIS_PROCESS, nullptr, nullptr,
                       &startup, &process) == 0) {
        return run;
    }
    bool isAtStart = true; // the system stops each new process once
    DEBUG_EVENT event{};
    while (event.dwDebugEventCode != EXIT_PROCESS_DEBUG_EVENT && WaitForDebugEvent(&event, INFINITE) != 0) {
        DWORD answer = DBG_CONTINUE;
        if (event.dwDebugEventCode == OUTPUT_DEBUG_STRING_EVENT) {
            const OUTPUT_DEBUG_STRING_INFO& text = event.u.DebugString;
            std::string copy(text.nDebugStringLength, '\0');
            ReadProcessMemory(process.hProcess, text.lpDebugStringData, copy.data(), copy.size(), nullptr);
            run.output += copy.c_str();
        } else if (event.dwDebugEventCode == EXCEPTION_DEBUG_EVENT) {
            const DWORD code = event.u.Exception.ExceptionRecord.ExceptionCode;
            const bool isBreak = code == EXCEPTION_BREAKPOINT;
            run.breaks += isBreak && !isAtStart ? 1u : 0u;
            run.steps += code == EXCEPTION_SINGLE_STEP ? 1u : 0u;
            isAtStart = isAtStart && !isBreak;
            answer = isBreak ? DBG_CONTINUE : DBG_EXCEPTION_NOT_HANDLED;
        } else if (event.dwDebugEventCode == EXIT_PROCESS_DEBUG_EVENT) {
            run.exitCode = event.u.ExitProcess.dwExitCode;
        }
        ContinueDebugEvent(event.dwProcessId, event.dwThreadId, answer);
    }
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return run;
}

} // namespace ZelkTest
