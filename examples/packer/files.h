// Files: UTF-8 names, errors as exceptions, and nothing half-written under its final name.
#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <string>
#include <zelk_core/eal_utils/ealfile.h>
#include <zelk_core/streams/filestream.h>

namespace Packer {

std::string Utf8(const std::filesystem::path& path);

/// Throws a Failure that names the file, unless `result` is ERR_OK. `what` could not be done with it.
void Check(Z4::Error result, const char* what, const std::string& name);

/// A file that is read, with a name for messages.
class File {
public:
    explicit File(const std::filesystem::path& path);

    std::uint64_t Size() const;
    /// Fewer bytes than asked for only at the end of the file.
    std::size_t Read(void* buffer, std::size_t size, std::uint64_t offset) const;

    const std::string& Name() const { return m_name; }

private:
    std::string m_name;
    Z4::EalFile m_file;
};

/// A new file that is called `path` + ".part" until it is complete, and removed unless Commit() is reached.
class OutputFile {
public:
    /// Fails with EXIT_REFUSED where there is such a file and `replace` is false.
    OutputFile(const std::filesystem::path& path, bool replace);
    ~OutputFile();

    void Append(const void* buffer, std::size_t size);
    template <std::size_t SIZE>
    void Append(const std::array<unsigned char, SIZE>& bytes) {
        Append(bytes.data(), bytes.size());
    }
    /// Writes over what stands there.
    void WriteAt(const void* buffer, std::size_t size, std::uint64_t offset);
    std::uint64_t Size() const { return m_stream.Tell(); }

    void Commit();
    void SetTime(std::filesystem::file_time_type time) { m_time = time; }

    const std::filesystem::path& PartPath() const { return m_part; }

private:
    std::filesystem::path m_path;
    std::filesystem::path m_part;
    bool m_replace;
    Z4::FileStream m_stream;
    std::filesystem::file_time_type m_time{};
    bool m_complete = false;
};

} // namespace Packer
