#include "examples.h"

//! [example]
void ShowHost() {
    Z4::FixedVector<int, 4> numbers = {1, 2, 3, 4}; // in the object itself
    ZelkHost::FailAllocations(1);                   // refuses the next request of memory, as a full machine would
    numbers.PushBack(5);
    std::printf("refused: %d, %u numbers left\n", numbers.WasRefused(), numbers.Size()); // refused: 1, 0 numbers left
    ZelkHost::FailAllocations(0);

    const Z4::ZelkString text = "a text of the host's memory";
    std::printf("%u block\n", static_cast<unsigned>(ZelkHost::GetMemoryStatistics(Z4::EAL_ID_ZELK_CORE).blocks));
}
//! [example]

//! [replace]
void ShowReplacedSlot() {
    static unsigned requests = 0;
    Z4::eal_mem_dll_interface table = ZelkHost::MemoryTable();
    table.alloc = [](std::size_t size, std::size_t alignment, unsigned flags, int id) {
        ++requests;
        return ZelkHost::MemoryTable().alloc(size, alignment, flags, id);
    };
    Z4::SetEalInterface(table); // while no service runs
    Z4::InitializeGenerics();
    {
        const Z4::ZelkString text = "a text of the host's memory";
        std::printf("%u request for %u characters\n", requests, text.Size()); // 1 request for 27 characters
    }
    Z4::ShutdownGenerics();
}
//! [replace]
