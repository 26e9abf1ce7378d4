/// @file
/// The six tables of functions through which the library reaches its host: memory, log, files, threads, performance
/// and network. The host fills the six records, installs each with SetEalInterface(), and only then starts the
/// library's services (lifecycle.h).
///
/// The library calls a slot without testing it for null, so the host fills every slot that the services it starts
/// reach. Memory and log are reached by all of them, files and threads by InitializeEalUtils() and what builds on it,
/// the network by InitializeOS(). The call of a null slot is a fault of the program. A library built with ZELK_CHECKS
/// (assert.h) first reports the slot's name to `assert_message`, or stops in the debugger when no log table is
/// installed.
///
/// The library ignores what `init` and `shutdown` return. `init`, `shutdown` and `name_id` must not start or shut down
/// a service of the library. Unless a slot says otherwise, the library may call it from any thread, and from several at
/// once. Slots named `reserved` are never called and may be null. The order of the slots is part of the interface: a
/// table's version number goes up when its order changes.
#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <zelk_core/base/api.h>

namespace Z4 {

/// A slot that is copied with its table and that the library never calls.
using eal_reserved_slot = void(Z4_CDECL*)();

/// Each table's `init` is given the version by which the library calls the table. A host that was compiled for another
/// version can notice it there.
inline constexpr unsigned EAL_MEM_VERSION = 501;
inline constexpr unsigned EAL_LOG_VERSION = 502;
inline constexpr unsigned EAL_FILE_VERSION = 501;
inline constexpr unsigned EAL_THREAD_VERSION = 100;
inline constexpr unsigned EAL_NET_VERSION = 212;

/// Memory for everything that the library keeps. Between `init` and `shutdown` the other slots may be called at any
/// time. When services are started again later, `init` is called again, too.
struct eal_mem_dll_interface {
    int(Z4_CDECL* init)(unsigned version);
    int(Z4_CDECL* shutdown)();
    /// Returns `size` bytes at an address that is a multiple of `alignment`, a power of two; null when there is no
    /// memory. `flags` is always 0. `id` is the context that asks for the memory (see EALId).
    void*(Z4_CDECL* alloc)(std::size_t size, std::size_t alignment, unsigned flags, int id);
    eal_reserved_slot reserved3;
    /// Grows the block `pointer`, which is never null, to `size` bytes and returns its new address, a multiple of
    /// `alignment`. Content and context stay. Null means that there is no memory: the block then stays what and where
    /// it was.
    void*(Z4_CDECL* realloc)(void* pointer, std::size_t size, std::size_t alignment);
    eal_reserved_slot reserved5;
    /// Takes back a block of `alloc` or `realloc`. `pointer` is never null.
    void(Z4_CDECL* free)(void* pointer);
    eal_reserved_slot reserved7to16[10];
    /// Tells what to call a context before people. `name` is valid during the call only: a host that keeps it copies
    /// it.
    void(Z4_CDECL* name_id)(int id, const char* name);
    eal_reserved_slot reserved18;
};

/// Messages. Threads of the library and of the host log at any time between `init` and `shutdown`.
struct eal_log_dll_interface {
    int(Z4_CDECL* init)(unsigned version);
    int(Z4_CDECL* shutdown)();
    eal_reserved_slot reserved2;
    eal_reserved_slot reserved3;
    /// Returns non-zero when a message of `level` (see EalLogLevel) from the context `id` would be printed. The library
    /// asks before each message and formats nothing when the answer is 0.
    unsigned char(Z4_CDECL* is_enabled)(int id, unsigned level);
    /// Takes a failed assertion with its finished message, and returns non-zero when the program should stop in the
    /// debugger. `line2` is always 0. `ignore_flag` is one number for each place that asserts, 0 at first, or null: the
    /// host sets it to hear no more of that place. Broken contracts (assert.h) are reported here before `init` and
    /// after `shutdown`, too.
    unsigned char(Z4_CDECL* assert_message)(int id, const char* expression, const char* message, const char* file,
                                            unsigned long line, unsigned long line2, unsigned long* ignore_flag);
    /// Prints one message, which the host formats by the rules of `vprintf`. `file` is the name of the source that
    /// emits it, a path below the library's root without extension. All pointers are valid during the call only.
    void(Z4_CDECL* vprint)(int id, unsigned level, const char* file, unsigned long line, const char* format,
                           va_list arguments);
    eal_reserved_slot reserved7;
    eal_reserved_slot reserved8;
};

/// The result of a file operation. EalFile::TranslateError() gives the Error that it stands for.
enum eal_file_status : int {
    EAL_FILE_OK = 0,
    EAL_FILE_TIMEOUT = 1,
    EAL_FILE_NOT_FOUND = 2,
    EAL_FILE_ACCESS_DENIED = 3,
    EAL_FILE_SHARING_VIOLATION = 4,
    EAL_FILE_LOCKED = 5,
    EAL_FILE_UNSUPPORTED = 6,
    EAL_FILE_INVALID_ARGUMENT = 8,
    EAL_FILE_INVALID_HANDLE = 20,
    EAL_FILE_PATH_NOT_FOUND = 21,
    EAL_FILE_INVALID_NAME = 22,
    EAL_FILE_INVALID_OFFSET = 23,
    EAL_FILE_PATH_TOO_LONG = 24,
    EAL_FILE_ALREADY_EXISTS = 50,
    EAL_FILE_WRITE_PROTECTED = 51,
    EAL_FILE_IS_DIRECTORY = 52,
    EAL_FILE_DISK_FULL = 53,
    EAL_FILE_TOO_MANY_OPEN = 54,
    EAL_FILE_DEVICE_NOT_READY = 55,
    EAL_FILE_NOT_SEEKABLE = 56,
    EAL_FILE_HOST_SPECIFIC = 100,
    EAL_FILE_NOT_IMPLEMENTED = 101,
};

/// How a file is opened: one or more of these, combined by `|`. Without EAL_FILE_CREATE the file must exist.
enum eal_file_mode : unsigned {
    EAL_FILE_READ = 1,
    EAL_FILE_WRITE = 2,
    EAL_FILE_CREATE = 4,      ///< make the file when there is none
    EAL_FILE_TRUNCATE = 8,    ///< empty a file that exists; needs EAL_FILE_WRITE
    EAL_FILE_EXCLUSIVE = 16,  ///< with EAL_FILE_CREATE: fail with EAL_FILE_ALREADY_EXISTS when the file exists
    EAL_FILE_UNBUFFERED = 32, ///< go past the system's cache; see `buffer_alignment` and `sector_size`
    EAL_FILE_ASYNC = 64,      ///< allow `read_async` and `write_async`, which may make the other transfers slower
};

/// An open file of the host's; null stands for none.
using eal_file_handle = void*;

/// What the host calls, on a thread of its own, when an asynchronous operation has ended. `transferred` counts bytes.
using eal_file_completion = void(Z4_CDECL*)(void* context, eal_file_status status, std::uint32_t transferred);

/// Files. A handle has no position: each transfer names its offset from the file's beginning in bytes, so that threads
/// can share a handle. A transfer may be short: it moves fewer bytes than asked, is EAL_FILE_OK, and the library asks
/// for the rest. Only a read of 0 bytes says that the file ends there. `init` and `shutdown` nest: each
/// InitializeEalUtils() calls `init`, each ShutdownEalUtils() calls `shutdown`, and the table is used until the last
/// `shutdown`.
struct eal_file_dll_interface {
    int(Z4_CDECL* init)(unsigned version);
    int(Z4_CDECL* shutdown)();
    /// Opens the file `path`, a UTF-8 text, and stores its handle in `*handle`; null on failure. `mode` combines values
    /// of eal_file_mode.
    eal_file_status(Z4_CDECL* open)(const char* path, unsigned mode, eal_file_handle* handle);
    /// Closes the file after its asynchronous operations have ended, for which it waits. Neither it nor `shutdown` is
    /// called from a completion, where it would wait for itself.
    eal_file_status(Z4_CDECL* close)(eal_file_handle handle);
    eal_reserved_slot reserved4;
    /// Reads `size` bytes from `offset` on into `buffer`, and returns when that is done. `*transferred` receives how
    /// many bytes were read, on failure too; `transferred` is never null.
    eal_file_status(Z4_CDECL* read)(eal_file_handle handle, void* buffer, std::uint32_t size, std::uint64_t offset,
                                    std::uint32_t* transferred);
    /// Starts a read and returns without waiting for it; EAL_FILE_UNSUPPORTED for a file that was opened without
    /// EAL_FILE_ASYNC. When it returns EAL_FILE_OK, the host calls `completion` exactly once, possibly before this call
    /// returns, and `buffer` is valid until then. With another result it never calls it.
    eal_file_status(Z4_CDECL* read_async)(eal_file_handle handle, void* buffer, std::uint32_t size,
                                          std::uint64_t offset, eal_file_completion completion, void* context);
    /// Writes `size` bytes of `buffer` from `offset` on, by the rules of `read`. A file that ends before `offset` +
    /// `size` grows.
    eal_file_status(Z4_CDECL* write)(eal_file_handle handle, const void* buffer, std::uint32_t size,
                                     std::uint64_t offset, std::uint32_t* transferred);
    eal_reserved_slot reserved8;
    /// Returns when all data whose write had ended before the call is on the device.
    eal_file_status(Z4_CDECL* flush)(eal_file_handle handle);
    /// Of how many bytes the addresses of buffers must be multiples: 1, unless the file is EAL_FILE_UNBUFFERED.
    std::uint32_t(Z4_CDECL* buffer_alignment)(eal_file_handle handle);
    /// Of how many bytes offsets and sizes must be multiples: 1, unless the file is EAL_FILE_UNBUFFERED.
    std::uint32_t(Z4_CDECL* sector_size)(eal_file_handle handle);
    /// The character between the folders of a path.
    char(Z4_CDECL* separator)();
    /// Returns non-zero when there is a file `path`; a directory is none.
    unsigned char(Z4_CDECL* exists)(const char* path);
    /// Starts a write, by the rules of `read_async`.
    eal_file_status(Z4_CDECL* write_async)(eal_file_handle handle, const void* buffer, std::uint32_t size,
                                           std::uint64_t offset, eal_file_completion completion, void* context);
    /// Stores the file's size in bytes in `*size`.
    eal_file_status(Z4_CDECL* size)(eal_file_handle handle, std::uint64_t* size);
    eal_reserved_slot reserved16to19[4];
};

/// How urgent a host thread is. The library hands it on as it was given; what it means on a system is the host's
/// choice.
enum eal_thread_priority : int {
    EAL_THREAD_PRIORITY_IDLE = 0,
    EAL_THREAD_PRIORITY_LOWEST = 1,
    EAL_THREAD_PRIORITY_BELOW_NORMAL = 2,
    EAL_THREAD_PRIORITY_NORMAL = 3,
    EAL_THREAD_PRIORITY_ABOVE_NORMAL = 4,
    EAL_THREAD_PRIORITY_HIGHEST = 5,
    EAL_THREAD_PRIORITY_TIME_CRITICAL = 6,
};

/// A thread of the host's; null stands for none.
using eal_thread_handle = void*;
/// What a new thread calls; it ends when the call returns.
using eal_thread_entry = void(Z4_CDECL*)(void* argument);

/// Threads. `init` and `shutdown` nest as those of the file table do.
struct eal_thread_dll_interface {
    int(Z4_CDECL* init)(unsigned version);
    int(Z4_CDECL* shutdown)();
    /// Starts a thread for the context `id` that calls `entry(argument)`, and returns its handle; null on failure.
    /// `stack_size` is in bytes, 0 for the host's default.
    eal_thread_handle(Z4_CDECL* create)(int id, std::size_t stack_size, eal_thread_priority priority,
                                        eal_thread_entry entry, void* argument);
    /// Waits until the thread has ended and releases its handle. Called at most once for each thread.
    void(Z4_CDECL* join)(eal_thread_handle handle);
};

/// Performance sampling. The library keeps the table, so that a host can hand over a complete environment, and never
/// calls it: all slots may be null.
struct eal_perf_dll_interface {
    eal_reserved_slot slots[34];
};

/// Starts and shuts down the system's sockets: `init` when the first InitializeOS() starts the service, `shutdown` at
/// the end of the last.
struct eal_net_dll_interface {
    int(Z4_CDECL* init)(unsigned version);
    int(Z4_CDECL* shutdown)();
};

/// Copies one table into the library, where it replaces the one installed before. No slot is tested or called. Call it
/// before the first service is started, and never while another thread uses the library: nothing is locked.
Z4_API void SetEalInterface(const eal_mem_dll_interface& table);
Z4_API void SetEalInterface(const eal_log_dll_interface& table);
Z4_API void SetEalInterface(const eal_file_dll_interface& table);
Z4_API void SetEalInterface(const eal_thread_dll_interface& table);
Z4_API void SetEalInterface(const eal_perf_dll_interface& table);
Z4_API void SetEalInterface(const eal_net_dll_interface& table);

} // namespace Z4
