/// @file
/// The six tables of functions through which the library reaches its host: memory, log, files, threads, performance
/// and network. The host fills the records, installs them all once, and only then starts the library's services.
///
/// The library calls a slot without testing it for null: a host fills every slot that the services it starts reach.
/// A library built with its contract checks reports the first call of a null slot before the program faults there; with
/// no log table it stops in the debugger. No `init`, `shutdown` or `name_id` may start or shut down a service of the
/// library. Slots named `reserved` are kept but never called and may be null. Except where said, a slot may be called
/// from any thread. The order of the slots is interface: version numbers go up when it changes.
#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <zelk_core/base/api.h>

namespace Z4 {

/// A slot that the library keeps for the host's other users and never calls.
using eal_reserved_slot = void(Z4_CDECL*)();

/// Revision numbers passed to `init`, so that a host can notice a table laid out otherwise than it expects.
inline constexpr unsigned EAL_MEM_VERSION = 501;
inline constexpr unsigned EAL_LOG_VERSION = 502;
inline constexpr unsigned EAL_FILE_VERSION = 501;
inline constexpr unsigned EAL_THREAD_VERSION = 100;
inline constexpr unsigned EAL_NET_VERSION = 212;

/// Memory. `init` comes before every other call and `shutdown` after; both may come again later. Results of these two
/// are ignored in every table.
struct eal_mem_dll_interface {
    int(Z4_CDECL* init)(unsigned version);
    int(Z4_CDECL* shutdown)();
    /// `size` bytes, aligned to `alignment`, a power of two; null when there are none. `flags` is always 0, `id` says
    /// for whom (see EALId).
    void*(Z4_CDECL* alloc)(std::size_t size, std::size_t alignment, unsigned flags, int id);
    eal_reserved_slot reserved3;
    /// Grows the non-null block `pointer`, keeping its content and context; the block's new place is aligned to
    /// `alignment`. Null leaves the old block as it was.
    void*(Z4_CDECL* realloc)(void* pointer, std::size_t size, std::size_t alignment);
    eal_reserved_slot reserved5;
    /// `pointer` is never null.
    void(Z4_CDECL* free)(void* pointer);
    eal_reserved_slot reserved7to16[10];
    /// Attaches a name to a context. `name` must be copied if it is to be kept.
    void(Z4_CDECL* name_id)(int id, const char* name);
    eal_reserved_slot reserved18;
};

/// Messages. Must be ready for calls from any thread between `init` and `shutdown`.
struct eal_log_dll_interface {
    int(Z4_CDECL* init)(unsigned version);
    int(Z4_CDECL* shutdown)();
    eal_reserved_slot reserved2;
    eal_reserved_slot reserved3;
    /// Non-zero when a message of `level` (see EalLogLevel) for context `id` would be printed.
    unsigned char(Z4_CDECL* is_enabled)(int id, unsigned level);
    /// A failed assertion with its finished message. `line2` is always 0; `ignore_flag` may be null, and is the host's
    /// to read or set. The answer goes to whoever asserted. Broken contracts are reported here before `init` and after
    /// `shutdown` too.
    unsigned char(Z4_CDECL* assert_message)(int id, const char* expression, const char* message, const char* file,
                                            unsigned long line, unsigned long line2, unsigned long* ignore_flag);
    /// Formats (printf rules) and emits one message. `file` is the path below the library's root, without extension.
    void(Z4_CDECL* vprint)(int id, unsigned level, const char* file, unsigned long line, const char* format,
                           va_list arguments);
    eal_reserved_slot reserved7;
    eal_reserved_slot reserved8;
};

/// What a file operation came to. EalFile::TranslateError turns it into an Error.
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

/// How to open a file; combined by or. Without EAL_FILE_CREATE the file must exist.
enum eal_file_mode : unsigned {
    EAL_FILE_READ = 1,
    EAL_FILE_WRITE = 2,
    EAL_FILE_CREATE = 4,      ///< make the file when there is none
    EAL_FILE_TRUNCATE = 8,    ///< empty a file that exists; needs EAL_FILE_WRITE
    EAL_FILE_EXCLUSIVE = 16,  ///< with EAL_FILE_CREATE: a file that exists is EAL_FILE_ALREADY_EXISTS
    EAL_FILE_UNBUFFERED = 32, ///< past the system's cache: buffers, offsets and sizes obey the alignment queries
};

/// An open file of the host's; null stands for none.
using eal_file_handle = void*;

/// Called once when an asynchronous operation has ended, on a thread of the host's; `transferred` is in bytes.
using eal_file_completion = void(Z4_CDECL*)(void* context, eal_file_status status, std::uint32_t transferred);

/// Files. Offsets are absolute and in bytes: a handle has no position, so that threads can share it. A read that
/// meets the end of the file transfers less than asked, possibly nothing, and is EAL_FILE_OK. `init` and `shutdown`
/// may be called repeatedly; the last `shutdown` counts.
struct eal_file_dll_interface {
    int(Z4_CDECL* init)(unsigned version);
    int(Z4_CDECL* shutdown)();
    /// `path` is UTF-8; `mode` combines eal_file_mode. On failure `*handle` is null.
    eal_file_status(Z4_CDECL* open)(const char* path, unsigned mode, eal_file_handle* handle);
    /// Waits for the file's asynchronous operations first. Not to be called from a completion, nor is `shutdown`.
    eal_file_status(Z4_CDECL* close)(eal_file_handle handle);
    eal_reserved_slot reserved4;
    eal_file_status(Z4_CDECL* read)(eal_file_handle handle, void* buffer, std::uint32_t size, std::uint64_t offset,
                                    std::uint32_t* transferred);
    /// Starts a read and returns. `completion` is called exactly once when the result is EAL_FILE_OK and never
    /// otherwise; `buffer` must live until then.
    eal_file_status(Z4_CDECL* read_async)(eal_file_handle handle, void* buffer, std::uint32_t size,
                                          std::uint64_t offset, eal_file_completion completion, void* context);
    eal_file_status(Z4_CDECL* write)(eal_file_handle handle, const void* buffer, std::uint32_t size,
                                     std::uint64_t offset, std::uint32_t* transferred);
    eal_reserved_slot reserved8;
    /// Returns when everything whose write has ended is on the device.
    eal_file_status(Z4_CDECL* flush)(eal_file_handle handle);
    /// What buffer addresses must be multiples of with EAL_FILE_UNBUFFERED, in bytes; 1 for other files.
    std::uint32_t(Z4_CDECL* buffer_alignment)(eal_file_handle handle);
    /// What offsets and sizes must be multiples of with EAL_FILE_UNBUFFERED, in bytes; 1 for other files.
    std::uint32_t(Z4_CDECL* sector_size)(eal_file_handle handle);
    char(Z4_CDECL* separator)();
    /// Non-zero when `path` names a file (not a directory).
    unsigned char(Z4_CDECL* exists)(const char* path);
    /// As `read_async`.
    eal_file_status(Z4_CDECL* write_async)(eal_file_handle handle, const void* buffer, std::uint32_t size,
                                           std::uint64_t offset, eal_file_completion completion, void* context);
    eal_file_status(Z4_CDECL* size)(eal_file_handle handle, std::uint64_t* size);
    eal_reserved_slot reserved16to19[4];
};

/// Passed through to the host unchanged.
enum eal_thread_priority : int {
    EAL_THREAD_PRIORITY_IDLE = 0,
    EAL_THREAD_PRIORITY_LOWEST = 1,
    EAL_THREAD_PRIORITY_BELOW_NORMAL = 2,
    EAL_THREAD_PRIORITY_NORMAL = 3,
    EAL_THREAD_PRIORITY_ABOVE_NORMAL = 4,
    EAL_THREAD_PRIORITY_HIGHEST = 5,
    EAL_THREAD_PRIORITY_TIME_CRITICAL = 6,
};

using eal_thread_handle = void*;
using eal_thread_entry = void(Z4_CDECL*)(void* argument);

/// Threads. `init` and `shutdown` may be called repeatedly; the last `shutdown` counts.
struct eal_thread_dll_interface {
    int(Z4_CDECL* init)(unsigned version);
    int(Z4_CDECL* shutdown)();
    /// Starts a thread that calls `entry(argument)`; a stack size of 0 is the host's default. Null on failure.
    eal_thread_handle(Z4_CDECL* create)(int id, std::size_t stack_size, eal_thread_priority priority,
                                        eal_thread_entry entry, void* argument);
    /// Waits for the thread's end and releases the handle.
    void(Z4_CDECL* join)(eal_thread_handle handle);
};

/// Performance sampling. Opaque to the library, which never calls it; kept so that a host can hand over a complete
/// environment.
struct eal_perf_dll_interface {
    eal_reserved_slot slots[34];
};

/// Network start-up.
struct eal_net_dll_interface {
    int(Z4_CDECL* init)(unsigned version);
    int(Z4_CDECL* shutdown)();
};

/// Installs a copy of one table; a second install replaces the first. Not synchronised: to be called before the first
/// service starts, and never while another thread uses the library. No slot is tested or called.
Z4_API void SetEalInterface(const eal_mem_dll_interface& table);
Z4_API void SetEalInterface(const eal_log_dll_interface& table);
Z4_API void SetEalInterface(const eal_file_dll_interface& table);
Z4_API void SetEalInterface(const eal_thread_dll_interface& table);
Z4_API void SetEalInterface(const eal_perf_dll_interface& table);
Z4_API void SetEalInterface(const eal_net_dll_interface& table);

} // namespace Z4
