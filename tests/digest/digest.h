// What every build of the library must compute alike: one number for each room, over fixed pseudo-random input.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <span>
#include <tests/support/random.h>
#include <type_traits>
#include <zelk_core/math/vectorsimd.h>

/// FNV-1a over whatever is added, of 64 bits. Not the library's own, which is among what is digested.
class Digest {
public:
    void Add(const void* data, std::size_t size) {
        const auto* const bytes = static_cast<const unsigned char*>(data);
        for (std::size_t i = 0; i < size; ++i) {
            m_value = (m_value ^ bytes[i]) * 0x100000001B3;
        }
    }
    template <class Integer>
    requires std::is_integral_v<Integer>
    void Add(Integer value) {
        using Bits = std::conditional_t<sizeof(Integer) == 8, std::uint64_t, std::uint32_t>;
        const auto bits = static_cast<Bits>(value);
        Add(&bits, sizeof bits);
    }
    void Add(double value) {
        // Which bits a NaN has depends on the order of operands, which is the compiler's choice.
        value = value == value ? value : std::numeric_limits<double>::quiet_NaN();
        Add(&value, sizeof value);
    }
    void Add(float value) { Add(static_cast<double>(value)); }
    template <class V, unsigned N>
    void Add(const Z4::VectorSIMD<V, N>& vector) {
        for (unsigned i = 0; i < N; ++i) {
            Add(vector[i]);
        }
    }

    /// All of these results, one after another.
    template <class... Results>
    requires(sizeof...(Results) > 1 &&
             !(std::is_pointer_v<std::decay_t<const Results&>> || ...)) void Add(const Results&... results) {
        (Add(results), ...);
    }

    std::uint64_t Value() const { return m_value; }

private:
    std::uint64_t m_value = 0xCBF29CE484222325;
};

class Input : public ZelkTest::Input {
public:
    /// Printable text, half of it repeated from further up.
    void FillText(char* text, std::size_t size) {
        static constexpr char LETTERS[] = "eeeeetttaaaooiinnsshhrrddllucmfwygpbvk    ,.AET01";
        std::size_t distance = 0;
        for (std::size_t i = 0, run = 0; i < size; ++i, --run) {
            if (run == 0) {
                run = 3 + Below(20);
                distance = i != 0 && Below(2) != 0 ? 1 + Below(static_cast<std::uint32_t>(i)) : 0;
            }
            text[i] = distance != 0 ? text[i - distance] : LETTERS[Below(sizeof LETTERS - 1)];
        }
    }
};

/// A line of what is printed.
struct Room {
    const char* name;
    void (*add)(Digest& digest, Input& input);
    int rounds = 1;
};
std::span<const Room> BaseRooms();
std::span<const Room> ContainerRooms();
std::span<const Room> MathRooms();
std::span<const Room> ServiceRooms();
