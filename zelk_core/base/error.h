/// @file
/// The result codes of every fallible operation, and the value objects that carry one.
///
/// Every operation here is pure: any thread, no allocation, no failure.
#pragma once

#include <zelk_core/base/api.h>
#include <zelk_core/base/ealinterface.h>

namespace Z4 {

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

/// An English sentence for `error`, static, never null; values outside the enumeration have a text of their own.
[[nodiscard]] Z4_API const char* GetErrorString(Error error);

namespace Private {

/// A result of file, stream, compression, symbol and address operations. Mind the sense of `!`: `!result` reads
/// "no error", so it is true on success.
class ErrorCodeWrapper {
public:
    constexpr ErrorCodeWrapper() : m_code(ERR_OK) {}
    constexpr ErrorCodeWrapper(Error error) : m_code(error) {}
    /// Stores the number as it is: platform and host status numbers must be translated by the caller first.
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

/// The Error for a number from `WSAGetLastError`; unknown numbers are ERR_UNHANDLED. Would-block is ERR_NOT_READY,
/// so that it differs from an operation under way (ERR_IN_PROGRESS).
[[nodiscard]] Z4_API Error TranslateSocketError(int number);

} // namespace Private

/// A result of thread operations: a type of its own, so that it mixes with other results only by an explicit cast. It
/// compares with an Error as it is.
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
/// Results of two kinds do not compare: cast both to Error where that is meant.
bool operator==(ThreadErrorCodeWrapper, Private::ErrorCodeWrapper) = delete;

/// Results of the host's file table, as the library's codes.
class EalFile {
public:
    /// Unknown numbers are ERR_UNHANDLED.
    [[nodiscard]] Z4_API static Private::ErrorCodeWrapper TranslateError(eal_file_status status);
};

} // namespace Z4
