// The archive: a header, then for each file or folder an entry with its name and content, then an end that counts them.
#pragma once

#include "blocks.h"
#include "files.h"

#include <functional>
#include <optional>

namespace Packer {

/// Told how much of a file is done, in bytes.
using Progress = std::function<void(const std::string& name, std::uint64_t done, std::uint64_t size)>;

enum class EntryKind : std::uint32_t {
    FILE = 0x454C4946,   ///< "FILE"
    FOLDER = 0x45524944, ///< "DIRE"
    END = 0x53444E45,    ///< "ENDS"; its contentSize counts the entries, its packedSize those of files
};

/// The name follows it in the archive, UTF-8 with slashes.
struct EntryHeader {
    EntryKind kind;
    std::uint32_t nameSize = 0;
    std::uint64_t contentSize = 0;
    std::uint64_t packedSize = 0; ///< of the blocks behind the name, with their headers
    std::int64_t modified = 0;    ///< nanoseconds since 1970, UTC
    std::uint32_t reserved = 0;
    std::uint32_t crc = 0; ///< CRC-32 of the fields above and the name
};
template <>
struct Fields<EntryHeader> {
    static constexpr std::size_t SIZE = 40;
    using List = FieldList<&EntryHeader::kind, &EntryHeader::nameSize, &EntryHeader::contentSize,
                           &EntryHeader::packedSize, &EntryHeader::modified, &EntryHeader::reserved, &EntryHeader::crc>;
};

struct Entry {
    EntryHeader header;
    std::string name;
    std::uint64_t contentOffset; ///< of the first block in the archive

    std::filesystem::file_time_type Modified() const;
};

/// Whether a file of this name lands inside the folder it is unpacked to, on any Windows: no absolute path, no
/// parent folder, no drive, stream or device, and no character that would become another.
bool IsSafeName(const std::string& name);

class ArchiveWriter {
public:
    /// Contents are enciphered with the password unless it is empty.
    ArchiveWriter(const std::filesystem::path& path, bool replace, Method method,
                  Z4::CompressionInterface::cmp_level level, const std::string& password);

    void AddFolder(const std::string& name);
    void AddFile(const std::filesystem::path& path, const std::string& name, const Progress& progress);
    /// Writes the end and gives the archive its name.
    void Finish();

    std::uint64_t Size() const { return m_output.Size(); }
    const std::filesystem::path& PartPath() const { return m_output.PartPath(); }

private:
    void WriteHeader(const EntryHeader& header, const std::string& name, std::uint64_t offset);

    OutputFile m_output;
    Method m_method;
    Z4::CompressionInterface::cmp_level m_level;
    std::optional<Z4::XTea> m_cipher;
    std::uint64_t m_entries = 0;
    std::uint64_t m_files = 0;
};

class ArchiveReader {
public:
    /// Reads and checks all headers; fails with EXIT_DAMAGED unless the archive is whole, and with EXIT_REFUSED for
    /// names that are not safe or stand for one file twice.
    explicit ArchiveReader(const std::filesystem::path& path);

    const std::vector<Entry>& Entries() const { return m_entries; }
    std::uint64_t Size() const { return m_size; }

    /// Before the first Expand(); fails with EXIT_PASSWORD when the archive was made with another password.
    void Unlock(const std::string& password);

    /// Expands a file's content piece by piece; fails with EXIT_DAMAGED where a piece is not what was packed.
    void Expand(const Entry& entry, const std::function<void(const Bytes& piece)>& sink);

private:
    void ReadExactly(void* buffer, std::size_t size, std::uint64_t offset) const;
    template <class Header>
    Header ReadHeader(std::uint64_t offset) const;
    Entry ReadEntry(std::uint64_t offset) const;
    void CheckNames() const;
    [[noreturn]] void Damaged(const std::string& how) const;

    File m_file;
    std::uint64_t m_size;
    bool m_enciphered;
    std::uint64_t m_salt;
    std::uint32_t m_passwordCheck;
    std::optional<Z4::XTea> m_cipher;
    std::vector<Entry> m_entries;
};

} // namespace Packer
