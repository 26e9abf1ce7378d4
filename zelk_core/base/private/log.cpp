#include <zelk_core/base/log.h>
#include <zelk_core/base/private/eal.h>
#include <zelk_core/base/private/textobserver.h>
#include <zelk_core/base/strformat.h>

namespace Z4 {

void Private::Log(EalLogLevel level, const char* file, unsigned long line, const char* format, ...) {
    if (Z4_SLOT(g_log.is_enabled)(EAL_ID_ZELK_CORE, level) == 0) {
        return;
    }
    va_list arguments;
    if (const TextObserver observer = g_textObserver.load(std::memory_order_acquire); observer != nullptr) {
        va_start(arguments, format);
        observer(TEXT_OF_LOG, format, &arguments);
        va_end(arguments);
    }
    va_start(arguments, format);
    Z4_SLOT(g_log.vprint)(EAL_ID_ZELK_CORE, level, file, line, format, arguments);
    va_end(arguments);
}

bool EalAssertWithMessage(int id, const char* expression, const char* file, unsigned long line,
                          unsigned long* ignoreFlag, const char* format, ...) {
    char message[1024];
    va_list arguments;
    va_start(arguments, format);
    StrFormat::vsnprintf(message, sizeof(message), format, arguments);
    va_end(arguments);
    Private::ObserveText(Private::TEXT_OF_ASSERTION, message);
    return Z4_SLOT(Private::g_log.assert_message)(id, expression, message, file, line, 0, ignoreFlag) != 0;
}

} // namespace Z4
