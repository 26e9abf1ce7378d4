// One use of each room whose classes cross the border by value, by pointer or by virtual calls.
#include "check.h"

#include <cstring>
#include <host/zelkhost.h>
#include <zelk_core/zelk_core.h>

namespace {

/// The system's own library, checked by a virtual function that is implemented here and called from there.
struct CheckedDll : Z4::DllWrapper {
    bool ValidateDLL(const char* name) override { return isValidated = std::strcmp(name, "ws2_32.dll") == 0; }

    bool isValidated = false;
};

constexpr char TEXT[] = "one text, there and back";

void CheckStream() {
    Z4::TcpSocket listener;
    CHECK(listener.Bind("127.0.0.1", 0) && listener.Listen(1));
    Z4::TcpSocket socket("127.0.0.1", listener.GetPortNumber());
    Z4::StreamSocket<Z4::TcpSocket> accepted;
    CHECK(listener.Accept(accepted));
    CHECK(accepted.Send(TEXT, sizeof TEXT) == sizeof TEXT);

    Z4::BerkeleySocketGroup readable;
    socket.AddToSet(readable);
    unsigned long error = 0;
    CHECK(Z4::BerkeleySocketGroup::Wait(&readable, nullptr, nullptr, 10'000, error) == 1 && socket.IsInSet(readable));
    char text[64] = {};
    CHECK(socket.Receive(text, sizeof text) > 0 && std::strncmp(text, TEXT, 8) == 0);
}

class Shape : public Z4::DynamicType {
    Z4_DYNAMIC_TYPE(Shape, Z4::DynamicType)
    virtual int Corners() const = 0;
};

class Square : public Shape {
    Z4_DYNAMIC_TYPE(Square, Shape)
    int Corners() const override { return 4; }
};
Z4_REGISTER_CLASS(Square, Shape)

struct Counter : Z4::ClassFactory::Sink {
    void OnEvent(unsigned event, const Z4::ClassFactoryNotification& notification) override {
        count += event == Z4::CLASS_FACTORY_CREATED && notification.object != nullptr;
    }

    int count = 0;
};

bool IsNamed(const void* address, const char* name) {
    Z4::SymbolInfo info;
    return Z4::SymbolHandler::Instance().Resolve(address, info) && std::strstr(info.function, name) != nullptr;
}

volatile long g_watched;
unsigned g_hits;

void CheckBreakpoints() {
    unsigned long slot = 0;
    const auto count = [](const Z4::HardwareBreakpoint::Hit& hit, void*) {
        g_hits += hit.address == const_cast<const long*>(&g_watched) ? 1u : 0u;
    };
    const Z4::Error result =
        Z4::HardwareBreakpoint::Set(const_cast<const long*>(&g_watched), sizeof g_watched, Z4::BREAK_ON_WRITE,
                                    Z4::HardwareBreakpoint::ALL_THREADS, count, nullptr, slot);
    if (result != Z4::ERR_UNSUPPORTED) {
        CHECK(result == Z4::ERR_OK);
        g_watched = 1;
        CHECK(Z4::HardwareBreakpoint::Clear(slot) == Z4::ERR_OK);
        g_watched = 2;
        CHECK(g_hits == 1);
    }
    const auto see = [](const char*, const char*, void*) { return ++g_hits == 0; };
    CHECK(Z4::StringBreakpoint::Set("= 7", Z4::StringBreakpoint::FORMATTER, 0, see, nullptr, slot) == Z4::ERR_OK);
    char text[20];
    Z4::StrFormat::Print(text, sizeof text, "x = %d", 7);
    CHECK(Z4::StringBreakpoint::GetHits(slot) == 1);
    CHECK(Z4::StringBreakpoint::Clear(slot) == Z4::ERR_OK);
}

} // namespace

void CheckBase() {
    const Z4::Platform& machine = Z4::Platform::GetRef();
    CHECK(machine.GetNbProcessors() >= 1 && machine.GetVendor() <= Z4::ProcessorVendor::UNKNOWN);
    CHECK(Z4::Platform::GetMemoryInfo().workingSetSize != 0);

    CheckedDll dll;
    dll.LoadDLL("ws2_32.dll", true);
    CHECK(dll.IsDLLLoaded() && dll.isValidated);
}

void CheckNetwork() {
    CheckStream();
    Z4::HostInfo local("localhost");
    CHECK(std::strcmp(local.GetAddress(), "127.0.0.1") == 0 && local.GetStatus() == Z4::ERR_OK);
    const Z4::NICInfo adapters;
    CHECK(adapters.GetCount() != 0 && adapters.begin()->GetIPAddressCount() <= 64);
}

void CheckMath() {
    using namespace Z4::Geometry;
    using Z4::VectorSIMD4f;
    // Results by hidden pointer, vectors by reference, on stacks of any alignment, and on the heap of the host.
    const GeometryAABB box(VectorSIMD4f(-1, -1, -1, 0), VectorSIMD4f(1, 1, 1, 0));
    GeometryOBB turned = box.ToOOBox();
    turned.Rotate(VectorSIMD4f(0, 0, 1, 0), 0.7853981F);
    CHECK(turned.Contains(VectorSIMD4f(1.4F, 0, 0, 0)) && !turned.Contains(VectorSIMD4f(1, 1, 0, 0)));
    CHECK(turned.Intersect(box) && turned.ToAABox().GetMax().X() > 1.41F);

    const std::size_t before = ZelkHost::GetMemoryStatistics(Z4::EAL_ID_ZELK_CORE).blocks;
    auto* const heaped = new GeometryOBB(turned);
    CHECK(reinterpret_cast<std::uintptr_t>(heaped) % 16 == 0 && *heaped == turned);
    CHECK(ZelkHost::GetMemoryStatistics(Z4::EAL_ID_ZELK_CORE).blocks == before + 1);
    delete heaped;
}

/// Above all a class that registered itself before main(), known here by its name only.
void CheckServices() {
    Z4::ClassFactory& factory = Z4::ClassFactory::Instance();
    Counter counter;
    CHECK(factory.AddSink(counter));
    auto* const shape = static_cast<Shape*>(factory.CreateInstance(Z4::ClassType("Square")));
    CHECK(shape != nullptr && shape->Corners() == 4 && std::strcmp(shape->GetTypeNameExt(), "Square") == 0);
    CHECK(Square::DynamicCast(shape) != nullptr && shape->IsAKindOf(Shape::StaticType()));
    CHECK(!factory.IsRegistered(Z4::ClassType("Circle")) && counter.count == 1);
    CHECK(factory.RemoveSink(counter));
    delete shape;

    int number = 0x01020304;
    char text[16];
    const Z4::VariableType type = Z4::VariableType::Of<int>();
    type.SwapByte(&number);
    CHECK(number == 0x04030201 && type.Print(text, sizeof text, &number) == 8 && std::strcmp(text, "67305985") == 0);
}

void CheckDebugHelp() {
    Z4::WinDbgHelp& debugHelp = Z4::WinDbgHelp::Instance();
    CHECK(debugHelp.IsLoaded() && debugHelp.IsReady());
    CHECK(Z4::ProgramModuleDB::Instance().GetCount() >= 3);

    // By the debug databases of the program and of the DLL.
#if defined(_MSC_VER) // whose form of it alone the debug-help library is sure to read
    CHECK(IsNamed(reinterpret_cast<const void*>(&CheckDebugHelp), "CheckDebugHelp"));
#endif
    CHECK(IsNamed(reinterpret_cast<const void*>(&Z4::GetErrorString), "GetErrorString"));
    CHECK(Z4::StackSizeMonitorDb::Instance().Sample() > 0);
    Z4::CallStack stack;
    CHECK(stack.Capture(0) >= 3);
    CheckBreakpoints();
}
