// Short texts of the kinds that the string compressor is for. Its code tables were made without them: what they shrink
// to says how it does on texts that it has not seen. Keep them out of tools/stringtables.
#pragma once

namespace ZelkTest {

inline constexpr const char* MIXED_TEXTS[] = {
#include <tests/vectors/mixedtexts.inc>
};

/// Of lower-case letters and blanks alone.
inline constexpr const char* WORD_TEXTS[] = {
#include <tests/vectors/wordtexts.inc>
};

} // namespace ZelkTest
