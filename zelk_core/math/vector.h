/// @file
/// The plain vectors, named after their size and element type: Vector3f holds exactly three floats and arrays of it are
/// tightly packed. What can be done with them stands in vectorgeneric.h.
///
/// The constants are static data: they can be read before, and in, any static initialiser. Any thread.
#pragma once

#include <zelk_core/base/api.h>
#include <zelk_core/math/vectorgeneric.h>

namespace Z4 {

class Vector2f : public VectorGeneric<float, 2> {
public:
    using VectorGeneric::VectorGeneric;
    Vector2f() = default;

    Z4_API static const Vector2f ZERO;
    Z4_API static const Vector2f ONE;
    Z4_API static const Vector2f BASE_I;
    Z4_API static const Vector2f BASE_J;
    /// Masks for And(): all bits set in the first two, three or four components, none in the others.
    Z4_API static const VectorGeneric<float, 2> MASK_2D;
};

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

class Vector2s16 : public VectorGeneric<std::int16_t, 2> {
public:
    using VectorGeneric::VectorGeneric;
    Vector2s16() = default;

    Z4_API static const Vector2s16 ZERO;
    Z4_API static const Vector2s16 ONE;
};

class Vector3s16 : public VectorGeneric<std::int16_t, 3> {
public:
    using VectorGeneric::VectorGeneric;
    Vector3s16() = default;

    Z4_API static const Vector3s16 ZERO;
    Z4_API static const Vector3s16 ONE;
};

class Vector4s16 : public VectorGeneric<std::int16_t, 4> {
public:
    using VectorGeneric::VectorGeneric;
    Vector4s16() = default;

    Z4_API static const Vector4s16 ZERO;
    Z4_API static const Vector4s16 ONE;
};

class Vector2u16 : public VectorGeneric<std::uint16_t, 2> {
public:
    using VectorGeneric::VectorGeneric;
    Vector2u16() = default;

    Z4_API static const Vector2u16 ZERO;
    Z4_API static const Vector2u16 ONE;
};

class Vector3u16 : public VectorGeneric<std::uint16_t, 3> {
public:
    using VectorGeneric::VectorGeneric;
    Vector3u16() = default;

    Z4_API static const Vector3u16 ZERO;
    Z4_API static const Vector3u16 ONE;
};

class Vector4u16 : public VectorGeneric<std::uint16_t, 4> {
public:
    using VectorGeneric::VectorGeneric;
    Vector4u16() = default;

    Z4_API static const Vector4u16 ZERO;
    Z4_API static const Vector4u16 ONE;
};

class Vector2s32 : public VectorGeneric<std::int32_t, 2> {
public:
    using VectorGeneric::VectorGeneric;
    Vector2s32() = default;

    Z4_API static const Vector2s32 ZERO;
    Z4_API static const Vector2s32 ONE;
};

class Vector3s32 : public VectorGeneric<std::int32_t, 3> {
public:
    using VectorGeneric::VectorGeneric;
    Vector3s32() = default;

    Z4_API static const Vector3s32 ZERO;
    Z4_API static const Vector3s32 ONE;
};

class Vector4s32 : public VectorGeneric<std::int32_t, 4> {
public:
    using VectorGeneric::VectorGeneric;
    Vector4s32() = default;

    Z4_API static const Vector4s32 ZERO;
    Z4_API static const Vector4s32 ONE;
};

class Vector2u32 : public VectorGeneric<std::uint32_t, 2> {
public:
    using VectorGeneric::VectorGeneric;
    Vector2u32() = default;

    Z4_API static const Vector2u32 ZERO;
    Z4_API static const Vector2u32 ONE;
};

class Vector3u32 : public VectorGeneric<std::uint32_t, 3> {
public:
    using VectorGeneric::VectorGeneric;
    Vector3u32() = default;

    Z4_API static const Vector3u32 ZERO;
    Z4_API static const Vector3u32 ONE;
};

class Vector4u32 : public VectorGeneric<std::uint32_t, 4> {
public:
    using VectorGeneric::VectorGeneric;
    Vector4u32() = default;

    Z4_API static const Vector4u32 ZERO;
    Z4_API static const Vector4u32 ONE;
};

class Vector2s64 : public VectorGeneric<std::int64_t, 2> {
public:
    using VectorGeneric::VectorGeneric;
    Vector2s64() = default;

    Z4_API static const Vector2s64 ZERO;
    Z4_API static const Vector2s64 ONE;
};

class Vector3s64 : public VectorGeneric<std::int64_t, 3> {
public:
    using VectorGeneric::VectorGeneric;
    Vector3s64() = default;

    Z4_API static const Vector3s64 ZERO;
    Z4_API static const Vector3s64 ONE;
};

class Vector4s64 : public VectorGeneric<std::int64_t, 4> {
public:
    using VectorGeneric::VectorGeneric;
    Vector4s64() = default;

    Z4_API static const Vector4s64 ZERO;
    Z4_API static const Vector4s64 ONE;
};

class Vector2u64 : public VectorGeneric<std::uint64_t, 2> {
public:
    using VectorGeneric::VectorGeneric;
    Vector2u64() = default;

    Z4_API static const Vector2u64 ZERO;
    Z4_API static const Vector2u64 ONE;
};

class Vector3u64 : public VectorGeneric<std::uint64_t, 3> {
public:
    using VectorGeneric::VectorGeneric;
    Vector3u64() = default;

    Z4_API static const Vector3u64 ZERO;
    Z4_API static const Vector3u64 ONE;
};

class Vector4u64 : public VectorGeneric<std::uint64_t, 4> {
public:
    using VectorGeneric::VectorGeneric;
    Vector4u64() = default;

    Z4_API static const Vector4u64 ZERO;
    Z4_API static const Vector4u64 ONE;
};

} // namespace Z4
