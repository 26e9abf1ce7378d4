// What the compiler's own run-time library would put into each module: its entry, thread-local storage, and the table
// of exception handlers that the system holds every handler against. The C library itself is the system's.
#include <windows.h>

using Function = void(__cdecl*)();

extern "C" {

int _fltused = 0x9875; // asked for by each object that has floating-point numbers

// The linker sorts sections of one name by what follows the dollar sign: the compiler puts the addresses of
// initialisers between these two, and the initial values of thread-local variables between those two.
#pragma section(".CRT$XCA", long, read)
#pragma section(".CRT$XCZ", long, read)
__declspec(allocate(".CRT$XCA")) Function g_initialisers[] = {nullptr};
__declspec(allocate(".CRT$XCZ")) Function g_initialisersEnd[] = {nullptr};

#pragma section(".tls", long, read, write)
#pragma section(".tls$ZZZ", long, read, write)
__declspec(allocate(".tls")) char _tls_start = 0;
__declspec(allocate(".tls$ZZZ")) char _tls_end = 0;

unsigned long _tls_index = 0;
__asm__(".globl __tls_array\n__tls_array = 0x2c\n"); // where a thread's block has the modules' copies

#pragma section(".rdata$T", long, read)
extern const IMAGE_TLS_DIRECTORY32 _tls_used;
__declspec(allocate(".rdata$T")) const IMAGE_TLS_DIRECTORY32 _tls_used = {reinterpret_cast<DWORD>(&_tls_start),
                                                                          reinterpret_cast<DWORD>(&_tls_end),
                                                                          reinterpret_cast<DWORD>(&_tls_index),
                                                                          0,
                                                                          0,
                                                                          {}};

// The linker fills the table. Without this record it marks the module as one that handles no exceptions.
extern void* __safe_se_handler_table[];
extern char __safe_se_handler_count;
extern const IMAGE_LOAD_CONFIG_DIRECTORY32 _load_config_used;
const IMAGE_LOAD_CONFIG_DIRECTORY32 _load_config_used = {
    .Size = 72, // up to and with these two
    .SEHandlerTable = reinterpret_cast<DWORD>(__safe_se_handler_table),
    .SEHandlerCount = reinterpret_cast<DWORD>(&__safe_se_handler_count)};

int __cdecl _purecall() {
    __builtin_trap();
}

// The system's C library has it on some systems only.
size_t __cdecl strnlen(const char* text, size_t limit) {
    size_t length = 0;
    while (length < limit && text[length] != '\0') {
        ++length;
    }
    return length;
}

} // extern "C"

namespace {

void Initialise() {
    for (Function* function = g_initialisers; function != g_initialisersEnd; ++function) {
        if (*function != nullptr) {
            (*function)();
        }
    }
}

} // namespace

#if defined(MSABI_DLL)

// The DLL has nothing to do at its end: a static object with a destructor would ask for atexit, which is not here.
extern "C" BOOL __stdcall _DllMainCRTStartup(HINSTANCE, DWORD reason, void*) {
    if (reason == DLL_PROCESS_ATTACH) {
        Initialise();
    }
    return TRUE;
}

#elif defined(MSABI_MODULE)

extern "C" {

Function __cdecl __dllonexit(Function function, Function** begin, Function** end);
void* __cdecl malloc(size_t size);
void __cdecl free(void* memory);

// What the module does at its end, in the order in which it was asked for. The C library lengthens the list, but begins
// none.
static Function* g_atExit = nullptr;
static Function* g_atExitEnd = nullptr;

int __cdecl atexit(Function function) {
    return __dllonexit(function, &g_atExit, &g_atExitEnd) != nullptr ? 0 : -1;
}

BOOL __stdcall _DllMainCRTStartup(HINSTANCE, DWORD reason, void*) {
    if (reason == DLL_PROCESS_ATTACH) {
        g_atExit = g_atExitEnd = static_cast<Function*>(malloc(32 * sizeof(Function)));
        if (g_atExit == nullptr) {
            return FALSE;
        }
        Initialise();
    } else if (reason == DLL_PROCESS_DETACH) {
        while (g_atExitEnd != g_atExit) {
            (*--g_atExitEnd)();
        }
        free(g_atExit);
    }
    return TRUE;
}

} // extern "C"

#else

extern "C" {

int main(int argc, char** argv);
__declspec(noreturn) void __cdecl exit(int code);
Function __cdecl _onexit(Function function);
int __cdecl __getmainargs(int* argc, char*** argv, char*** environment, int expandWildcards, int* newMode);

int __cdecl atexit(Function function) {
    return _onexit(function) != nullptr ? 0 : -1;
}

void mainCRTStartup() {
    int argc = 0;
    char** argv = nullptr;
    char** environment = nullptr;
    int newMode = 0;
    __getmainargs(&argc, &argv, &environment, 0, &newMode);
    Initialise();
    exit(main(argc, argv));
}

} // extern "C"

#endif
