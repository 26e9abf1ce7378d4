/// @file
/// Messages and assertions on their way to the host's log table. The host decides which levels are printed, and formats
/// what it prints.
///
/// A message's text is complete, with prefix, level and line ends. Its file and line are a fixed name, by which users
/// find the message in every version of the library; they do not say where the call stands today.
#pragma once

#include <cstdarg>
#include <type_traits>
#include <zelk_core/base/api.h>
#include <zelk_core/base/formatcheck.h>

namespace Z4 {

/// How serious a message is. The values are single bits: a host can keep those that it prints in one mask.
enum EalLogLevel : unsigned {
    EAL_LOG_INFO = 1,
    EAL_LOG_WARNING = 2,
    EAL_LOG_ERROR = 4,
};

namespace Private {

/// Asks the host whether it prints messages of `level` from the library, and if so hands it the message as it is, for
/// the host to format. Any thread, between the start of the first service and the end of the last.
/// @param format by the rules of `printf`, with its arguments behind it.
Z4_PRINTF(4, 5)
Z4_API void Log(EalLogLevel level, const char* file, unsigned long line, const char* format, ...);

/// One of the library's fixed messages: where it stands and what it says. `Arguments` are the types of what its text
/// formats, so that text and arguments are checked against each other when they are compiled.
template <class... Arguments>
struct Message {
    EalLogLevel level;
    const char* file;
    unsigned long line;
    FormatString<Arguments...> text;
};

/// Log() for a fixed message: `Private::Log(NOT_JOINED, name)`.
template <class... Arguments>
void Log(const Message<Arguments...>& message, std::type_identity_t<Arguments>... arguments) {
    void (*const log)(EalLogLevel, const char*, unsigned long, const char*, ...) = Log;
    log(message.level, message.file, message.line, message.text.Get(), arguments...);
}

} // namespace Private

/// Reports a failed assertion to the host. Any thread, as soon as the log table is installed.
/// @param id the context that the assertion belongs to (see EALId).
/// @param ignoreFlag handed to the host, which sets it to hear no more of this assertion. Null, or one number for each
/// assertion, 0 at first. The library does not read it.
/// @param format by StrFormat's rules, with its arguments behind it. The message is cut to 1023 characters.
/// @return whether to stop in the debugger, as the host answers. Stopping is left to the caller: see Z4_BREAK() in
/// api.h.
[[nodiscard]] Z4_PRINTF(6, 7) Z4_API
    bool EalAssertWithMessage(int id, const char* expression, const char* file, unsigned long line,
                              unsigned long* ignoreFlag, const char* format, ...);

/// EalAssertWithMessage() with a format that the compiler checks (formatcheck.h).
template <class... Arguments>
bool EalAssertPrint(int id, const char* expression, const char* file, unsigned long line, unsigned long* ignoreFlag,
                    FormatString<Arguments...> format, Arguments... arguments) {
    bool (*const report)(int, const char*, const char*, unsigned long, unsigned long*, const char*, ...) =
        EalAssertWithMessage;
    return report(id, expression, file, line, ignoreFlag, format.Get(), arguments...);
}

} // namespace Z4
