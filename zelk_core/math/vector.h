/// @file
/// The plain vectors, named after their size and element type: Vector3f holds exactly three floats, and an array of it
/// is tightly packed. Element types are float (f), double (d) and the integers of 16, 32 and 64 bits, signed (s) and
/// unsigned (u). vectorgeneric.h gives what can be done with them. Of the constants, ZERO and ONE have 0 and 1 in all
/// components; BASE_I, BASE_J, BASE_K and BASE_L have 1 in x, y, z and w and 0 in the others.
///
/// Vectors are plain values: different threads may read one at a time, and who writes must be alone. The constants are
/// static data, so they can be read before, and in, any static initialiser.
#pragma once

#include <zelk_core/base/api.h>
#include <zelk_core/math/vectorgeneric.h>

#include <cstdint>

namespace Z4 {

/// Two floats, x and y. A plain value; vectorarithmetic.h and vectorfunctions.h have the operations.
class Vector2f : public VectorGeneric<float, 2> {
public:
    using VectorGeneric::VectorGeneric;
    Vector2f() = default;

    Z4_API static const Vector2f ZERO;
    Z4_API static const Vector2f ONE;
    Z4_API static const Vector2f BASE_I;
    Z4_API static const Vector2f BASE_J;
    /// For And(): all bits set in the first two components, and in MASK_3D and MASK_4D of the larger vectors in the
    /// first three and four; none in the others.
    Z4_API static const VectorGeneric<float, 2> MASK_2D;
};

/// Three floats, x, y and z. A plain value; vectorarithmetic.h and vectorfunctions.h have the operations.
class Vector3f : public VectorGeneric<float, 3> {
public:
    using VectorGeneric::VectorGeneric;
    Vector3f() = default;

    Z4_API static const Vector3f ZERO;
    Z4_API static const Vector3f ONE;
    Z4_API static const Vector3f BASE_I;
    Z4_API static const Vector3f BASE_J;
    Z4_API static const Vector3f BASE_K;
    Z4_API static const VectorGeneric<float, 3> MASK_2D;
    Z4_API static const VectorGeneric<float, 3> MASK_3D;
};

/// Four floats, x, y, z and w. A plain value; vectorarithmetic.h and vectorfunctions.h have the operations.
class Vector4f : public VectorGeneric<float, 4> {
public:
    using VectorGeneric::VectorGeneric;
    Vector4f() = default;

    Z4_API static const Vector4f ZERO;
    Z4_API static const Vector4f ONE;
    Z4_API static const Vector4f BASE_I;
    Z4_API static const Vector4f BASE_J;
    Z4_API static const Vector4f BASE_K;
    Z4_API static const Vector4f BASE_L;
    Z4_API static const VectorGeneric<float, 4> MASK_2D;
    Z4_API static const VectorGeneric<float, 4> MASK_3D;
    Z4_API static const VectorGeneric<float, 4> MASK_4D;
};

/// Two doubles, x and y. A plain value; vectorarithmetic.h and vectorfunctions.h have the operations.
class Vector2d : public VectorGeneric<double, 2> {
public:
    using VectorGeneric::VectorGeneric;
    Vector2d() = default;

    Z4_API static const Vector2d ZERO;
    Z4_API static const Vector2d ONE;
    Z4_API static const Vector2d BASE_I;
    Z4_API static const Vector2d BASE_J;
    Z4_API static const VectorGeneric<double, 2> MASK_2D;
};

/// Three doubles, x, y and z. A plain value; vectorarithmetic.h and vectorfunctions.h have the operations.
class Vector3d : public VectorGeneric<double, 3> {
public:
    using VectorGeneric::VectorGeneric;
    Vector3d() = default;

    Z4_API static const Vector3d ZERO;
    Z4_API static const Vector3d ONE;
    Z4_API static const Vector3d BASE_I;
    Z4_API static const Vector3d BASE_J;
    Z4_API static const Vector3d BASE_K;
    Z4_API static const VectorGeneric<double, 3> MASK_2D;
    Z4_API static const VectorGeneric<double, 3> MASK_3D;
};

/// Four doubles, x, y, z and w. A plain value; vectorarithmetic.h and vectorfunctions.h have the operations.
class Vector4d : public VectorGeneric<double, 4> {
public:
    using VectorGeneric::VectorGeneric;
    Vector4d() = default;

    Z4_API static const Vector4d ZERO;
    Z4_API static const Vector4d ONE;
    Z4_API static const Vector4d BASE_I;
    Z4_API static const Vector4d BASE_J;
    Z4_API static const Vector4d BASE_K;
    Z4_API static const Vector4d BASE_L;
    Z4_API static const VectorGeneric<double, 4> MASK_2D;
    Z4_API static const VectorGeneric<double, 4> MASK_3D;
    Z4_API static const VectorGeneric<double, 4> MASK_4D;
};

/// Does `DO(name, element, size)` for each of the 18 integer vectors.
#define Z4_FOR_EACH_INTEGER_VECTOR(DO) \
    DO(Vector2s16, std::int16_t, 2)    \
    DO(Vector3s16, std::int16_t, 3)    \
    DO(Vector4s16, std::int16_t, 4)    \
    DO(Vector2u16, std::uint16_t, 2)   \
    DO(Vector3u16, std::uint16_t, 3)   \
    DO(Vector4u16, std::uint16_t, 4)   \
    DO(Vector2s32, std::int32_t, 2)    \
    DO(Vector3s32, std::int32_t, 3)    \
    DO(Vector4s32, std::int32_t, 4)    \
    DO(Vector2u32, std::uint32_t, 2)   \
    DO(Vector3u32, std::uint32_t, 3)   \
    DO(Vector4u32, std::uint32_t, 4)   \
    DO(Vector2s64, std::int64_t, 2)    \
    DO(Vector3s64, std::int64_t, 3)    \
    DO(Vector4s64, std::int64_t, 4)    \
    DO(Vector2u64, std::uint64_t, 2)   \
    DO(Vector3u64, std::uint64_t, 3)   \
    DO(Vector4u64, std::uint64_t, 4)

// Classes rather than aliases of the template, as each exports its own constants.
// NOLINTBEGIN(bugprone-macro-parentheses): a class is not declared with its name in parentheses
#define Z4_DECLARE_INTEGER_VECTOR(name, element, size)           \
    /** `size` integers of the type `element`. A plain value. */ \
    class name : public VectorGeneric<element, size> {           \
    public:                                                      \
        using VectorGeneric<element, size>::VectorGeneric;       \
        name() = default;                                        \
                                                                 \
        Z4_API static const name ZERO;                           \
        Z4_API static const name ONE;                            \
    };
// NOLINTEND(bugprone-macro-parentheses)

Z4_FOR_EACH_INTEGER_VECTOR(Z4_DECLARE_INTEGER_VECTOR)

} // namespace Z4
