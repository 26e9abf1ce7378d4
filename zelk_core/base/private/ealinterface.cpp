#include <zelk_core/base/layout.h>
#include <zelk_core/base/private/eal.h>

namespace Z4 {

namespace {
constexpr std::size_t SLOT = sizeof(void*);
} // namespace

template <>
struct Private::Layout<eal_mem_dll_interface> {
    static_assert(offsetof(eal_mem_dll_interface, init) == 0 * SLOT);
    static_assert(offsetof(eal_mem_dll_interface, shutdown) == 1 * SLOT);
    static_assert(offsetof(eal_mem_dll_interface, alloc) == 2 * SLOT);
    static_assert(offsetof(eal_mem_dll_interface, realloc) == 4 * SLOT);
    static_assert(offsetof(eal_mem_dll_interface, free) == 6 * SLOT);
    static_assert(offsetof(eal_mem_dll_interface, name_id) == 17 * SLOT);
    static_assert(sizeof(eal_mem_dll_interface) == 19 * SLOT);
};

template <>
struct Private::Layout<eal_log_dll_interface> {
    static_assert(offsetof(eal_log_dll_interface, init) == 0 * SLOT);
    static_assert(offsetof(eal_log_dll_interface, shutdown) == 1 * SLOT);
    static_assert(offsetof(eal_log_dll_interface, is_enabled) == 4 * SLOT);
    static_assert(offsetof(eal_log_dll_interface, assert_message) == 5 * SLOT);
    static_assert(offsetof(eal_log_dll_interface, vprint) == 6 * SLOT);
    static_assert(sizeof(eal_log_dll_interface) == 9 * SLOT);
};

template <>
struct Private::Layout<eal_file_dll_interface> {
    static_assert(offsetof(eal_file_dll_interface, init) == 0 * SLOT);
    static_assert(offsetof(eal_file_dll_interface, shutdown) == 1 * SLOT);
    static_assert(offsetof(eal_file_dll_interface, open) == 2 * SLOT);
    static_assert(offsetof(eal_file_dll_interface, close) == 3 * SLOT);
    static_assert(offsetof(eal_file_dll_interface, read) == 5 * SLOT);
    static_assert(offsetof(eal_file_dll_interface, read_async) == 6 * SLOT);
    static_assert(offsetof(eal_file_dll_interface, write) == 7 * SLOT);
    static_assert(offsetof(eal_file_dll_interface, flush) == 9 * SLOT);
    static_assert(offsetof(eal_file_dll_interface, buffer_alignment) == 10 * SLOT);
    static_assert(offsetof(eal_file_dll_interface, sector_size) == 11 * SLOT);
    static_assert(offsetof(eal_file_dll_interface, separator) == 12 * SLOT);
    static_assert(offsetof(eal_file_dll_interface, exists) == 13 * SLOT);
    static_assert(offsetof(eal_file_dll_interface, write_async) == 14 * SLOT);
    static_assert(offsetof(eal_file_dll_interface, size) == 15 * SLOT);
    static_assert(sizeof(eal_file_dll_interface) == 20 * SLOT);
};

template <>
struct Private::Layout<eal_thread_dll_interface> {
    static_assert(offsetof(eal_thread_dll_interface, init) == 0 * SLOT);
    static_assert(offsetof(eal_thread_dll_interface, shutdown) == 1 * SLOT);
    static_assert(offsetof(eal_thread_dll_interface, create) == 2 * SLOT);
    static_assert(offsetof(eal_thread_dll_interface, join) == 3 * SLOT);
    static_assert(sizeof(eal_thread_dll_interface) == 4 * SLOT);
};

template <>
struct Private::Layout<eal_perf_dll_interface> {
    static_assert(sizeof(eal_perf_dll_interface) == 34 * SLOT);
};

template <>
struct Private::Layout<eal_net_dll_interface> {
    static_assert(offsetof(eal_net_dll_interface, init) == 0 * SLOT);
    static_assert(offsetof(eal_net_dll_interface, shutdown) == 1 * SLOT);
    static_assert(sizeof(eal_net_dll_interface) == 2 * SLOT);
};

namespace Private {

constinit eal_mem_dll_interface g_mem{};
constinit eal_log_dll_interface g_log{};
constinit eal_file_dll_interface g_file{};
constinit eal_thread_dll_interface g_thread{};
constinit eal_net_dll_interface g_net{};

namespace {
constinit eal_perf_dll_interface g_perf{};
} // namespace

} // namespace Private

void SetEalInterface(const eal_mem_dll_interface& table) {
    Private::g_mem = table;
}

void SetEalInterface(const eal_log_dll_interface& table) {
    Private::g_log = table;
}

void SetEalInterface(const eal_file_dll_interface& table) {
    Private::g_file = table;
}

void SetEalInterface(const eal_thread_dll_interface& table) {
    Private::g_thread = table;
}

void SetEalInterface(const eal_perf_dll_interface& table) {
    Private::g_perf = table;
}

void SetEalInterface(const eal_net_dll_interface& table) {
    Private::g_net = table;
}

} // namespace Z4
