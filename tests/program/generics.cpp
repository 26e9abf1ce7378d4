#include "check.h"

#include <host/zelkhost.h>
#include <zelk_core/zelk_core.h>

void CheckGenerics() {
    Z4::Vector<Z4::ZelkString> names{"gamma", "alpha", "beta"};
    names.Insert(names.begin() + 1, Z4::ZelkString("delta"));
    names.Erase(names.begin());
    CHECK(names.Size() == 3 && names[0] == "delta" && names.Back() == "beta");

    const std::size_t before = ZelkHost::GetMemoryStatistics(Z4::EAL_ID_ZELK_CORE).blocks;
    const Z4::Vector<Z4::ZelkString> copies = names; // the texts are shared
    CHECK(ZelkHost::GetMemoryStatistics(Z4::EAL_ID_ZELK_CORE).blocks == before + 1);

    Z4::FixedVector<double, 2> numbers;
    CHECK(numbers.PushBack(1.5) && numbers.PushBack(2.5) && !numbers.IsDynamic());

    auto* const boxed = new Z4::TcpSocket; // in the host's memory by the class's own operators
    CHECK(boxed != nullptr);
    delete boxed;
}
