// Files of symbols that nobody vouches for, maps, lists and images. Reading must come back and leave nothing behind,
// what was read must answer as a look at each symbol would, and a reading that fails must leave what was there.
#include "body.h"
#include "hostmemory.h"

#include <cstring>
#include <zelk_core/base/error.h>
#include <zelk_core/services/dbghelp/private/imageview.h>
#include <zelk_core/services/dbghelp/symbolmap.h>

namespace {

using namespace Z4;

long g_untilRefusal = -1;

void RequireSound(const SymbolMap& map) {
    SymbolMap::Symbol symbol{};
    const char* judged = nullptr;
    for (unsigned long rva = 0xFF0; rva < 0x1110; ++rva) {
        if (!map.Find(rva, symbol)) {
            continue;
        }
        Require(symbol.rva <= rva && rva - symbol.rva < symbol.size);
        if (symbol.rva != rva && symbol.function == judged) {
            continue;
        }
        judged = symbol.function;
        Require(std::strlen(symbol.function) <= SymbolMap::LONGEST_NAME);
        Require(std::strlen(symbol.object) <= SymbolMap::LONGEST_NAME);
        unsigned long place = 0;
        Require(symbol.rva != rva || *symbol.function == '\0' ||
                (map.FindName(symbol.function, place) && place <= symbol.rva));
        SymbolMap::Symbol first{};
        Require(map.Find(symbol.rva, first) && std::strcmp(first.function, symbol.function) == 0);
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    InstallMemory();
    static eal_mem_dll_interface table{};
    table.alloc = [](std::size_t size, std::size_t, unsigned, int) -> void* {
        if (g_untilRefusal >= 0 && g_untilRefusal-- == 0) {
            return nullptr;
        }
        ++g_outstandingBlocks;
        return std::malloc(size);
    };
    table.realloc = [](void* block, std::size_t size, std::size_t) -> void* {
        if (g_untilRefusal >= 0 && g_untilRefusal-- == 0) {
            return nullptr;
        }
        return std::realloc(block, size);
    };
    table.free = [](void* block) {
        g_outstandingBlocks -= block != nullptr ? 1 : 0;
        std::free(block);
    };
    SetEalInterface(table);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    const auto count = static_cast<unsigned long>(size - 1);
    const SymbolMap::Section sections[] = {{0x1000, 0xf8, true}, {0x2000, 0x65, false}};
    const SymbolMap::Image own{0x10000, 0, 2, sections};
    const SymbolMap::Image any{};
    {
        SymbolMap map;
        Require(map.Read("1000 T before\n", 14, any) == ERR_OK);
        g_untilRefusal = data[0] % 32 == 31 ? -1 : data[0] % 32;
        const Error error = map.Read(data + 1, count, data[0] % 2 != 0 ? own : any);
        g_untilRefusal = -1;
        if (error == ERR_OK) {
            Require(map.GetCount() != 0 && map.GetFormat() == SymbolMap::Recognise(data + 1, count));
        } else {
            Require(map.GetCount() == 1 && map.GetFormat() == SYMBOL_FORMAT_NM);
        }
        RequireSound(map);
    }
    char link[260];
    if (Private::ImageView(data + 1, count).GetDebugLink(link)) {
        Require(std::strlen(link) < sizeof link);
    }
    RequireNothingLeft();
    return 0;
}
