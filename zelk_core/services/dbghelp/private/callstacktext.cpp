#include <cstdint>
#include <cstring>
#include <zelk_core/base/hash.h>
#include <zelk_core/base/path.h>
#include <zelk_core/services/dbghelp/callstack.h>
#include <zelk_core/services/dbghelp/private/codemodules.h>
#include <zelk_core/services/dbghelp/private/levelname.h>
#include <zelk_core/services/dbghelp/private/textroom.h>
#include <zelk_core/services/dbghelp/symbolhandler.h>

namespace Z4 {

namespace {

using Private::g_codeModules;
using Private::TextRoom;

constexpr char LOG_FILE[] = "services/dbghelp/private/callstack";
constexpr unsigned long LOG_LINE = 164; // fixed; it was free to choose

std::uint32_t ToNumber(const void* address) {
    return static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(address));
}

const char* WithoutPath(const char* file) {
    return Path::FileName(file).Data();
}

const char* NameOf(FrameOrigin origin) {
    constexpr const char* NAMES[] = {"given", "table", "pointer", "proven", "guessed"};
    return NAMES[origin];
}

void PrintOffset(std::uint32_t address, TextRoom& room) {
    Private::CodeModule module;
    Private::ModuleName name;
    if (g_codeModules.Find(address, module, &name)) {
        room.Print(" %s+0x%x", WithoutPath(name.text), address - static_cast<std::uint32_t>(module.key));
    }
}

/// @param back how far in front of `address` the call lies that is meant.
void PrintSymbol(std::uint32_t address, std::uint32_t back, unsigned print, TextRoom& room) {
    SymbolHandler& symbols = SymbolHandler::Instance();
    const void* const call = reinterpret_cast<const void*>(std::uintptr_t{address - back});
    SymbolInfo info;
    char function[sizeof info.function];
    if ((print & CallStack::QUICK) != 0) {
        symbols.ResolveQuick(call, info);
        SymbolHandler::DemangleQuick(info.function, function, sizeof function);
    } else {
        symbols.Resolve(call, info);
        symbols.Demangle(info.function, function, sizeof function);
    }
    if (function[0] == '\0') {
        PrintOffset(address, room);
    } else {
        room.Print(" %s!%s+0x%x", WithoutPath(info.module), static_cast<const char*>(function),
                   static_cast<unsigned>(info.displacement) + back);
    }
    if ((print & CallStack::LINES) != 0 && info.line != 0) {
        room.Print(" %s:%u", WithoutPath(info.file), static_cast<unsigned>(info.line));
    }
}

} // namespace

unsigned long CallStack::GetHash() const {
    struct {
        std::uint32_t offset;
        std::uint32_t size;
        std::uint32_t timeStamp;
    } place;
    unsigned long hash = 0;
    for (unsigned long i = 0; i < m_count; ++i) {
        const std::uint32_t address = ToNumber(m_addresses[i]);
        Private::CodeModule module;
        place = {};
        if (g_codeModules.Find(address, module)) {
            place = {address - static_cast<std::uint32_t>(module.key), module.size, module.timeStamp};
        }
        hash = Hash::CRC(reinterpret_cast<const unsigned char*>(&place), sizeof place, hash);
    }
    return hash;
}

unsigned long CallStack::FrameToText(unsigned long index, char* text, unsigned long size, unsigned print) const {
    TextRoom room(text, size);
    const std::uint32_t address = ToNumber(m_addresses[index]);
    room.Print("%3u %08x", static_cast<unsigned>(index), address);
    if ((print & OFFSETS_ONLY) != 0) {
        PrintOffset(address, room);
    } else {
        // Behind a call that never returns there can be another function, and another line is likely.
        PrintSymbol(address, index == 0 && (m_flags & EXACT) != 0 ? 0 : 1, print, room);
    }
    if ((print & ORIGINS) != 0) {
        room.Print(" %s", NameOf(m_origins[index]));
    }
    return room.Length();
}

unsigned long CallStack::ToText(char* text, unsigned long size, unsigned print) const {
    TextRoom whole(text, size);
    char line[1024];
    for (unsigned long i = 0; i < m_count; ++i) {
        FrameToText(i, line, sizeof line, print);
        whole.Print("%s\n", static_cast<const char*>(line));
    }
    return whole.Length();
}

void CallStack::Log(EalLogLevel level, unsigned print) const {
    char line[1024];
    for (unsigned long i = 0; i < m_count; ++i) {
        FrameToText(i, line, sizeof line, print);
        Private::Log(level, LOG_FILE, LOG_LINE, "[Z4::CallStack] EAL_LOG_%s: %s\n", Private::LevelName(level),
                     static_cast<const char*>(line));
    }
}

} // namespace Z4
