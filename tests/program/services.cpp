#include "check.h"

#include <cstring>
#include <zelk_core/zelk_core.h>

namespace {

class Shape : public Z4::DynamicType {
    Z4_DYNAMIC_TYPE(Shape, Z4::DynamicType)
    virtual int Corners() const = 0;
};

class Square : public Shape {
    Z4_DYNAMIC_TYPE(Square, Shape)
    int Corners() const override { return 4; }
};
Z4_REGISTER_CLASS(Square, Shape)

class Counter : public Z4::ClassFactory::Sink {
public:
    void OnEvent(unsigned event, const Z4::ClassFactoryNotification& notification) override {
        m_count += event == Z4::CLASS_FACTORY_CREATED && notification.object != nullptr;
    }
    int Count() const { return m_count; }

private:
    int m_count = 0;
};

} // namespace

/// Above all a class that registered itself before main(), known here by its name only.
void CheckServices() {
    Z4::ClassFactory& factory = Z4::ClassFactory::Instance();
    Counter counter;
    CHECK(factory.AddSink(counter));
    auto* const shape = static_cast<Shape*>(factory.CreateInstance(Z4::ClassType("Square")));
    CHECK(shape != nullptr && shape->Corners() == 4 && std::strcmp(shape->GetTypeNameExt(), "Square") == 0);
    CHECK(Square::DynamicCast(shape) != nullptr && shape->IsAKindOf(Shape::StaticType()));
    CHECK(!factory.IsRegistered(Z4::ClassType("Circle")) && counter.Count() == 1);
    CHECK(factory.RemoveSink(counter));
    delete shape;

    int number = 0x01020304;
    char text[16];
    const Z4::VariableType type = Z4::VariableType::Of<int>();
    type.SwapByte(&number);
    CHECK(number == 0x04030201 && type.Print(text, sizeof text, &number) == 8 && std::strcmp(text, "67305985") == 0);
}
