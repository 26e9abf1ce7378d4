#include <zelk_core/services/compression/private/lzoblock.h>

namespace Z4::Private {

const bool HAS_LZO = false;

int LzoCompress(bool, const void*, unsigned long, void*, unsigned long& outSize, void*) {
    outSize = 0;
    return LZO_FAILED;
}

int LzoExpand(bool, const void*, unsigned long, void*, unsigned long& outSize) {
    outSize = 0;
    return LZO_FAILED;
}

} // namespace Z4::Private
