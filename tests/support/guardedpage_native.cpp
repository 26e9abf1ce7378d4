#include "guardedpage.h"

#include <sys/mman.h>

namespace ZelkTest {

GuardedPage::GuardedPage() : m_begin(nullptr) {
    void* const pages = mmap(nullptr, 3 * SIZE, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    m_begin = static_cast<unsigned char*>(pages) + SIZE;
    mprotect(m_begin, SIZE, PROT_READ | PROT_WRITE);
}

GuardedPage::~GuardedPage() {
    munmap(m_begin - SIZE, 3 * SIZE);
}

} // namespace ZelkTest
