#include <windows.h>

#include <cstddef>
#include <zelk_core/services/dbghelp/private/fileversion_ms_pc.h>

namespace Z4 {

namespace {

constexpr DWORD LARGEST_VERSION = 65536;
constexpr DWORD SIGNATURE = 0xFEEF04BD;

/// How a version resource begins.
struct VersionRecord {
    WORD header[3];
    wchar_t key[17]; // L"VS_VERSION_INFO", and what aligns the rest
    VS_FIXEDFILEINFO fixed;
};
static_assert(offsetof(VersionRecord, fixed) == 40);

Private::FileVersion ReadFrom(HMODULE file) {
    using Private::FileVersion;
    const HRSRC found = FindResourceA(file, MAKEINTRESOURCEA(1), RT_VERSION);
    const DWORD size = found != nullptr ? SizeofResource(file, found) : 0;
    if (size > LARGEST_VERSION) {
        return {FileVersion::TOO_LARGE, size, {}};
    }
    const auto* const record = size >= sizeof(VersionRecord)
                                   ? static_cast<const VersionRecord*>(LockResource(LoadResource(file, found)))
                                   : nullptr;
    if (record == nullptr || record->fixed.dwSignature != SIGNATURE) {
        return {FileVersion::NONE, size, {}};
    }
    const DWORD high = record->fixed.dwFileVersionMS;
    const DWORD low = record->fixed.dwFileVersionLS;
    return {FileVersion::READ, size, {HIWORD(high), LOWORD(high), HIWORD(low), LOWORD(low)}};
}

} // namespace

Private::FileVersion Private::ReadFileVersion(const char* name) {
    // As data only: no code of the file runs.
    const HMODULE file = LoadLibraryExA(name, nullptr, LOAD_LIBRARY_AS_DATAFILE);
    if (file == nullptr) {
        return {FileVersion::NONE, 0, {}};
    }
    const FileVersion version = ReadFrom(file);
    FreeLibrary(file);
    return version;
}

} // namespace Z4
