#include "guardedpage.h"

#include <windows.h>

namespace ZelkTest {

GuardedPage::GuardedPage() : m_begin(nullptr) {
    auto* const pages = static_cast<unsigned char*>(VirtualAlloc(nullptr, 3 * SIZE, MEM_RESERVE, PAGE_NOACCESS));
    m_begin = static_cast<unsigned char*>(VirtualAlloc(pages + SIZE, SIZE, MEM_COMMIT, PAGE_READWRITE));
}

GuardedPage::~GuardedPage() {
    VirtualFree(m_begin - SIZE, 0, MEM_RELEASE);
}

} // namespace ZelkTest
