// A function of the system in the hands of a test.
#pragma once

namespace ZelkTest {

/// While it lives, the library's DLL calls `replacement` where it has imported the function `name`. The two must be of
/// the same type. The program itself goes on calling the system's.
class ImportHook {
public:
    template <class Function>
    ImportHook(const char* name, Function* replacement) : ImportHook(name, reinterpret_cast<void*>(replacement)) {}
    ImportHook(const char* name, void* replacement);
    ~ImportHook();
    ImportHook(const ImportHook&) = delete;
    ImportHook& operator=(const ImportHook&) = delete;

private:
    void** m_place;
    void* m_original;
};

} // namespace ZelkTest
