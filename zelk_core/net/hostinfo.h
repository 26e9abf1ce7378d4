/// @file
/// A host's name and IPv4 address, each from the other.
#pragma once

#include <zelk_core/base/api.h>
#include <zelk_core/base/error.h>

namespace Z4 {

/// Look-ups may wait for name servers. The network must have been started (InitializeOS()), and must stay so until the
/// look-up returns: whoever calls the last ShutdownOS() ends or awaits the threads that look up names first. Nothing
/// here can call off a look-up, and what becomes of one whose network goes is up to the system. One object belongs to
/// one thread at a time.
class HostInfo {
public:
    /// No host: an empty name, the address "0.0.0.0", ERR_OK.
    Z4_API HostInfo();

    /// Takes a dotted address as it is, without a look-up and without a name until GetName() asks for it. Everything
    /// else is a name, which the system resolves to its first IPv4 address; on failure the address is "0.0.0.0" and the
    /// name empty. Null is ERR_INVALID. Names beyond 358 characters are cut.
    Z4_API explicit HostInfo(const char* host);

    HostInfo(HostInfo&&) = default;
    HostInfo& operator=(HostInfo&&) = default;

    /// The name that was given, or the one that a reverse look-up of the address finds at the first call, which may be
    /// the address again. Empty after a failure; that of a look-up makes the status ERR_INVALID.
    Z4_API const char* GetName();
    /// Dotted.
    const char* GetAddress() const { return m_address; }
    /// ERR_NOT_FOUND for a name that does not exist, ERR_TIMEOUT when no name server answered, ERR_DEVICE_NOT_READY
    /// where the network is not started and the system notices.
    Error GetStatus() const { return m_status; }

    /// True for four decimal numbers of 0 to 255 joined by dots, without leading zeros, signs or blanks: "127.0.0.1".
    /// Null is false.
    Z4_API static bool IsIPAddress(const char* text);
    /// True for six bytes of two hexadecimal digits, in either case, all joined by colons or all by hyphens:
    /// "00:1A:2b:3C:4d:5E". Null is false.
    Z4_API static bool IsMACAddress(const char* text);

private:
    friend struct HostInfoLayout;
    static Error AnalyseError(int number);
    void Resolve(const char* host);

    Error m_status;
    char m_name[359];
    char m_address[46];
};

} // namespace Z4
