#include <windows.h>

#include <cstring>
#include <initializer_list>
#include <zelk_core/services/dbghelp/private/symbolpath_ms_pc.h>

namespace Z4 {

namespace {

/// Appends what `read` gives for a buffer and its size, behind a semicolon; nothing when it gives nothing or too much.
template <class Read>
void Append(char (&path)[Private::SYMBOL_PATH_SIZE], Read read) {
    const unsigned used = static_cast<unsigned>(std::strlen(path));
    const unsigned begin = used == 0 ? 0 : used + 1;
    if (begin + 1 >= Private::SYMBOL_PATH_SIZE) {
        return;
    }
    const DWORD room = Private::SYMBOL_PATH_SIZE - begin;
    const DWORD length = read(path + begin, room);
    if (length == 0 || length >= room) {
        path[used] = '\0';
    } else if (used != 0) {
        path[used] = ';';
    }
}

} // namespace

void Private::WriteSymbolPath(char (&path)[SYMBOL_PATH_SIZE]) {
    path[0] = '\0';
    Append(path, [](char* to, DWORD room) { return GetCurrentDirectoryA(room, to); });
    for (const char* const variable : {"_NT_SYMBOL_PATH", "_NT_ALTERNATE_SYMBOL_PATH"}) {
        Append(path, [=](char* to, DWORD room) { return GetEnvironmentVariableA(variable, to, room); });
    }
}

} // namespace Z4
