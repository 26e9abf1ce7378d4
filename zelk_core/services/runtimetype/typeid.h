/// @file
/// The identifier of a class: a 32-bit hash of its name, with the name beside it.
#pragma once

#include <compare>
#include <cstdint>
#include <zelk_core/base/hash.h>
#include <zelk_core/base/layout.h>

namespace Z4 {

/// A plain value, usable at compile time. Two are equal when their identifiers are, whatever their names: names whose
/// hashes collide are one type to everybody. The order is that of the identifiers as unsigned numbers. The identifier 0
/// means no type.
class TypeID {
public:
    /// With this seed the identifier is the CRC-32 of the name. All names that are to be compared take the same seed.
    static constexpr unsigned long STANDARD_SEED = 0xFFFFFFFF;

    /// No type.
    constexpr TypeID() = default;
    /// An identifier whose name is not known.
    constexpr explicit TypeID(unsigned long identifier) : m_identifier(static_cast<std::uint32_t>(identifier)) {}
    /// The identifier is Hash::CTCRC32B of the name and `seed`; for the empty name that is the complement of `seed`.
    /// Null gives no type.
    /// @param name not copied: it must live as long as the TypeID and its copies.
    constexpr TypeID(const char* name, unsigned long seed)
        : m_identifier(name == nullptr ? 0 : Hash::CTCRC32B(name, static_cast<std::uint32_t>(seed))), m_name(name) {}

    /// The identifier.
    constexpr operator unsigned long() const { return m_identifier; }
    /// The name; null when it is not known.
    constexpr operator const char*() const { return m_name; }

    friend constexpr bool operator==(const TypeID& left, const TypeID& right) {
        return left.m_identifier == right.m_identifier;
    }
    friend constexpr std::strong_ordering operator<=>(const TypeID& left, const TypeID& right) {
        return left.m_identifier <=> right.m_identifier;
    }

private:
    friend struct Private::Layout<TypeID>;

    std::uint32_t m_identifier = 0;
    const char* m_name = nullptr;
};

} // namespace Z4
