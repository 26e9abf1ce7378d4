// Decimal numbers, as fast_float reads them.
#pragma once

namespace Z4::Private {

/// Whether all that stands between `begin` and `end` is a number without a plus sign; then `value` is the nearest there
/// is, which is infinite for one that is too large.
bool ReadDecimal(const char* begin, const char* end, double& value);
bool ReadDecimal(const char* begin, const char* end, float& value);

} // namespace Z4::Private
