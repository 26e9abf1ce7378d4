#include <cmath>
#include <cstddef>
#include <zelk_core/os/autolock.h>
#include <zelk_core/os/time.h>
#include <zelk_core/services/random/zigrandomgenerator.h>

namespace Z4 {

template <>
struct Private::Layout<ZigRandomGenerator> {
    static_assert(offsetof(ZigRandomGenerator, m_ziggurat) == 0);
    static_assert(offsetof(ZigRandomGenerator, m_lock) == sizeof(Ziggurat));
    static_assert(sizeof(ZigRandomGenerator) == sizeof(Ziggurat) + sizeof(AdaptiveLock));
};

namespace {
constexpr double TWO_PI = 6.283185307179586;
constexpr unsigned long SPIN_COUNT = 100;
} // namespace

ZigRandomGenerator::ZigRandomGenerator(unsigned long seed) : m_lock(SPIN_COUNT, nullptr) {
    SetSeed(seed != 0 ? seed : Time::Get());
}

ZigRandomGenerator::~ZigRandomGenerator() = default;

void ZigRandomGenerator::SetSeed(unsigned long seed) {
    const AutoLock guard(m_lock);
    m_ziggurat.Seed(seed);
}

float ZigRandomGenerator::RNOR(float mean, float sigma) {
    const AutoLock guard(m_lock);
    return m_ziggurat.Normal() * sigma + mean;
}

float ZigRandomGenerator::REXP() {
    const AutoLock guard(m_lock);
    return m_ziggurat.Exponential();
}

double ZigRandomGenerator::TNOR(double x, double mean, double sigma) {
    const AutoLock guard(m_lock);
    return std::exp((x - mean) * (x - mean) / (-2.0 * sigma * sigma)) / (std::sqrt(TWO_PI) * sigma);
}

double ZigRandomGenerator::TEXP(double x, double lambda) {
    const AutoLock guard(m_lock);
    return std::exp(-(x * lambda)) / lambda;
}

unsigned long ZigRandomGenerator::SHR3() {
    const AutoLock guard(m_lock);
    return m_ziggurat.Shr3();
}

float ZigRandomGenerator::UNI() {
    const AutoLock guard(m_lock);
    return m_ziggurat.Uni();
}

float ZigRandomGenerator::NFix() {
    const AutoLock guard(m_lock);
    return m_ziggurat.NFix();
}

float ZigRandomGenerator::EFix() {
    const AutoLock guard(m_lock);
    return m_ziggurat.EFix();
}

} // namespace Z4
