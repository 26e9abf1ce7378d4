// Prints a number for each room, which tests/pinned/digests.txt holds. All builds must print the same. Rotations and
// ziggurat draws are bound to the C run-time, whose sine, cosine, exponential and logarithm need not be correctly
// rounded. What is kept of them is float, so that a difference in the last bit of a double rarely shows, and in none of
// the builds here; another system's run-time may show one.
#include "digest.h"

#include <cstdio>
#include <cstdlib>
#include <zelk_core/base/ealinterface.h>

namespace {

void InstallHost() {
    Z4::eal_mem_dll_interface memory{};
    // Nothing that is digested asks for more alignment than every malloc() gives; refused, it would change a digest.
    memory.alloc = [](std::size_t size, std::size_t alignment, unsigned, int) {
        return alignment <= 8 ? std::malloc(size) : nullptr;
    };
    memory.realloc = [](void* block, std::size_t size, std::size_t) { return std::realloc(block, size); };
    memory.free = [](void* block) { std::free(block); };
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
