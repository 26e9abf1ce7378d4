// Compiled a second time for compilers that take plain `new` to align to 16 bytes.
#include "check.h"

#include <host/zelkhost.h>
#include <tests/support/alignednew.h>
#include <zelk_core/zelk_core.h>

namespace {

class Component : public Z4::HostNew<Component> {
public:
    virtual ~Component() = default;
};

} // namespace

void CheckNew() {
    using ZelkTest::CountMisplacedDerived;
    ZelkTest::BareMemory::Install();
    CHECK(CountMisplacedDerived<Component>() == 0);
    CHECK(ZelkTest::CountMisplaced<Z4::VectorSIMD4f>() + ZelkTest::CountMisplaced<Z4::MatrixSIMD33f>() == 0);
    CHECK(CountMisplacedDerived<Z4::TcpSocket>() == 0);
    CHECK(CountMisplacedDerived<Z4::XTea>() == 0);
    CHECK(CountMisplacedDerived<Z4::ZLibInflate>() == 0);
    CHECK(CountMisplacedDerived<Z4::DllWrapper>() == 0);
    Z4::SetEalInterface(ZelkHost::MemoryTable());
}
