// Adds what the system's own header of this name has.
#pragma once

#include_next <winbase.h>

#define FILE_SKIP_COMPLETION_PORT_ON_SUCCESS 1
