#include <iterator>
#include <zelk_core/base/error.h>
#include <zelk_core/base/layout.h>
#include <zelk_core/base/private/translation.h>

namespace Z4 {

template <>
struct Private::Layout<Private::ErrorCodeWrapper> {
    static_assert(sizeof(ErrorCodeWrapper) == sizeof(Error));
};

template <>
struct Private::Layout<ThreadErrorCodeWrapper> {
    static_assert(sizeof(ThreadErrorCodeWrapper) == sizeof(Error));
};

static_assert(sizeof(Error) == 4);

namespace {

constexpr const char* ERROR_TEXTS[] = {
    "Everything worked fine",
    "Invalid operation or argument",
    "Overflow occurred (typically buffer)",
    "Unsupported feature/function",
    "The resource/object requested can't be found",
    "An unhandled error or a low level error occurred (hardware or OS)",
    "The object already exists",
    "Permission/Access denied to the resource, device, or path",
    "The object/system is not ready to perform the requested operation",
    "The device is not ready for r/w operations",
    "Not enough memory to complete the operation",
    "Operation timed out",
    "EAL implementation-specific error",
    "Ran out of resources",
    "Operation now in progress",
    "Address already in use",
    "Cannot assign requested value",
    "Network is down",
    "Unreachable target",
    "Operation has been reset",
    "Operation has been aborted",
    "Socket is not connected",
    "Connection refused",
    "Host is down",
    "Invalid or corrupted data",
};
static_assert(std::size(ERROR_TEXTS) == ERR_CORRUPTED_DATA + 1);

// The numbers are the platform's WSAE... values, kept as numbers because this file knows no platform.
constexpr Private::Translation SOCKET_ERRORS[] = {
    {0, ERR_OK},
    {10013, ERR_ACCESS_DENIED},      // WSAEACCES
    {10022, ERR_INVALID},            // WSAEINVAL
    {10024, ERR_OUT_OF_RESOURCES},   // WSAEMFILE
    {10035, ERR_NOT_READY},          // WSAEWOULDBLOCK
    {10036, ERR_IN_PROGRESS},        // WSAEINPROGRESS
    {10037, ERR_IN_PROGRESS},        // WSAEALREADY
    {10038, ERR_INVALID},            // WSAENOTSOCK
    {10039, ERR_INVALID},            // WSAEDESTADDRREQ
    {10040, ERR_OVERFLOW},           // WSAEMSGSIZE
    {10041, ERR_INVALID},            // WSAEPROTOTYPE
    {10042, ERR_INVALID},            // WSAENOPROTOOPT
    {10043, ERR_UNSUPPORTED},        // WSAEPROTONOSUPPORT
    {10045, ERR_UNSUPPORTED},        // WSAEOPNOTSUPP
    {10047, ERR_INVALID},            // WSAEAFNOSUPPORT
    {10048, ERR_ADDRESS_IN_USE},     // WSAEADDRINUSE
    {10049, ERR_CANNOT_ASSIGN},      // WSAEADDRNOTAVAIL
    {10050, ERR_NETWORK_DOWN},       // WSAENETDOWN
    {10051, ERR_UNREACHABLE},        // WSAENETUNREACH
    {10052, ERR_RESET},              // WSAENETRESET
    {10053, ERR_ABORTED},            // WSAECONNABORTED
    {10054, ERR_RESET},              // WSAECONNRESET
    {10055, ERR_OUT_OF_RESOURCES},   // WSAENOBUFS
    {10056, ERR_ALREADY_EXISTS},     // WSAEISCONN
    {10057, ERR_NOT_CONNECTED},      // WSAENOTCONN
    {10060, ERR_TIMEOUT},            // WSAETIMEDOUT
    {10061, ERR_CONNECTION_REFUSED}, // WSAECONNREFUSED
    {10064, ERR_HOST_DOWN},          // WSAEHOSTDOWN
    {10065, ERR_UNREACHABLE},        // WSAEHOSTUNREACH
    {10093, ERR_DEVICE_NOT_READY},   // WSANOTINITIALISED
};

} // namespace

const char* GetErrorString(Error error) {
    const auto index = static_cast<unsigned>(error);
    return index < std::size(ERROR_TEXTS) ? ERROR_TEXTS[index]
                                          : "Invalid or unmanaged error code passed to Z4::GetErrorString";
}

Error Private::TranslateSocketError(int number) {
    return Private::Translate(SOCKET_ERRORS, number);
}

} // namespace Z4
