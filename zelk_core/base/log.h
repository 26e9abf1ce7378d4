/// @file
/// Messages and assertions, handed to the host's log table. The host decides which levels are printed, and formats.
///
/// A message's text carries its own prefix, level tag and line ends; its file and line are fixed names by which users
/// find it, not the place in today's source.
#pragma once

#include <cstdarg>
#include <type_traits>
#include <zelk_core/base/api.h>
#include <zelk_core/base/formatcheck.h>

namespace Z4 {

/// Powers of two, so that a host can keep the enabled ones in a mask.
enum EalLogLevel : unsigned {
    EAL_LOG_INFO = 1,
    EAL_LOG_WARNING = 2,
    EAL_LOG_ERROR = 4,
};

namespace Private {

/// Hands one message to the host under the library's context, unformatted, when the host has `level` enabled; does
/// nothing otherwise. Any thread. `format` and what it refers to must live until the call returns.
Z4_PRINTF(4, 5)
Z4_API void Log(EalLogLevel level, const char* file, unsigned long line, const char* format, ...);

/// Log() with a format that is checked when it is compiled, see formatcheck.h.
template <class... Arguments>
void LogPrint(EalLogLevel level, const char* file, unsigned long line, FormatString<Arguments...> format,
              Arguments... arguments) {
    void (*const log)(EalLogLevel, const char*, unsigned long, const char*, ...) = Log;
    log(level, file, line, format.Get(), arguments...);
}

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

/// Reports a failed assertion to the host, with a message built by StrFormat and cut to 1023 characters.
/// @param id the context that the assertion belongs to, see EALId.
/// @param ignoreFlag passed through for the host to read or set, so that an assertion can be silenced for good.
/// @return the host's answer, commonly whether to break into the debugger; acting on it is the caller's part.
[[nodiscard]] Z4_PRINTF(6, 7) Z4_API
    bool EalAssertWithMessage(int id, const char* expression, const char* file, unsigned long line,
                              unsigned long* ignoreFlag, const char* format, ...);

/// EalAssertWithMessage() with a format that is checked when it is compiled, see formatcheck.h.
template <class... Arguments>
bool EalAssertPrint(int id, const char* expression, const char* file, unsigned long line, unsigned long* ignoreFlag,
                    FormatString<Arguments...> format, Arguments... arguments) {
    bool (*const report)(int, const char*, const char*, unsigned long, unsigned long*, const char*, ...) =
        EalAssertWithMessage;
    return report(id, expression, file, line, ignoreFlag, format.Get(), arguments...);
}

} // namespace Z4
