#include "files.h"

#include "failure.h"

#include <host/zelkhost.h>
#include <windows.h>
#include <zelk_core/base/error.h>
#include <zelk_core/eal_utils/ealfile.h>

namespace Packer {

namespace fs = std::filesystem;

namespace {

fs::path PartOf(const fs::path& path, bool replace) {
    if (!replace && fs::exists(path)) {
        throw Failure(EXIT_REFUSED, Utf8(path) + " exists; --force replaces it");
    }
    fs::path part = path;
    part += L".part";
    return part;
}

} // namespace

std::string Utf8(const fs::path& path) {
    const std::u8string text = path.generic_u8string();
    return {text.begin(), text.end()};
}

File::File(const fs::path& path, unsigned mode) : m_name(Utf8(path)) {
    Check(ZelkHost::FileTable().open(m_name.c_str(), mode, &m_handle), "open");
}

void File::Check(Z4::eal_file_status status, const char* what) const {
    if (status != Z4::EAL_FILE_OK) {
        const Z4::Error error = Z4::EalFile::TranslateError(status);
        throw Failure(EXIT_FILES, "cannot " + std::string(what) + " " + m_name + ": " + Z4::GetErrorString(error));
    }
}

std::uint64_t File::Size() const {
    std::uint64_t size = 0;
    Check(ZelkHost::FileTable().size(m_handle, &size), "measure");
    return size;
}

std::size_t File::Read(void* buffer, std::size_t size, std::uint64_t offset) const {
    std::uint32_t transferred = 0;
    Check(ZelkHost::FileTable().read(m_handle, buffer, size, offset, &transferred), "read");
    return transferred;
}

void File::Write(const void* buffer, std::size_t size, std::uint64_t offset) {
    std::uint32_t transferred = 0;
    Check(ZelkHost::FileTable().write(m_handle, buffer, size, offset, &transferred), "write");
    Check(transferred == size ? Z4::EAL_FILE_OK : Z4::EAL_FILE_DISK_FULL, "write");
}

void File::Close() {
    if (m_handle != nullptr) {
        ZelkHost::FileTable().close(m_handle);
        m_handle = nullptr;
    }
}

OutputFile::OutputFile(const fs::path& path, bool replace)
    : m_path(path),
      m_part(PartOf(path, replace)),
      m_replace(replace),
      m_file(m_part, Z4::EAL_FILE_WRITE | Z4::EAL_FILE_CREATE | Z4::EAL_FILE_EXCLUSIVE) {}

OutputFile::~OutputFile() {
    m_file.Close();
    if (!m_complete) {
        std::error_code ignored;
        fs::remove(m_part, ignored);
    }
}

void OutputFile::Append(const void* buffer, std::size_t size) {
    m_file.Write(buffer, size, m_size);
    m_size += size;
}

void OutputFile::Commit() {
    m_file.Close();
    if (m_time != fs::file_time_type{}) {
        std::error_code ignored; // the content is what matters
        fs::last_write_time(m_part, m_time, ignored);
    }
    // One step, so that whoever interrupts it finds the old file or the new one.
    if (!MoveFileExW(m_part.c_str(), m_path.c_str(), m_replace ? MOVEFILE_REPLACE_EXISTING : 0)) {
        const bool exists = GetLastError() == ERROR_ALREADY_EXISTS;
        throw Failure(exists ? EXIT_REFUSED : EXIT_FILES,
                      "cannot name " + Utf8(m_part) +
                          (exists ? ": the name has been taken" : " as it should be called"));
    }
    m_complete = true;
}

} // namespace Packer
