/// @file
/// How the library states the layout of a class, which is part of its interface: the class makes `Private::Layout` of
/// itself a friend, and the source beside it specialises that with one assertion for each field.
#pragma once

namespace Z4::Private {

/// Specialised, with nothing but assertions, in the source of each class whose layout is fixed.
template <class T>
struct Layout;

} // namespace Z4::Private
