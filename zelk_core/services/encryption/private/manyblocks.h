// The block ciphers on many blocks at once: one kernel each, over vectors of four, eight or sixteen blocks, a block to
// a lane. Each including source is compiled for a processor of its own, so each gets functions of its own: the linker
// must not keep one for all.
#pragma once

#include <immintrin.h>
#include <zelk_core/services/encryption/private/blocks.h>

namespace Z4::Private {

namespace { // NOLINT(google-build-namespaces): see above

// The loops below are near what the vector units can do. The order of their steps, and where the sum is counted on, is
// the fastest of those tried: others cost the compilers more registers than there are.

/// The words of as many blocks as `Lanes` has lanes.
template <class Lanes>
struct Group {
    typename Lanes::Vector y;
    typename Lanes::Vector z;
};

template <class Lanes>
class TeaKernel {
public:
    explicit TeaKernel(const std::uint32_t* key)
        : m_key{Lanes::Spread(key[0]), Lanes::Spread(key[1]), Lanes::Spread(key[2]), Lanes::Spread(key[3])} {}

protected:
    using Vector = typename Lanes::Vector;

    Vector MixForY(Vector z, Vector sum) const { return Mix(z, sum, m_key[0], m_key[1]); }
    Vector MixForZ(Vector y, Vector sum) const { return Mix(y, sum, m_key[2], m_key[3]); }

private:
    static Vector Mix(Vector other, Vector sum, Vector leftKey, Vector rightKey) {
        const Vector left = Lanes::Add(Lanes::Times16(other), leftKey);
        const Vector right = Lanes::Add(Lanes::Over32(other), rightKey);
        return Lanes::Xor(Lanes::Xor(left, Lanes::Add(other, sum)), right);
    }

    Vector m_key[4];
};

template <class Lanes>
class TeaEncodeKernel : TeaKernel<Lanes> {
public:
    using TeaKernel<Lanes>::TeaKernel;

    void operator()(Group<Lanes>& a, Group<Lanes>& b) const {
        const auto delta = Lanes::Spread(CIPHER_DELTA);
        auto sum = delta;
        for (unsigned cycle = 0; cycle < CIPHER_CYCLES; ++cycle) {
            a.y = Lanes::Add(a.y, this->MixForY(a.z, sum));
            b.y = Lanes::Add(b.y, this->MixForY(b.z, sum));
            a.z = Lanes::Add(a.z, this->MixForZ(a.y, sum));
            b.z = Lanes::Add(b.z, this->MixForZ(b.y, sum));
            sum = Lanes::Add(sum, delta);
        }
    }
};

template <class Lanes>
class TeaDecodeKernel : TeaKernel<Lanes> {
public:
    using TeaKernel<Lanes>::TeaKernel;

    void operator()(Group<Lanes>& a, Group<Lanes>& b) const {
        const auto delta = Lanes::Spread(CIPHER_DELTA);
        auto sum = Lanes::Spread(CIPHER_LAST_SUM);
        for (unsigned cycle = 0; cycle < CIPHER_CYCLES; ++cycle) {
            a.z = Lanes::Sub(a.z, this->MixForZ(a.y, sum));
            b.z = Lanes::Sub(b.z, this->MixForZ(b.y, sum));
            a.y = Lanes::Sub(a.y, this->MixForY(a.z, sum));
            b.y = Lanes::Sub(b.y, this->MixForY(b.z, sum));
            sum = Lanes::Sub(sum, delta);
        }
    }
};

template <class Lanes>
class XTeaKernel {
public:
    explicit XTeaKernel(const std::uint32_t* key) {
        std::uint32_t sum = 0;
        for (unsigned cycle = 0; cycle < CIPHER_CYCLES; ++cycle) {
            m_forY[cycle] = Lanes::ToStored(sum + key[sum & 3]);
            sum += CIPHER_DELTA;
            m_forZ[cycle] = Lanes::ToStored(sum + key[(sum >> 11) & 3]);
        }
    }

protected:
    using Vector = typename Lanes::Vector;

    static Vector Mix(Vector other, typename Lanes::Stored sumAndKey) {
        const Vector shifts = Lanes::Xor(Lanes::Times16(other), Lanes::Over32(other));
        return Lanes::Xor(Lanes::Add(shifts, other), Lanes::FromStored(sumAndKey));
    }

    // Sum and key word of each cycle, made ahead: a step then reads them from memory and needs no register.
    typename Lanes::Stored m_forY[CIPHER_CYCLES];
    typename Lanes::Stored m_forZ[CIPHER_CYCLES];
};

template <class Lanes>
class XTeaEncodeKernel : XTeaKernel<Lanes> {
public:
    using XTeaKernel<Lanes>::XTeaKernel;

    void operator()(Group<Lanes>& a, Group<Lanes>& b) const {
        for (unsigned cycle = 0; cycle < CIPHER_CYCLES; ++cycle) {
            a.y = Lanes::Add(a.y, this->Mix(a.z, this->m_forY[cycle]));
            b.y = Lanes::Add(b.y, this->Mix(b.z, this->m_forY[cycle]));
            a.z = Lanes::Add(a.z, this->Mix(a.y, this->m_forZ[cycle]));
            b.z = Lanes::Add(b.z, this->Mix(b.y, this->m_forZ[cycle]));
        }
    }
};

template <class Lanes>
class XTeaDecodeKernel : XTeaKernel<Lanes> {
public:
    using XTeaKernel<Lanes>::XTeaKernel;

    void operator()(Group<Lanes>& a, Group<Lanes>& b) const {
        for (unsigned cycle = CIPHER_CYCLES; cycle-- > 0;) {
            a.z = Lanes::Sub(a.z, this->Mix(a.y, this->m_forZ[cycle]));
            a.y = Lanes::Sub(a.y, this->Mix(a.z, this->m_forY[cycle]));
            b.z = Lanes::Sub(b.z, this->Mix(b.y, this->m_forZ[cycle]));
            b.y = Lanes::Sub(b.y, this->Mix(b.z, this->m_forY[cycle]));
        }
    }
};

/// Two groups at a time keep the units busy: one waits for its own results, three no longer fit the registers.
template <class Lanes, template <class> class Kernel>
void WorkOnStrides(char* data, unsigned long strides, const std::uint32_t* key) {
    constexpr unsigned GROUP_SIZE = 2 * sizeof(typename Lanes::Vector);
    const Kernel<Lanes> kernel(key);
    for (; strides != 0; --strides, data += 2 * GROUP_SIZE) {
        Group<Lanes> first = Lanes::Load(data);
        Group<Lanes> second = Lanes::Load(data + GROUP_SIZE);
        kernel(first, second);
        Lanes::Save(data, first);
        Lanes::Save(data + GROUP_SIZE, second);
    }
}

template <class Lanes>
constexpr BlockKernels KernelsOf() {
    return {2 * sizeof(typename Lanes::Vector) / 4,
            {WorkOnStrides<Lanes, TeaEncodeKernel>, WorkOnStrides<Lanes, TeaDecodeKernel>,
             WorkOnStrides<Lanes, XTeaEncodeKernel>, WorkOnStrides<Lanes, XTeaDecodeKernel>}};
}

} // namespace

} // namespace Z4::Private
