// Prints a number for each room, which tests/pinned/digests.txt holds. All builds must print the same. Rotations and
// ziggurat draws are bound to the C run-time, whose sine, cosine, exponential and logarithm need not be correctly
// rounded. What is kept of them is float, so that a difference in the last bit of a double rarely shows, and in none of
// the builds here; another system's run-time may show one.
#include "digest.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <zelk_core/base/ealinterface.h>

namespace {

/// In front of each block: where its allocation begins and how large it is.
struct Header {
    void* allocation;
    std::size_t size;
};

void* Z4_CDECL Alloc(std::size_t size, std::size_t alignment, unsigned, int) {
    void* const allocation = std::malloc(size + alignment + sizeof(Header));
    const std::uintptr_t begin = reinterpret_cast<std::uintptr_t>(allocation) + sizeof(Header) + alignment - 1;
    auto* const block = reinterpret_cast<Header*>(begin - begin % alignment);
    block[-1] = {allocation, size};
    return block;
}

void Z4_CDECL Free(void* block) {
    if (block != nullptr) {
        std::free(static_cast<Header*>(block)[-1].allocation);
    }
}

void* Z4_CDECL Realloc(void* block, std::size_t size, std::size_t alignment) {
    void* const moved = Alloc(size, alignment, 0, 0);
    const std::size_t old = static_cast<Header*>(block)[-1].size;
    std::memcpy(moved, block, old < size ? old : size);
    Free(block);
    return moved;
}

void InstallHost() {
    Z4::eal_mem_dll_interface memory{};
    memory.alloc = Alloc;
    memory.realloc = Realloc;
    memory.free = Free;
    Z4::SetEalInterface(memory);
    Z4::eal_log_dll_interface log{};
    log.is_enabled = [](int, unsigned) -> unsigned char { return 0; };
    Z4::SetEalInterface(log);
}

} // namespace

int main() {
    InstallHost();
    for (const std::span<const Room> rooms : {BaseRooms(), ContainerRooms(), MathRooms(), ServiceRooms()}) {
        for (const Room& room : rooms) {
            Digest digest;
            Input input;
            for (int round = 0; round < room.rounds; ++round) {
                room.add(digest, input);
            }
            std::printf("%-20s %08x%08x\n", room.name, static_cast<unsigned>(digest.Value() >> 32),
                        static_cast<unsigned>(digest.Value() & 0xFFFFFFFF));
        }
    }
    return 0;
}
