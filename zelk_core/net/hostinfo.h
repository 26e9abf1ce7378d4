/// @file
/// A host's name and IPv4 address, each from the other.
#pragma once

#include <zelk_core/base/api.h>
#include <zelk_core/base/error.h>
#include <zelk_core/base/layout.h>

namespace Z4 {

/// What is known of one host. The constructor looks up the address of a name, GetName() the name of an address. A
/// look-up waits for the system, which may ask name servers; nothing here can call it off.
///
/// The network must have been started (InitializeOS()) and must stay so until the look-up returns: join the threads
/// that look up names before the last ShutdownOS(). What becomes of a look-up whose network goes is up to the system.
/// One object belongs to one thread at a time.
class HostInfo {
public:
    /// No host: the address is "0.0.0.0", the status is ERR_OK, and there is no name.
    Z4_API HostInfo();

    /// A dotted address (see IsIPAddress()) is taken as it is, without a look-up; its name stays unknown until
    /// GetName() is called. Everything else is a name, which the system resolves to its first IPv4 address; of a name
    /// of more than 358 characters, GetName() later tells the first 358. When that fails, GetStatus() tells why, the
    /// address is "0.0.0.0" and the name is empty. Null is ERR_INVALID.
    Z4_API explicit HostInfo(const char* host);

    /// Moving copies: the other object keeps what it knows.
    HostInfo(HostInfo&&) = default;
    HostInfo& operator=(HostInfo&&) = default;

    /// The name that the object was made of. Where it was made of an address, or of nothing, the first call looks up
    /// the name of GetAddress(), which may take long. A host without a name gets the dotted address for one; when the
    /// look-up fails, the status becomes ERR_INVALID. The text is empty while the status is not ERR_OK. It belongs to
    /// this object and is never null.
    Z4_API const char* GetName();

    /// The dotted address, which belongs to this object.
    const char* GetAddress() const { return m_address; }

    /// ERR_OK; or what went wrong: ERR_INVALID for null and for names that cannot be one, ERR_NOT_FOUND for a name that
    /// does not exist, ERR_TIMEOUT when no name server answered, ERR_DEVICE_NOT_READY where the network is not started
    /// and the system notices, ERR_NETWORK_DOWN, ERR_OUT_OF_MEMORY, ERR_IN_PROGRESS, ERR_UNSUPPORTED and, for
    /// everything else, ERR_UNHANDLED.
    Error GetStatus() const { return m_status; }

    /// True for four decimal numbers of 0 to 255 joined by dots, without leading zeros, signs or blanks: "127.0.0.1".
    /// Null is false. Any thread.
    Z4_API static bool IsIPAddress(const char* text);

    /// True for six bytes of two hexadecimal digits each, in either case, joined all by colons or all by hyphens:
    /// "00:1A:2b:3C:4d:5E". Null is false. Any thread.
    Z4_API static bool IsMACAddress(const char* text);

private:
    friend struct Private::Layout<HostInfo>;

    static Error AnalyseError(int number);
    void Resolve(const char* host);

    Error m_status;
    char m_name[359];
    char m_address[46];
};

} // namespace Z4
