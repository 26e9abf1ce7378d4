// What the module offers. Whoever has an object may delete it: its memory is the host's, on either side.
#pragma once

#include <zelk_core/base/hostnew.h>

class Guestbook : public Z4::HostNew<Guestbook> {
public:
    virtual ~Guestbook() = default;
    /// Any thread. @return how many names there are now.
    virtual int Sign(const char* name) = 0;
    /// Any thread. @return the CRC-32 of all names, in their order.
    virtual unsigned long CheckSum() const = 0;
};

/// The type of the module's one function, "OpenGuestbook". It returns null when the host refuses memory.
using OpenGuestbookFunction = Guestbook*();
