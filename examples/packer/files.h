// Files through the host's file table: absolute offsets, UTF-8 names, and nothing half-written under its final name.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <zelk_core/base/ealinterface.h>

namespace Packer {

std::string Utf8(const std::filesystem::path& path);

/// The least common part of both directions: an open file with a name for messages.
class File {
public:
    File(const std::filesystem::path& path, unsigned mode);
    ~File() { Close(); }
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    std::uint64_t Size() const;
    /// Fewer bytes than asked for only at the end of the file.
    std::size_t Read(void* buffer, std::size_t size, std::uint64_t offset) const;
    void Write(const void* buffer, std::size_t size, std::uint64_t offset);
    void Close();

    const std::string& Name() const { return m_name; }

private:
    void Check(Z4::eal_file_status status, const char* what) const;

    std::string m_name;
    Z4::eal_file_handle m_handle = nullptr;
};

/// A new file that is called `path` + ".part" until it is complete, and removed unless Commit() is reached.
class OutputFile {
public:
    /// Fails with EXIT_REFUSED where there is such a file and `replace` is false.
    OutputFile(const std::filesystem::path& path, bool replace);
    ~OutputFile();

    void Append(const void* buffer, std::size_t size);
    void WriteAt(const void* buffer, std::size_t size, std::uint64_t offset) { m_file.Write(buffer, size, offset); }
    std::uint64_t Size() const { return m_size; }

    void Commit();
    void SetTime(std::filesystem::file_time_type time) { m_time = time; }

    const std::filesystem::path& PartPath() const { return m_part; }

private:
    std::filesystem::path m_path;
    std::filesystem::path m_part;
    bool m_replace;
    File m_file;
    std::uint64_t m_size = 0;
    std::filesystem::file_time_type m_time{};
    bool m_complete = false;
};

} // namespace Packer
