#include <zelk_core/base/private/eal.h>

namespace Z4 {

static_assert(sizeof(eal_mem_dll_interface) == 19 * sizeof(void*));
static_assert(offsetof(eal_mem_dll_interface, alloc) == 2 * sizeof(void*));
static_assert(offsetof(eal_mem_dll_interface, realloc) == 4 * sizeof(void*));
static_assert(offsetof(eal_mem_dll_interface, free) == 6 * sizeof(void*));
static_assert(offsetof(eal_mem_dll_interface, name_id) == 17 * sizeof(void*));

static_assert(sizeof(eal_log_dll_interface) == 9 * sizeof(void*));
static_assert(offsetof(eal_log_dll_interface, is_enabled) == 4 * sizeof(void*));
static_assert(offsetof(eal_log_dll_interface, assert_message) == 5 * sizeof(void*));
static_assert(offsetof(eal_log_dll_interface, vprint) == 6 * sizeof(void*));

static_assert(sizeof(eal_file_dll_interface) == 20 * sizeof(void*));
static_assert(offsetof(eal_file_dll_interface, read) == 5 * sizeof(void*));
static_assert(offsetof(eal_file_dll_interface, write) == 7 * sizeof(void*));
static_assert(offsetof(eal_file_dll_interface, flush) == 9 * sizeof(void*));
static_assert(offsetof(eal_file_dll_interface, exists) == 13 * sizeof(void*));
static_assert(offsetof(eal_file_dll_interface, size) == 15 * sizeof(void*));

static_assert(sizeof(eal_thread_dll_interface) == 4 * sizeof(void*));
static_assert(sizeof(eal_perf_dll_interface) == 34 * sizeof(void*));
static_assert(sizeof(eal_net_dll_interface) == 2 * sizeof(void*));

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
