#include <zelk_core/base/strformat.h>
namespace Z4 {
int StrFormat::vsnprintf(char*, unsigned, const char*, va_list) { return 0; }
} // namespace Z4
