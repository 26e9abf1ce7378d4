// The module: it uses the library as the program does, on the program's host.
#include "module.h"

#include <zelk_core/zelk_core.h>

namespace {

class LockedGuestbook : public Guestbook {
public:
    int Sign(const char* name) override {
        const Z4::AutoLock<Z4::AdaptiveLock> guard(m_lock);
        m_names.PushBack(name);
        return static_cast<int>(m_names.Size());
    }

    unsigned long CheckSum() const override {
        const Z4::AutoLock<Z4::AdaptiveLock> guard(m_lock);
        Z4::ZelkString all;
        for (const Z4::ZelkString& name : m_names) {
            all.Append(name);
        }
        return Z4::Hash::CRC(all.CStr());
    }

private:
    mutable Z4::AdaptiveLock m_lock;
    Z4::Vector<Z4::ZelkString> m_names;
};

} // namespace

extern "C" __declspec(dllexport) Guestbook* OpenGuestbook() {
    return new LockedGuestbook;
}
