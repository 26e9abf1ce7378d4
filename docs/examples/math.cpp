#include "examples.h"

//! [example]
void ShowMath() {
    using Z4::MatrixSIMD44f;
    using Z4::VectorSIMD4f;
    // Points are rows: p' = p M, so what comes first stands first.
    const MatrixSIMD44f world = Z4::MakeScale<MatrixSIMD44f>(VectorSIMD4f::Broadcast(2.0F)) *
                                Z4::MakeTranslation<MatrixSIMD44f>(VectorSIMD4f(10, 0, 0, 0));
    const VectorSIMD4f point(1, 2, 3, 1);
    const VectorSIMD4f moved = point * world;
    std::printf("%.0f %.0f %.0f\n", moved.X(), moved.Y(), moved.Z()); // 12 4 6

    const VectorSIMD4f back = moved * Z4::InverseAffine(world);
    std::printf("%.0f %.0f %.0f\n", back.X(), back.Y(), back.Z()); // 1 2 3

    // Plain vectors hold their components and nothing else: for vertex buffers and files.
    static_assert(sizeof(Z4::Vector3f) == 12);
    std::printf("%.0f\n", Z4::Length(Z4::Vector3f(2, 3, 6))); // 7
}
//! [example]
