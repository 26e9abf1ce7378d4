// The smallest host of one's own: memory and messages, which is all that services without threads and files reach.
#include <cstdio>
#include <malloc.h>
#include <zelk_core/zelk_core.h>

namespace {

//! [memory]
Z4::eal_mem_dll_interface MakeMemoryTable() {
    Z4::eal_mem_dll_interface table = {};
    table.init = [](unsigned version) { return version == Z4::EAL_MEM_VERSION ? 0 : -1; };
    table.shutdown = [] { return 0; };
    table.alloc = [](std::size_t size, std::size_t alignment, unsigned, int) {
        return _aligned_malloc(size != 0 ? size : 1, alignment);
    };
    table.realloc = [](void* pointer, std::size_t size, std::size_t alignment) {
        return _aligned_realloc(pointer, size != 0 ? size : 1, alignment);
    };
    table.free = [](void* pointer) { _aligned_free(pointer); };
    table.name_id = [](int, const char* name) { std::printf("context: %s\n", name); };
    return table;
}
//! [memory]

//! [log]
Z4::eal_log_dll_interface MakeLogTable() {
    Z4::eal_log_dll_interface table = {};
    table.init = [](unsigned version) { return version == Z4::EAL_LOG_VERSION ? 0 : -1; };
    table.shutdown = [] { return 0; };
    table.is_enabled = [](int, unsigned level) -> unsigned char { return level != Z4::EAL_LOG_INFO; };
    table.vprint = [](int, unsigned, const char*, unsigned long, const char* format, va_list arguments) {
        std::vprintf(format, arguments);
    };
    table.assert_message = [](int, const char*, const char* message, const char* file, unsigned long line,
                              unsigned long, unsigned long*) -> unsigned char {
        std::printf("%s(%lu): %s\n", file, line, message);
        return 1; // stop in the debugger
    };
    return table;
}
//! [log]

} // namespace

//! [install]
int main() {
    Z4::SetEalInterface(MakeMemoryTable());
    Z4::SetEalInterface(MakeLogTable());
    Z4::InitializeGenerics(); // calls init of both tables
    {
        const Z4::Vector<int> squares = {1, 4, 9, 16};
        std::printf("%u squares in my memory\n", squares.Size());
    }                       // what holds memory goes before the last shut-down
    Z4::ShutdownGenerics(); // calls shutdown of both
}
//! [install]
