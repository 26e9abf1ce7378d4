#include <host/zelkhost.h>
void ZelkHost::Install(const Options&) {}
