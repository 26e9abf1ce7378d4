/// @file
/// The plain matrices, named after their rows and columns in mathematics and their element type. Matrix34f is affine;
/// it holds twelve floats, three axes and the translation, four rows of three. matrixgeneric.h gives what can be done
/// with them, and matrixarithmetic.h explains the rows.
///
/// Matrices are plain values: different threads may read one at a time, and who writes must be alone. The constants are
/// static data, so they can be read before, and in, any static initialiser.
#pragma once

#include <zelk_core/base/api.h>
#include <zelk_core/math/matrixgeneric.h>
#include <zelk_core/math/vector.h>

namespace Z4 {

// Classes rather than aliases of the template, as each exports its own constants.
// NOLINTBEGIN(bugprone-macro-parentheses): a class is not declared with its name in parentheses
#define Z4_DECLARE_MATRIX(name, row, rows, columns)             \
    class name : public MatrixGeneric<row, rows, columns> {     \
    public:                                                     \
        using MatrixGeneric<row, rows, columns>::MatrixGeneric; \
        name() = default;                                       \
                                                                \
        Z4_API static const name IDENTITY;                      \
        Z4_API static const name ZERO;                          \
    };
// NOLINTEND(bugprone-macro-parentheses)

/// Linear, of the plane: the images of the axes x and y. A plain value.
Z4_DECLARE_MATRIX(Matrix22f, Vector2f, 2, 2)
/// Linear, of the plane: the images of the axes x and y. A plain value.
Z4_DECLARE_MATRIX(Matrix22d, Vector2d, 2, 2)
/// Linear: the images of the axes x, y and z. A plain value.
Z4_DECLARE_MATRIX(Matrix33f, Vector3f, 3, 3)
/// Linear: the images of the axes x, y and z. A plain value.
Z4_DECLARE_MATRIX(Matrix33d, Vector3d, 3, 3)
/// Affine: the images of the axes and the translation. Its IDENTITY translates by 0. A plain value.
Z4_DECLARE_MATRIX(Matrix34f, Vector3f, 4, 3)
/// Affine: the images of the axes and the translation. Its IDENTITY translates by 0. A plain value.
Z4_DECLARE_MATRIX(Matrix34d, Vector3d, 4, 3)
/// Full homogeneous: it is affine where its w column is (0, 0, 0, 1). A plain value.
Z4_DECLARE_MATRIX(Matrix44f, Vector4f, 4, 4)
/// Full homogeneous: it is affine where its w column is (0, 0, 0, 1). A plain value.
Z4_DECLARE_MATRIX(Matrix44d, Vector4d, 4, 4)

#undef Z4_DECLARE_MATRIX

} // namespace Z4
