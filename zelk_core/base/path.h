/// @file
/// The parts of file paths. Slash and backslash both separate; paths are UTF-8. Nothing here asks the system about
/// files, and nothing allocates memory; any thread may call everything at any time.
#pragma once

#include <cstddef>
#include <zelk_core/base/api.h>
#include <zelk_core/base/strview.h>

namespace Z4 {

/// The operations, all static.
class Path {
public:
    Path() = delete;

    /// What stands behind the last separator, or behind a drive's colon: "a.txt" of "C:\b/a.txt"; empty for a path that
    /// ends with one.
    [[nodiscard]] Z4_API static StrView FileName(StrView path);
    /// The file name from its last dot on: ".txt"; empty where it has none but at its beginning, or is "..".
    [[nodiscard]] Z4_API static StrView Extension(StrView path);
    /// What stands before the file name, without the separator between them; that of a root stays: `C:\b` of `C:\b\a`,
    /// `C:\` of `C:\a`, empty for "a".
    [[nodiscard]] Z4_API static StrView Folder(StrView path);

    /// Writes `name`, below `folder`, to `to`, room for `size` characters, as Str::Copy() does. A separator is put
    /// between them where neither has one and neither is empty: a backslash where `folder` has one and no slash, else a
    /// slash.
    /// @return the length of the whole path.
    Z4_API static std::size_t Join(char* to, std::size_t size, StrView folder, StrView name);

    /// Whether the file of this name lies below the folder that it is joined to, on any Windows, and is a plain file
    /// there: for names out of archives and from other machines. Such a name is well-formed UTF-8 with no root, drive,
    /// parent folder, stream, device or empty part, no character that the system forbids, and no part that ends with a
    /// dot or a blank, which the system drops.
    [[nodiscard]] Z4_API static bool IsSafeRelative(StrView path);
};

} // namespace Z4
