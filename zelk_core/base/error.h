/// @file
/// The result codes of every operation that can fail, and the objects in which some operations return one.
///
/// Nothing here allocates, fails or keeps a state. Any thread may call it at any time, without a started service.
#pragma once

#include <zelk_core/base/api.h>
#include <zelk_core/base/ealinterface.h>

namespace Z4 {

/// What an operation came to. The contract of each operation tells which of them it returns and when.
enum Error : int {
    ERR_OK = 0,
    ERR_INVALID = 1,
    ERR_OVERFLOW = 2,
    ERR_UNSUPPORTED = 3,
    ERR_NOT_FOUND = 4,
    ERR_UNHANDLED = 5,
    ERR_ALREADY_EXISTS = 6,
    ERR_ACCESS_DENIED = 7,
    ERR_NOT_READY = 8,
    ERR_DEVICE_NOT_READY = 9,
    ERR_OUT_OF_MEMORY = 10,
    ERR_TIMEOUT = 11,
    ERR_EAL_SPECIFIC = 12,
    ERR_OUT_OF_RESOURCES = 13,
    ERR_IN_PROGRESS = 14,
    ERR_ADDRESS_IN_USE = 15,
    ERR_CANNOT_ASSIGN = 16,
    ERR_NETWORK_DOWN = 17,
    ERR_UNREACHABLE = 18,
    ERR_RESET = 19,
    ERR_ABORTED = 20,
    ERR_NOT_CONNECTED = 21,
    ERR_CONNECTION_REFUSED = 22,
    ERR_HOST_DOWN = 23,
    ERR_CORRUPTED_DATA = 24,
};

/// An English text for `error`, in static storage. Never null: all values outside the enumeration share a text that
/// says so.
[[nodiscard]] Z4_API const char* GetErrorString(Error error);

namespace Private {

/// Its public name, below, tells what it is.
class ErrorCodeWrapper {
public:
    constexpr ErrorCodeWrapper() : m_code(ERR_OK) {}
    constexpr ErrorCodeWrapper(Error error) : m_code(error) {}
    /// Stores the number as it is. It should be that of an Error: translate numbers of the system or of the host
    /// before.
    constexpr ErrorCodeWrapper(long code) : m_code(code) {}

    constexpr operator Error() const { return static_cast<Error>(m_code); }
    constexpr operator long() const { return m_code; }

    /// True when the operation succeeded.
    constexpr bool operator!() const { return m_code == ERR_OK; }

    constexpr bool operator==(Error error) const { return m_code == error; }
    constexpr bool operator!=(Error error) const { return m_code != error; }
    constexpr bool operator==(ErrorCodeWrapper other) const { return m_code == other.m_code; }
    constexpr bool operator!=(ErrorCodeWrapper other) const { return m_code != other.m_code; }

private:
    long m_code;
};

/// The Error for a number from `WSAGetLastError`; ERR_UNHANDLED for one that it does not know. A socket that would
/// block is ERR_NOT_READY; ERR_IN_PROGRESS is an operation that has begun and goes on.
[[nodiscard]] Z4_API Error TranslateSocketError(int number);

} // namespace Private

/// The result of file, stream, compression, symbol and address operations, a plain value. It is made of an Error or of
/// its number, converts to both and compares with both. Mind the sense of `!`: read `!result` as "no error". It is true
/// when the operation succeeded, while the result itself converts to an Error, which is 0 then.
using ErrorCodeWrapper = Private::ErrorCodeWrapper;

/// The result of thread operations. It has a type of its own, so that it is not taken for the result of something else
/// by mistake: `result == ERR_OK` compiles, every other use asks for `static_cast<Error>(result)`. A plain value.
class [[nodiscard]] ThreadErrorCodeWrapper {
public:
    constexpr ThreadErrorCodeWrapper() : m_code(ERR_OK) {}
    constexpr ThreadErrorCodeWrapper(Error error) : m_code(error) {}

    constexpr explicit operator Error() const { return m_code; }

private:
    Error m_code;
};

constexpr bool operator==(ThreadErrorCodeWrapper result, Error error) {
    return static_cast<Error>(result) == error;
}
/// Two results of different kinds do not compare. Where that is meant, cast both to Error.
bool operator==(ThreadErrorCodeWrapper, Private::ErrorCodeWrapper) = delete;

/// The results of the host's file table (eal_file_dll_interface) as the library's codes. Any thread may ask at any
/// time.
class EalFile {
public:
    /// The Error for `status`; ERR_UNHANDLED for a number that is no eal_file_status.
    [[nodiscard]] Z4_API static Private::ErrorCodeWrapper TranslateError(eal_file_status status);
};

} // namespace Z4
