#include <zelk_core/base/assert.h>
#include <zelk_core/base/log.h>
#include <zelk_core/base/private/eal.h>

namespace Z4::Private {

bool ContractBroken(const char* expression, const char* file, unsigned long line, const char* sentence,
                    unsigned long* ignore) {
    if (g_log.assert_message == nullptr) {
        return true;
    }
    return *ignore == 0 && EalAssertPrint(EAL_ID_ZELK_CORE, expression, file, line, ignore, "%s", sentence);
}

} // namespace Z4::Private
