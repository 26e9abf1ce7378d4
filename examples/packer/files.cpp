#include "files.h"

#include "failure.h"

#include <windows.h>
#include <zelk_core/base/error.h>

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

void Check(Z4::Error result, const char* what, const std::string& name) {
    if (result != Z4::ERR_OK) {
        throw Failure(EXIT_FILES, "cannot " + std::string(what) + " " + name + ": " + Z4::GetErrorString(result));
    }
}

File::File(const fs::path& path) : m_name(Utf8(path)) {
    Check(m_file.Open(m_name.c_str(), Z4::EalFile::READ_ONLY), "open", m_name);
}

std::uint64_t File::Size() const {
    std::uint64_t size = 0;
    Check(m_file.GetSize(size), "measure", m_name);
    return size;
}

std::size_t File::Read(void* buffer, std::size_t size, std::uint64_t offset) const {
    std::uint32_t transferred = 0;
    Check(m_file.Read(buffer, size, offset, transferred), "read", m_name);
    return transferred;
}

OutputFile::OutputFile(const fs::path& path, bool replace)
    : m_path(path), m_part(PartOf(path, replace)), m_replace(replace) {
    Check(m_stream.Open(Utf8(m_part).c_str(), Z4::EalFile::NEW_FILE), "open", Utf8(m_part));
}

OutputFile::~OutputFile() {
    if (!m_complete) {
        m_stream.Close(); // a failure is on its way already
        std::error_code ignored;
        fs::remove(m_part, ignored);
    }
}

void OutputFile::Append(const void* buffer, std::size_t size) {
    m_stream.Write(buffer, size);
    Check(m_stream.GetError(), "write", Utf8(m_part));
}

void OutputFile::WriteAt(const void* buffer, std::size_t size, std::uint64_t offset) {
    const std::uint64_t end = m_stream.Tell();
    m_stream.Seek(static_cast<std::int64_t>(offset), Z4::SEEK_FROM_BEGIN);
    m_stream.Write(buffer, size);
    m_stream.Seek(static_cast<std::int64_t>(end), Z4::SEEK_FROM_BEGIN);
    Check(m_stream.GetError(), "write", Utf8(m_part));
}

void OutputFile::Commit() {
    Check(m_stream.Close(), "write", Utf8(m_part));
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
