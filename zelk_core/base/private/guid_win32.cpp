#include <atomic>
#include <windows.h>
#include <zelk_core/base/guid.h>

namespace Z4 {

namespace {

/// RtlGenRandom, which has no other exported name. Its module is in every process that uses sockets; the newer
/// interface for the same numbers lies in one that would have to be loaded, which takes longer than all other start-up.
using FillWithRandom = BOOLEAN(APIENTRY*)(void* buffer, ULONG size);

/// Threads that meet the first call together all find the same, so the order of their stores is indifferent.
constinit std::atomic<FillWithRandom> g_fillWithRandom{nullptr};

FillWithRandom FindFillWithRandom() {
    FillWithRandom found = g_fillWithRandom.load(std::memory_order_relaxed);
    if (found == nullptr) {
        const HMODULE module = LoadLibraryA("advapi32.dll");
        const FARPROC address = module != nullptr ? GetProcAddress(module, "SystemFunction036") : nullptr;
        found = reinterpret_cast<FillWithRandom>(reinterpret_cast<void*>(address));
        g_fillWithRandom.store(found, std::memory_order_relaxed);
    }
    return found;
}

} // namespace

Error GUID::Generate(GUID& guid) {
    const FillWithRandom fillWithRandom = FindFillWithRandom();
    GUID random;
    if (fillWithRandom == nullptr || fillWithRandom(&random, sizeof(random)) == 0) {
        return ERR_NOT_READY;
    }
    random.data3 = static_cast<std::uint16_t>(0x4000 | (random.data3 & 0x0FFF));
    random.data4[0] = static_cast<std::uint8_t>(0x80 | (random.data4[0] & 0x3F));
    guid = random;
    return ERR_OK;
}

} // namespace Z4
