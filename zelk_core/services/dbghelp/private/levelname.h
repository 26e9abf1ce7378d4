// The tag of a message whose level the caller chooses.
#pragma once

#include <zelk_core/base/log.h>

namespace Z4::Private {

/// What stands behind `EAL_LOG_` in the level's own name.
inline const char* LevelName(EalLogLevel level) {
    return level == EAL_LOG_ERROR ? "ERROR" : level == EAL_LOG_WARNING ? "WARNING" : "INFO";
}

} // namespace Z4::Private
