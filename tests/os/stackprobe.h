#pragma once

/// By how many bytes an SSE object on the stack misses its place; 0 when the caller did its part. May fault otherwise.
unsigned StackMisalignment();
