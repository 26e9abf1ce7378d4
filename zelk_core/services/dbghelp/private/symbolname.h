// Short forms of decorated names.
#pragma once

#include <cstddef>
#include <zelk_core/base/strview.h>

namespace Z4::Private {

/// Writes the qualified name of a function or variable without arguments, `Engine::Widget::Spin` of
/// `_ZN6Engine6Widget4SpinEi` and of `?Spin@Widget@Engine@@QAEXH@Z`, to `to`, which has room for `size` characters; it
/// is cut to fit and terminated. Arguments of templates become `<>`. A name that is not decorated, or in a way that
/// this does not know, is copied. Allocates nothing and takes no lock; any thread.
///
/// The grammars are those of the "Itanium C++ ABI", 5.1 Mangling, and, as far as it is used here, of Agner Fog,
/// "Calling conventions for different C++ compilers and operating systems", chapter 8.
/// @return the length of the whole name.
std::size_t ShortenName(StrView name, char* to, std::size_t size);

} // namespace Z4::Private
