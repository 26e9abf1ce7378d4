/// @file
/// VectorSIMD: what VectorSIMD4f and VectorSIMD3f share. vectorsimd.h has the classes and tells how all of it works.
#pragma once

#include <zelk_core/base/assert.h>
#include <zelk_core/base/hostnew.h>
#include <zelk_core/math/lanes.h>

namespace Z4 {

/// Four float lanes in one register. `V` is the class that derives from this one, `N` how many lanes `==` compares. The
/// operators + - * / work lane by lane on all four; where one side is a number, that counts for every lane. A
/// plain value.
template <class V, unsigned N>
class VectorSIMD : public HostNew<V> {
public:
    using Element = float;

    /// The same number in all four lanes.
    [[nodiscard]] static V Broadcast(float value) { return V(Lanes::Repeat(value)); }
    /// The four floats at `source`, which may have any alignment.
    [[nodiscard]] static V Load(const float* source) { return V(Lanes::Load(source)); }
    /// Writes the four lanes to `destination`, which may have any alignment.
    void Store(float* destination) const { Lanes::Store(destination, m_lanes); }

    /// The register itself, for the compiler's own SSE functions.
    const __m128& Native() const { return m_lanes; }

    float X() const { return Lanes::First(m_lanes); }
    float Y() const { return Lanes::First(Repeated<1>()); }
    float Z() const { return Lanes::First(Repeated<2>()); }
    float W() const { return Lanes::First(Repeated<3>()); }
    /// Lane `index`, which must be below 4; another index reads beyond the vector.
    float operator[](unsigned long index) const {
        Z4_ASSERT(index < 4, "The index of a lane is below 4.");
        float lanes[4];
        Lanes::Store(lanes, m_lanes);
        return lanes[index];
    }

    void SetX(float value) { Set(0, value); }
    void SetY(float value) { Set(1, value); }
    void SetZ(float value) { Set(2, value); }
    void SetW(float value) { Set(3, value); }
    /// Changes lane `index` alone. An index above 3 changes nothing.
    void Set(unsigned long index, float value) {
        const __m128 mask = Lanes::MaskOfLane(index);
        m_lanes = Lanes::Or(Lanes::And(mask, Lanes::Repeat(value)), Lanes::AndNot(mask, m_lanes));
    }

    /// One lane, repeated in all four.
    V BroadcastX() const { return V(Repeated<0>()); }
    V BroadcastY() const { return V(Repeated<1>()); }
    V BroadcastZ() const { return V(Repeated<2>()); }
    V BroadcastW() const { return V(Repeated<3>()); }

    friend V operator+(const V& a, const V& b) { return V(Lanes::Add(a.m_lanes, b.m_lanes)); }
    friend V operator-(const V& a, const V& b) { return V(Lanes::Subtract(a.m_lanes, b.m_lanes)); }
    friend V operator*(const V& a, const V& b) { return V(Lanes::Multiply(a.m_lanes, b.m_lanes)); }
    friend V operator/(const V& a, const V& b) { return V(Lanes::Divide(a.m_lanes, b.m_lanes)); }
    friend V operator+(const V& a, float b) { return a + Broadcast(b); }
    friend V operator-(const V& a, float b) { return a - Broadcast(b); }
    friend V operator*(const V& a, float b) { return a * Broadcast(b); }
    friend V operator/(const V& a, float b) { return a / Broadcast(b); }
    friend V operator+(float a, const V& b) { return Broadcast(a) + b; }
    friend V operator-(float a, const V& b) { return Broadcast(a) - b; }
    friend V operator*(float a, const V& b) { return Broadcast(a) * b; }
    friend V operator/(float a, const V& b) { return Broadcast(a) / b; }
    /// Gives every lane the other sign, zeros and NaNs too.
    V operator-() const { return V(Lanes::Xor(m_lanes, Lanes::Repeat(-0.0F))); }

    V& operator+=(const V& b) { return Assign(Self() + b); }
    V& operator-=(const V& b) { return Assign(Self() - b); }
    V& operator*=(const V& b) { return Assign(Self() * b); }
    V& operator/=(const V& b) { return Assign(Self() / b); }
    V& operator+=(float b) { return Assign(Self() + b); }
    V& operator-=(float b) { return Assign(Self() - b); }
    V& operator*=(float b) { return Assign(Self() * b); }
    V& operator/=(float b) { return Assign(Self() / b); }

    /// Whether the first `N` lanes are equal: all four of a VectorSIMD4f, x, y and z of a VectorSIMD3f. -0 equals 0; a
    /// NaN equals nothing.
    friend bool operator==(const V& a, const V& b) {
        constexpr int COUNTED = (1 << N) - 1;
        return (Lanes::SignBits(Lanes::Equal(a.m_lanes, b.m_lanes)) & COUNTED) == COUNTED;
    }

protected:
    VectorSIMD() = default;
    constexpr explicit VectorSIMD(__m128 lanes) : m_lanes(lanes) {}

private:
    template <int LANE>
    __m128 Repeated() const {
        return Lanes::Shuffle<LANE, LANE, LANE, LANE>(m_lanes);
    }
    const V& Self() const { return static_cast<const V&>(*this); }
    V& Assign(const V& value) {
        m_lanes = value.m_lanes;
        return static_cast<V&>(*this);
    }

    __m128 m_lanes;
};

} // namespace Z4
