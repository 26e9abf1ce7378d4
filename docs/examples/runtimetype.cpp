#include "examples.h"

#include <memory>

//! [example]
struct Shape {
    virtual ~Shape() = default;
    virtual int Corners() const = 0;
};
struct Triangle : Shape {
    int Corners() const override { return 3; }
};
Z4_REGISTER_CLASS(Triangle, Shape) // one line in the class's source file, nothing in the factory's

void ShowRuntimeType() {
    Z4::InitializeRuntimeTypeService();
    Z4::ClassFactory& factory = Z4::ClassFactory::Instance();
    const Z4::TypeID type = Z4::ClassType("Triangle"); // as it would come from a level file
    if (factory.IsRegistered(type)) {
        const std::unique_ptr<Shape> shape(static_cast<Shape*>(factory.CreateInstance(type)));
        std::printf("%d corners\n", shape->Corners()); // 3 corners
    }
    Z4::ShutdownRuntimeTypeService();
}
//! [example]
