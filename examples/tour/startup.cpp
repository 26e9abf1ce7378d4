// Wraps the host's tables, so that every call of theirs while services start and stop can be seen.
#include "tour.h"

#include <host/zelkhost.h>
#include <zelk_core/zelk_core.h>

namespace {

template <class Table>
const Table& HostTable();
template <>
const Z4::eal_mem_dll_interface& HostTable() {
    return ZelkHost::MemoryTable();
}
template <>
const Z4::eal_log_dll_interface& HostTable() {
    return ZelkHost::LogTable();
}
template <>
const Z4::eal_file_dll_interface& HostTable() {
    return ZelkHost::FileTable();
}
template <>
const Z4::eal_thread_dll_interface& HostTable() {
    return ZelkHost::ThreadTable();
}
template <>
const Z4::eal_net_dll_interface& HostTable() {
    return ZelkHost::NetworkTable();
}

template <class Table>
constexpr const char* NAME = "";
template <>
constexpr const char* NAME<Z4::eal_mem_dll_interface> = "memory";
template <>
constexpr const char* NAME<Z4::eal_log_dll_interface> = "log";
template <>
constexpr const char* NAME<Z4::eal_file_dll_interface> = "file";
template <>
constexpr const char* NAME<Z4::eal_thread_dll_interface> = "thread";
template <>
constexpr const char* NAME<Z4::eal_net_dll_interface> = "network";

template <class Table>
void InstallTraced() {
    Table traced = HostTable<Table>();
    traced.init = [](unsigned version) {
        Print("      %-7s init(%u)\n", NAME<Table>, version);
        return HostTable<Table>().init(version);
    };
    traced.shutdown = [] {
        Print("      %-7s shutdown()\n", NAME<Table>);
        return HostTable<Table>().shutdown();
    };
    if constexpr (requires { traced.name_id; }) {
        traced.name_id = [](int id, const char* name) {
            Print("      %-7s name_id(0x%08X, \"%s\")\n", NAME<Table>, static_cast<unsigned>(id), name);
            ZelkHost::MemoryTable().name_id(id, name);
        };
    }
    Z4::SetEalInterface(traced);
}

struct Step {
    const char* name;
    void (*call)();
};

const Step STEPS[] = {
    {"InitializeOS", Z4::InitializeOS},         {"InitializeEalUtils", Z4::InitializeEalUtils},
    {"InitializeOS, again", Z4::InitializeOS},  {"ShutdownOS", Z4::ShutdownOS},
    {"ShutdownEalUtils", Z4::ShutdownEalUtils}, {"ShutdownOS", Z4::ShutdownOS},
};

} // namespace

void TourStartUp() {
    Chapter("base", "what the host is asked while services start and stop");
    InstallTraced<Z4::eal_mem_dll_interface>();
    InstallTraced<Z4::eal_log_dll_interface>();
    InstallTraced<Z4::eal_file_dll_interface>();
    InstallTraced<Z4::eal_thread_dll_interface>();
    InstallTraced<Z4::eal_net_dll_interface>();
    for (const Step& step : STEPS) {
        Print("   %s\n", step.name);
        step.call();
    }
    Z4::SetEalInterface(ZelkHost::MemoryTable());
    Z4::SetEalInterface(ZelkHost::LogTable());
    Z4::SetEalInterface(ZelkHost::FileTable());
    Z4::SetEalInterface(ZelkHost::ThreadTable());
    Z4::SetEalInterface(ZelkHost::NetworkTable());
}
