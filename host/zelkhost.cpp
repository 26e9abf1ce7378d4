#include <host/internal.h>

namespace ZelkHost {

namespace {

// One function serves every slot, whatever its arguments: with this calling convention the caller removes them.
void Z4_CDECL Ignore() {}

Z4::eal_perf_dll_interface MakePerformanceTable() {
    Z4::eal_perf_dll_interface table{};
    for (Z4::eal_reserved_slot& slot : table.slots) {
        slot = Ignore;
    }
    return table;
}

} // namespace

const Z4::eal_perf_dll_interface& PerformanceTable() {
    static const Z4::eal_perf_dll_interface table = MakePerformanceTable();
    return table;
}

void Install(const Options& options) {
    SetMemoryOptions(options);
    SetLogOptions(options);
    Z4::SetEalInterface(MemoryTable());
    Z4::SetEalInterface(LogTable());
    Z4::SetEalInterface(FileTable());
    Z4::SetEalInterface(ThreadTable());
    Z4::SetEalInterface(PerformanceTable());
    Z4::SetEalInterface(NetworkTable());
}

int CheckVersion(const char* table, unsigned version, unsigned expected) {
    if (version == expected) {
        return 0;
    }
    Report("zelk_host: the %s table has version %u, the library wants %u\n", table, expected, version);
    return -1;
}

bool Widen(const char* utf8, std::wstring& wide) {
    const int length = MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, utf8, -1, nullptr, 0);
    if (length == 0) {
        return false;
    }
    wide.resize(static_cast<std::size_t>(length));
    MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, utf8, -1, wide.data(), length);
    wide.pop_back(); // the terminator
    return true;
}

} // namespace ZelkHost
