/// @file
/// The plain matrices, named after their rows and columns in mathematics: Matrix34f is affine and holds twelve floats,
/// three axes and the translation. What can be done with them stands in matrixgeneric.h.
///
/// The constants are static data: they can be read before, and in, any static initialiser. Any thread.
#pragma once

#include <zelk_core/base/api.h>
#include <zelk_core/math/matrixgeneric.h>
#include <zelk_core/math/vector.h>

namespace Z4 {

/// Linear, of the plane.
class Matrix22f : public MatrixGeneric<Vector2f, 2, 2> {
public:
    using MatrixGeneric::MatrixGeneric;
    Matrix22f() = default;

    Z4_API static const Matrix22f IDENTITY;
    Z4_API static const Matrix22f ZERO;
};

/// Linear, of the plane.
class Matrix22d : public MatrixGeneric<Vector2d, 2, 2> {
public:
    using MatrixGeneric::MatrixGeneric;
    Matrix22d() = default;

    Z4_API static const Matrix22d IDENTITY;
    Z4_API static const Matrix22d ZERO;
};

/// Linear: the images of the axes.
class Matrix33f : public MatrixGeneric<Vector3f, 3, 3> {
public:
    using MatrixGeneric::MatrixGeneric;
    Matrix33f() = default;

    Z4_API static const Matrix33f IDENTITY;
    Z4_API static const Matrix33f ZERO;
};

/// Linear: the images of the axes.
class Matrix33d : public MatrixGeneric<Vector3d, 3, 3> {
public:
    using MatrixGeneric::MatrixGeneric;
    Matrix33d() = default;

    Z4_API static const Matrix33d IDENTITY;
    Z4_API static const Matrix33d ZERO;
};

/// Affine: the images of the axes and the translation, four rows of three; its IDENTITY translates by 0.
class Matrix34f : public MatrixGeneric<Vector3f, 4, 3> {
public:
    using MatrixGeneric::MatrixGeneric;
    Matrix34f() = default;

    Z4_API static const Matrix34f IDENTITY;
    Z4_API static const Matrix34f ZERO;
};

/// Affine: the images of the axes and the translation, four rows of three; its IDENTITY translates by 0.
class Matrix34d : public MatrixGeneric<Vector3d, 4, 3> {
public:
    using MatrixGeneric::MatrixGeneric;
    Matrix34d() = default;

    Z4_API static const Matrix34d IDENTITY;
    Z4_API static const Matrix34d ZERO;
};

/// Full homogeneous; affine where the w column is (0, 0, 0, 1).
class Matrix44f : public MatrixGeneric<Vector4f, 4, 4> {
public:
    using MatrixGeneric::MatrixGeneric;
    Matrix44f() = default;

    Z4_API static const Matrix44f IDENTITY;
    Z4_API static const Matrix44f ZERO;
};

/// Full homogeneous; affine where the w column is (0, 0, 0, 1).
class Matrix44d : public MatrixGeneric<Vector4d, 4, 4> {
public:
    using MatrixGeneric::MatrixGeneric;
    Matrix44d() = default;

    Z4_API static const Matrix44d IDENTITY;
    Z4_API static const Matrix44d ZERO;
};

} // namespace Z4
