// Objects that are known by their names only, and numbers drawn by chance to feed them.
#include "tour.h"

#include <memory>
#include <zelk_core/zelk_core.h>

namespace {

/// What is drawn from, and what each draw gives.
class Source {
public:
    virtual ~Source() = default;
    virtual float Draw() = 0;
};

class UniformSource : public Source {
    float Draw() override { return Z4::Random::InRange(-1.0F, 1.0F); }
};

class NormalSource : public Source {
    float Draw() override { return Z4::Random::Normal(0.0F, 1.0F); }
};

class ExponentialSource : public Source {
    float Draw() override { return Z4::Random::Exponential(); }
};

Z4_REGISTER_CLASS(UniformSource, Source)
Z4_REGISTER_CLASS(NormalSource, Source)
Z4_REGISTER_CLASS(ExponentialSource, Source)

} // namespace

void TourObjects() {
    constexpr unsigned DRAWS = 100'000;
    Chapter("services/runtimetype, services/random", "objects by class name draw numbers");
    Z4::InitializeRuntimeTypeService();
    Z4::InitializeRandomService();
    Z4::Random::SetSeed(2026);
    for (const char* const name : {"UniformSource", "NormalSource", "ExponentialSource", "NoSuchSource"}) {
        const Z4::TypeID type = Z4::ClassType(name);
        if (!Z4::ClassFactory::Instance().IsRegistered(type)) {
            Print("   %-24s %08x, not registered\n", name, static_cast<unsigned>(static_cast<unsigned long>(type)));
            continue;
        }
        const std::unique_ptr<Source> source(static_cast<Source*>(Z4::ClassFactory::Instance().CreateInstance(type)));
        double sum = 0;
        double squares = 0;
        for (unsigned i = 0; i < DRAWS; ++i) {
            const double drawn = source->Draw();
            sum += drawn;
            squares += drawn * drawn;
        }
        const double mean = sum / DRAWS;
        Print("   %-24s %08x, mean %.3f and variance %.3f of %u draws\n", name,
              static_cast<unsigned>(static_cast<unsigned long>(type)), mean, squares / DRAWS - mean * mean, DRAWS);
    }
    Z4::ShutdownRandomService();
    Z4::ShutdownRuntimeTypeService();
}
