/// @file
/// The parts of file paths, as texts. Slash and backslash both separate; paths are UTF-8.
///
/// Nothing here asks the system about files, and nothing allocates memory: the results are parts of the path that was
/// given, and live as long as it does.
#pragma once

#include <cstddef>
#include <zelk_core/base/api.h>
#include <zelk_core/base/strview.h>

namespace Z4 {

/// The operations, all static. Any thread may call them at any time, on texts that nobody changes meanwhile.
class Path {
public:
    Path() = delete;

    /// What stands behind the last separator, or behind a drive's colon: `a.txt` of `C:\b/a.txt`, and of `C:a.txt`. The
    /// result is empty for a path that ends with a separator, or with a drive's colon.
    [[nodiscard]] Z4_API static StrView FileName(StrView path);
    /// The file name from its last dot on: `.txt`. The result is empty for a name without a dot, for one whose only dot
    /// is its first character, and for `..`.
    [[nodiscard]] Z4_API static StrView Extension(StrView path);
    /// What stands before the file name, without the separator between them: `C:\b` of `C:\b\a`. The separator of a
    /// root stays: the result is `C:\` for `C:\a`, and `/` for `/a`. It is empty for a file name alone.
    [[nodiscard]] Z4_API static StrView Folder(StrView path);

    /// Writes the path of the file `name` in `folder` to `to`, which has room for `size` characters and overlaps
    /// neither. The path is cut to fit and terminated, as by Str::Copy(). When both texts have characters, `folder`
    /// does not end with a separator or a colon, and `name` does not begin with a separator, one is put between them: a
    /// backslash when `folder` contains backslashes and no slash, otherwise a slash.
    /// @return the length of the whole path; `size` or more says that it was cut.
    Z4_API static std::size_t Join(char* to, std::size_t size, StrView folder, StrView name);

    /// Whether a relative path, joined to a folder, names a plain file below that folder, on every version of Windows.
    /// Ask this of each name that comes out of an archive or from another machine before you open it.
    ///
    /// Such a path is well-formed UTF-8, and its parts, between the separators, are not empty. No part is a device
    /// (`NUL`, `com1.txt`), has a control character or one of `<>:"|?*`, so that no drive and no stream is named, or
    /// ends with a dot or a blank, which the system would drop; that also excludes `.` and `..`.
    /// @return false for everything else, and for an empty path.
    [[nodiscard]] Z4_API static bool IsSafeRelative(StrView path);
};

} // namespace Z4
