// Readable and writable memory between two inaccessible pages: whoever strays over either end faults, whatever the
// compiler knows of it.
#pragma once

namespace ZelkTest {

class GuardedPage {
public:
    static constexpr unsigned SIZE = 4096;

    GuardedPage();
    ~GuardedPage();
    GuardedPage(const GuardedPage&) = delete;
    GuardedPage& operator=(const GuardedPage&) = delete;

    unsigned char* Begin() const { return m_begin; }
    unsigned char* End() const { return m_begin + SIZE; }

private:
    unsigned char* m_begin;
};

} // namespace ZelkTest
