// Objects of classes that this file knows by name only: classfactory [SCENE]
//
// A scene lists objects, "Circle 2 Square 3": a class name and a size each. The loader below knows nothing but Shape;
// whoever adds a class in a file or DLL of its own writes Z4_REGISTER_CLASS beside it, and scenes can name it.
#include <cstdio>
#include <host/zelkhost.h>
#include <memory>
#include <sstream>
#include <string>
#include <vector>
#include <zelk_core/zelk_core.h>

class Shape : public Z4::DynamicType {
    Z4_DYNAMIC_TYPE(Shape, Z4::DynamicType)

    virtual double Area() const = 0;
    double size = 1;
};

class Square : public Shape {
    Z4_DYNAMIC_TYPE(Square, Shape)

    double Area() const override { return size * size; }
};
Z4_REGISTER_CLASS(Square, Shape)

class Circle : public Shape {
    Z4_DYNAMIC_TYPE(Circle, Shape)

    double Area() const override { return 3.14159265 * size * size; }
};
Z4_REGISTER_CLASS(Circle, Shape)

namespace {

/// Counts what the factory makes, as an editor or a profiler would.
class Counter : public Z4::ClassFactory::Sink {
public:
    void OnEvent(unsigned event, const Z4::ClassFactoryNotification&) override {
        m_count += event == Z4::CLASS_FACTORY_CREATED ? 1 : 0;
    }
    int Count() const { return m_count; }

private:
    int m_count = 0;
};

using Scene = std::vector<std::unique_ptr<Shape>>;

bool Load(const char* text, Scene& scene) {
    std::istringstream words(text);
    std::string name;
    double size = 0;
    while (words >> name >> size) {
        const Z4::TypeID type = Z4::ClassType(name.c_str());
        if (!Z4::ClassFactory::Instance().IsRegistered(type)) {
            std::fprintf(stderr, "classfactory: no class \"%s\"; the classes are:\n", name.c_str());
            Z4::ClassFactory::Instance().DumpToConsole(Z4::EAL_LOG_ERROR, 0, nullptr);
            return false;
        }
        scene.emplace_back(static_cast<Shape*>(Z4::ClassFactory::Instance().CreateInstance(type)))->size = size;
    }
    return true;
}

} // namespace

int main(int argc, char** argv) {
    ZelkHost::Options options;
    options.logLevels = Z4::EAL_LOG_WARNING | Z4::EAL_LOG_ERROR;
    ZelkHost::Install(options);
    Z4::InitializeRuntimeTypeService();

    Counter counter;
    if (!Z4::ClassFactory::Instance().AddSink(counter)) {
        return 1;
    }
    Scene scene;
    const bool loaded = Load(argc > 1 ? argv[1] : "Circle 2 Square 3 Circle 0.5", scene);
    for (const std::unique_ptr<Shape>& shape : scene) {
        std::printf("%-8s size %g, area %.2f%s\n", shape->GetTypeNameExt(), shape->size, shape->Area(),
                    Circle::DynamicCast(shape.get()) != nullptr ? ", and it rolls" : "");
    }
    std::printf("%d objects made\n", counter.Count());

    Z4::ShutdownRuntimeTypeService();
    return loaded ? 0 : 1;
}
