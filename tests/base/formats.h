// What the expressions of formats.txt use.
#include <zelk_core/base/log.h>
#include <zelk_core/generics/string.h>

using namespace Z4;

extern char text[];
extern wchar_t wide[];
