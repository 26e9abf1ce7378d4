#include <algorithm>
#include <atomic>
#include <host/filefaults.h>
#include <new>

namespace ZelkHost {

namespace {

Z4::eal_file_dll_interface g_real;
FileFaults g_faults;
std::atomic<std::size_t> g_calls = 0;
std::atomic<std::size_t> g_failed = 0;
std::atomic<std::uint64_t> g_room = UINT64_MAX;

bool IsToFail(FileCall call) {
    if ((g_faults.calls & call) == 0 || g_faults.first == 0) {
        return false;
    }
    const std::size_t number = ++g_calls;
    const bool fails = number >= g_faults.first && number - g_faults.first < g_faults.count;
    g_failed += fails ? 1 : 0;
    return fails;
}

std::uint32_t Shortened(std::uint32_t size) {
    return std::min(size, std::max(g_faults.largestTransfer, 1U));
}

/// Takes room for up to `size` bytes.
std::uint32_t TakeRoom(std::uint32_t size) {
    std::uint64_t room = g_room;
    std::uint32_t taken;
    do {
        taken = static_cast<std::uint32_t>(std::min<std::uint64_t>(size, room));
    } while (room != UINT64_MAX && !g_room.compare_exchange_weak(room, room - taken));
    return taken;
}

/// A completion that fails in the place of the caller's.
struct FailingCompletion {
    Z4::eal_file_completion completion;
    void* context;
    Z4::eal_file_status status;

    static void Z4_CDECL Complete(void* context, Z4::eal_file_status, std::uint32_t) {
        const FailingCompletion self = *static_cast<FailingCompletion*>(context);
        delete static_cast<FailingCompletion*>(context);
        self.completion(self.context, self.status, 0);
    }
};

/// `start(completion, context)` starts a transfer.
template <class Start>
Z4::eal_file_status StartAsync(Z4::eal_file_completion completion, void* context, Start start) {
    if (!IsToFail(CALL_COMPLETION)) {
        return start(completion, context);
    }
    auto* const failing = new (std::nothrow) FailingCompletion{completion, context, g_faults.status};
    if (failing == nullptr) {
        return Z4::EAL_FILE_HOST_SPECIFIC;
    }
    const Z4::eal_file_status status = start(FailingCompletion::Complete, failing);
    if (status != Z4::EAL_FILE_OK) {
        delete failing;
    }
    return status;
}

Z4::eal_file_status Z4_CDECL Open(const char* path, unsigned mode, Z4::eal_file_handle* handle) {
    if (IsToFail(CALL_OPEN)) {
        *handle = nullptr;
        return g_faults.status;
    }
    return g_real.open(path, mode, handle);
}

Z4::eal_file_status Z4_CDECL Close(Z4::eal_file_handle handle) {
    const Z4::eal_file_status status = g_real.close(handle);
    return IsToFail(CALL_CLOSE) ? g_faults.status : status;
}

Z4::eal_file_status Z4_CDECL Read(Z4::eal_file_handle handle, void* buffer, std::uint32_t size, std::uint64_t offset,
                                  std::uint32_t* transferred) {
    if (IsToFail(CALL_READ)) {
        *transferred = 0;
        return g_faults.status;
    }
    return g_real.read(handle, buffer, Shortened(size), offset, transferred);
}

Z4::eal_file_status Z4_CDECL Write(Z4::eal_file_handle handle, const void* buffer, std::uint32_t size,
                                   std::uint64_t offset, std::uint32_t* transferred) {
    if (IsToFail(CALL_WRITE)) {
        *transferred = 0;
        return g_faults.status;
    }
    const std::uint32_t wanted = Shortened(size);
    const std::uint32_t granted = TakeRoom(wanted);
    const Z4::eal_file_status status = g_real.write(handle, buffer, granted, offset, transferred);
    return status == Z4::EAL_FILE_OK && granted < wanted ? Z4::EAL_FILE_DISK_FULL : status;
}

Z4::eal_file_status Z4_CDECL ReadAsync(Z4::eal_file_handle handle, void* buffer, std::uint32_t size,
                                       std::uint64_t offset, Z4::eal_file_completion completion, void* context) {
    if (IsToFail(CALL_READ_ASYNC)) {
        return g_faults.status;
    }
    return StartAsync(completion, context, [=](Z4::eal_file_completion then, void* with) {
        return g_real.read_async(handle, buffer, Shortened(size), offset, then, with);
    });
}

Z4::eal_file_status Z4_CDECL WriteAsync(Z4::eal_file_handle handle, const void* buffer, std::uint32_t size,
                                        std::uint64_t offset, Z4::eal_file_completion completion, void* context) {
    const std::uint32_t wanted = Shortened(size);
    if (IsToFail(CALL_WRITE_ASYNC)) {
        return g_faults.status;
    }
    const std::uint32_t granted = TakeRoom(wanted);
    if (granted == 0 && wanted != 0) {
        return Z4::EAL_FILE_DISK_FULL;
    }
    return StartAsync(completion, context, [=](Z4::eal_file_completion then, void* with) {
        return g_real.write_async(handle, buffer, granted, offset, then, with);
    });
}

Z4::eal_file_status Z4_CDECL Flush(Z4::eal_file_handle handle) {
    return IsToFail(CALL_FLUSH) ? g_faults.status : g_real.flush(handle);
}

Z4::eal_file_status Z4_CDECL Size(Z4::eal_file_handle handle, std::uint64_t* size) {
    return IsToFail(CALL_SIZE) ? g_faults.status : g_real.size(handle, size);
}

} // namespace

Z4::eal_file_dll_interface WithFileFaults(const Z4::eal_file_dll_interface& table) {
    g_real = table;
    Z4::eal_file_dll_interface faulty = table;
    faulty.open = Open;
    faulty.close = Close;
    faulty.read = Read;
    faulty.read_async = ReadAsync;
    faulty.write = Write;
    faulty.write_async = WriteAsync;
    faulty.flush = Flush;
    faulty.size = Size;
    return faulty;
}

std::size_t InjectFileFaults(const FileFaults& faults) {
    g_faults = faults;
    g_calls = 0;
    g_room = faults.room;
    return g_failed.exchange(0);
}

} // namespace ZelkHost
