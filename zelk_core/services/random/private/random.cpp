#include <cstddef>
#include <zelk_core/base/private/eal.h>
#include <zelk_core/base/private/singleton.h>
#include <zelk_core/os/autolock.h>
#include <zelk_core/os/time.h>
#include <zelk_core/services/random/private/range.h>
#include <zelk_core/services/random/random.h>

namespace Z4 {

template <>
struct Private::Layout<SubtractiveRandomGenerator> {
    static_assert(offsetof(SubtractiveRandomGenerator, m_lock) == 0);
    static_assert(offsetof(SubtractiveRandomGenerator, m_sequence) == sizeof(AdaptiveLock));
    static_assert(sizeof(SubtractiveRandomGenerator) == sizeof(AdaptiveLock) + sizeof(SubtractiveSequence));
};

template <>
struct Private::Layout<Random> {
    static_assert(offsetof(Random, m_flag) == 0);
    static_assert(offsetof(Random, m_subtractive) == 4);
    static_assert(offsetof(Random, m_ziggurat) == 4 + sizeof(SubtractiveRandomGenerator));
    static_assert(sizeof(Random) == 4 + sizeof(SubtractiveRandomGenerator) + sizeof(ZigRandomGenerator));
};

namespace {

constexpr unsigned long SPIN_COUNT = 100;
constexpr float VALUE_TO_UNIT = 1e-7F;

using Allocator = Private::SingletonAllocator<Random>;
alignas(Allocator) constinit unsigned char g_allocatorStorage[sizeof(Allocator)]{};

float ToUnit(long value) {
    return static_cast<float>(value) * VALUE_TO_UNIT;
}

} // namespace

SubtractiveRandomGenerator::SubtractiveRandomGenerator() : m_lock(SPIN_COUNT, nullptr) {
    SetSeed(0);
}

void SubtractiveRandomGenerator::SetSeed(unsigned long seed) {
    const AutoLock guard(m_lock);
    m_sequence.Seed(static_cast<std::int32_t>(seed != 0 ? seed : Time::GetCpuCycle()));
}

long SubtractiveRandomGenerator::RandS32() {
    const AutoLock guard(m_lock);
    return m_sequence.Draw();
}

constinit std::atomic<std::uintptr_t> Random::m_singletonInstanceRandom{0};
constinit std::atomic<std::uintptr_t> Random::m_singletonAllocatorRandom{0};

Random::Random() : m_flag(0), m_ziggurat(0) {}

Random::~Random() = default;

inline Random* Random::GetPrivateInstance() {
    const std::uintptr_t state = m_singletonInstanceRandom.load(std::memory_order_acquire);
    return state > Private::SINGLETON_BEING_CREATED ? reinterpret_cast<Random*>(state) : CreateInstance();
}

Random* Random::CreateInstance() {
    auto* const allocator = Private::CreateOnce<Allocator>(
        m_singletonAllocatorRandom, [] { return ::new (static_cast<void*>(g_allocatorStorage)) Allocator; });
    return Private::CreateOnce<Random>(m_singletonInstanceRandom, [allocator]() -> Random* {
        void* const storage = allocator->Allocate();
        return storage != nullptr ? ::new (storage) Random : nullptr;
    });
}

Random* Random::Instance() {
    return GetPrivateInstance();
}

void Random::SingletonInit() {
    GetPrivateInstance();
}

void Random::SingletonShutdown() {
    const std::uintptr_t state = m_singletonInstanceRandom.exchange(Private::SINGLETON_NONE);
    if (state > Private::SINGLETON_BEING_CREATED) {
        auto* const instance = reinterpret_cast<Random*>(state);
        instance->~Random();
        reinterpret_cast<Allocator*>(m_singletonAllocatorRandom.load())->Free(instance);
    }
}

void Random::SetSeed(unsigned long seed) {
    if (Random* const random = GetPrivateInstance()) {
        random->m_subtractive.SetSeed(seed);
        random->m_ziggurat.SetSeed(seed);
    }
}

long Random::RandS32() {
    Random* const random = GetPrivateInstance();
    return random != nullptr ? random->m_subtractive.RandS32() : 0;
}

float Random::Rand() {
    return ToUnit(RandS32());
}

float Random::InRange(float lo, float hi) {
    return Rand() * (hi - lo) + lo;
}

long Random::InRangeS32(long lo, long hi) {
    return Private::OffsetByRemainder(lo, Private::WrappedDifference(hi, lo), RandS32);
}

long Random::InRangeS32Inclusive(long lo, long hi) {
    return Private::OffsetByRemainder(lo, Private::WrappedSum(Private::WrappedDifference(hi, lo), 1), RandS32);
}

float Random::Normal(float mean, float sigma) {
    Random* const random = GetPrivateInstance();
    return random != nullptr ? random->m_ziggurat.RNOR(mean, sigma) : mean;
}

float Random::Exponential() {
    Random* const random = GetPrivateInstance();
    return random != nullptr ? random->m_ziggurat.REXP() : 0.0F;
}

int RandomShuffleFunctor::operator()(int n) const {
    return Private::OffsetByRemainder(0, n, Random::RandS32);
}

} // namespace Z4
