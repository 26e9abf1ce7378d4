// A host of its own, as small as can be, on the installed library.
#include <cstdio>
#include <cstdlib>
#include <malloc.h>
#include <zelk_core/zelk_core.h>

int main() {
    Z4::eal_mem_dll_interface memory{};
    memory.init = [](unsigned) { return 0; };
    memory.shutdown = [] { return 0; };
    memory.alloc = [](std::size_t size, std::size_t alignment, unsigned, int) {
        return _aligned_malloc(size, alignment);
    };
    memory.free = [](void* pointer) { _aligned_free(pointer); };
    memory.name_id = [](int, const char*) {};
    Z4::SetEalInterface(memory);

    static unsigned printed = 0;
    Z4::eal_log_dll_interface log{};
    log.init = [](unsigned) { return 0; };
    log.shutdown = [] { return 0; };
    log.is_enabled = [](int, unsigned) -> unsigned char { return 1; };
    log.vprint = [](int, unsigned, const char*, unsigned long, const char* format, va_list arguments) {
        ++printed;
        std::vprintf(format, arguments);
    };
    Z4::SetEalInterface(log);

    Z4::InitializeBase();
    Z4::LogPlatformInfo();
    char text[64];
    const int length = Z4::StrFormat::Print(text, sizeof(text), "%u processors", Z4::Platform::GetRef().GetNbCore());
    std::puts(text);
    Z4::MemoryStream stream(text, sizeof(text), 0);
    Z4::StreamWriter(stream, Z4::BIG_ENDIAN_ORDER).Write(std::uint16_t{0x4142});
    const bool isWritten = Z4::Str::StartsWith(text, "AB") && stream.Close() == Z4::ERR_OK;
    Z4::ShutdownBase();
    return printed == 1 && length > 0 && isWritten ? EXIT_SUCCESS : EXIT_FAILURE;
}
