#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <host/internal.h>
#include <memory>
#include <new>

namespace ZelkHost {

namespace {

struct Log {
    SlimLock lock;
    std::wstring path; // empty for standard error
    HANDLE file = INVALID_HANDLE_VALUE;
};

constinit std::atomic<unsigned> g_levels = 7;
constinit InitCount g_uses;

// Never destroyed: messages may come after the end of main.
Log& GetLog() {
    alignas(Log) static unsigned char storage[sizeof(Log)];
    static Log& log = *::new (static_cast<void*>(storage)) Log; // needs no memory that could be refused
    return log;
}

/// A formatted text of any length; cut to the local buffer only when memory has run out.
class Message {
public:
    Message(const char* format, va_list arguments) {
        va_list again;
        va_copy(again, arguments);
        const int result = std::vsnprintf(m_local, sizeof(m_local), format, arguments);
        m_length = result < 0 ? 0 : static_cast<std::size_t>(result);
        if (m_length >= sizeof(m_local)) {
            m_large.reset(new (std::nothrow) char[m_length + 1]);
            if (m_large != nullptr) {
                std::vsnprintf(m_large.get(), m_length + 1, format, again);
            } else {
                m_length = sizeof(m_local) - 1;
            }
        }
        va_end(again);
    }

    const char* Text() const { return m_large != nullptr ? m_large.get() : m_local; }
    std::size_t Length() const { return m_length; }

private:
    char m_local[1024];
    std::unique_ptr<char[]> m_large;
    std::size_t m_length;
};

// Once per message: the system keeps a single write in one piece, even among processes that share the destination.
void Write(HANDLE destination, const Message& message) {
    DWORD written = 0;
    WriteFile(destination, message.Text(), static_cast<DWORD>(message.Length()), &written, nullptr);
}

HANDLE OpenDestination(Log& log) {
    if (!log.path.empty() && log.file == INVALID_HANDLE_VALUE) {
        log.file =
            CreateFileW(log.path.c_str(), FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                        nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    }
    return log.file != INVALID_HANDLE_VALUE ? log.file : GetStdHandle(STD_ERROR_HANDLE);
}

void Print(const char* format, va_list arguments) {
    const Message message(format, arguments);
    Log& log = GetLog();
    const std::lock_guard guard(log.lock);
    Write(OpenDestination(log), message);
}

void PrintFormatted(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    Print(format, arguments);
    va_end(arguments);
}

void ReportArguments(const char* format, va_list arguments) {
    const Message message(format, arguments);
    const std::lock_guard guard(GetLog().lock);
    Write(GetStdHandle(STD_ERROR_HANDLE), message);
}

void CloseFile(Log& log) {
    if (log.file != INVALID_HANDLE_VALUE) {
        CloseHandle(log.file);
        log.file = INVALID_HANDLE_VALUE;
    }
}

int Z4_CDECL Init(unsigned version) {
    g_uses.Enter([] {});
    return CheckVersion("log", version, Z4::EAL_LOG_VERSION);
}

int Z4_CDECL Shutdown() {
    g_uses.Leave([] {
        Log& log = GetLog();
        const std::lock_guard guard(log.lock);
        CloseFile(log);
    });
    return 0;
}

unsigned char Z4_CDECL IsEnabled(int, unsigned level) {
    return (g_levels & level) != 0;
}

// Prints an assertion's first failure only: its ignore flag, where it has one, is set then, and a set flag silences
// it. Asks for a break when there is a debugger to take it.
unsigned char Z4_CDECL AssertMessage(int id, const char* expression, const char* message, const char* file,
                                     unsigned long line, unsigned long, unsigned long* ignoreFlag) {
    if (ignoreFlag != nullptr && std::atomic_ref(*ignoreFlag).exchange(1) != 0) {
        return 0;
    }
    PrintFormatted("%s(%lu): assertion failed in context 0x%08X: %s: %s\n", file, line, static_cast<unsigned>(id),
                   expression, message);
    return IsDebuggerPresent() != 0;
}

// The text says by itself where it comes from and how grave it is.
void Z4_CDECL VPrint(int, unsigned level, const char*, unsigned long, const char* format, va_list arguments) {
    if (format != nullptr && (g_levels & level) != 0) {
        Print(format, arguments);
    }
}

} // namespace

const Z4::eal_log_dll_interface& LogTable() {
    static constexpr Z4::eal_log_dll_interface TABLE{.init = Init,
                                                     .shutdown = Shutdown,
                                                     .reserved2 = nullptr,
                                                     .reserved3 = nullptr,
                                                     .is_enabled = IsEnabled,
                                                     .assert_message = AssertMessage,
                                                     .vprint = VPrint,
                                                     .reserved7 = nullptr,
                                                     .reserved8 = nullptr};
    return TABLE;
}

void SetLogOptions(const Options& options) {
    g_levels = options.logLevels;
    Log& log = GetLog();
    const std::lock_guard guard(log.lock);
    CloseFile(log);
    if (options.logFile == nullptr || !Widen(options.logFile, log.path)) {
        log.path.clear();
    }
}

void Report(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    ReportArguments(format, arguments);
    va_end(arguments);
}

void Fatal(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    ReportArguments(format, arguments);
    va_end(arguments);
    std::abort();
}

} // namespace ZelkHost
