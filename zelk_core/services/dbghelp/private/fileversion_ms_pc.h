// The version that a file carries in its resources.
#pragma once

namespace Z4::Private {

struct FileVersion {
    enum Result : unsigned char {
        READ,
        NONE,      ///< no such file, no version in it, or not a sound one
        TOO_LARGE, ///< beyond 64 KiB
    };
    Result result;
    unsigned long size;        ///< of the version resource in bytes, 0 without one
    unsigned short numbers[4]; ///< most significant first; only when it was read
};

/// Any thread.
FileVersion ReadFileVersion(const char* name);

} // namespace Z4::Private
