#include "archive.h"

#include "failure.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <cwctype>
#include <random>
#include <set>
#include <zelk_core/base/hash.h>
#include <zelk_core/base/path.h>

namespace Packer {

namespace fs = std::filesystem;

namespace {

/// The line ends show transfers that took the archive for text.
constexpr unsigned char MAGIC[8] = {'Z', '4', 'P', 'K', '\r', '\n', 0x1A, '\n'};
constexpr std::uint32_t FORMAT_VERSION = 1;
constexpr std::uint32_t LONGEST_NAME = 4096;

struct ArchiveHeader {
    unsigned char magic[8];
    std::uint32_t version;
    std::uint32_t enciphered;    ///< 1 or 0
    std::uint64_t salt;          ///< lets equal passwords give different keys
    std::uint32_t passwordCheck; ///< tells a wrong password at once
    std::uint32_t crc;           ///< CRC-32 of the fields above
};

} // namespace

template <>
struct Fields<ArchiveHeader> {
    static constexpr std::size_t SIZE = 32;
    using List = FieldList<&ArchiveHeader::magic, &ArchiveHeader::version, &ArchiveHeader::enciphered,
                           &ArchiveHeader::salt, &ArchiveHeader::passwordCheck, &ArchiveHeader::crc>;
};

namespace {

struct Key {
    std::string text; ///< 16 characters, as the cipher wants them
    std::uint32_t check;
};

Key MakeKey(const std::string& password, std::uint64_t salt) {
    const auto* const bytes = reinterpret_cast<const unsigned char*>(password.data());
    std::uint64_t words[2];
    words[0] = Z4::Hash::XXH64(bytes, password.size(), salt);
    words[1] = Z4::Hash::XXH64(bytes, password.size(), ~words[0]);
    unsigned char raw[sizeof(words)];
    std::memcpy(raw, words, sizeof(words));
    Key key{{}, Z4::Hash::XXH32(raw, sizeof(raw), 1)};
    // Printable ASCII: neither a zero, which would end the key, nor the upper half, which would swallow its neighbours.
    for (const unsigned char byte : raw) {
        key.text += static_cast<char>('!' + byte % 94);
    }
    return key;
}

void SetKey(Z4::XTea& cipher, const Key& key) {
    if (!cipher.SetKey(key.text.c_str())) {
        throw Failure(EXIT_PASSWORD, "the key was refused");
    }
}

std::uint32_t NameCrc(const std::string& name, std::uint32_t crc) {
    return Z4::Hash::CRC(reinterpret_cast<const unsigned char*>(name.data()), name.size(), crc);
}

fs::path FromUtf8(const std::string& name) {
    return fs::path(std::u8string(name.begin(), name.end()));
}

std::int64_t ToUnixTime(fs::file_time_type time) {
    const auto since1970 = std::chrono::file_clock::to_sys(time).time_since_epoch();
    return std::chrono::duration_cast<std::chrono::nanoseconds>(since1970).count();
}

/// Names come from files that anybody can have made; a terminal obeys control characters.
std::string Printable(std::string name) {
    std::replace_if(
        name.begin(), name.end(), [](unsigned char c) { return c < ' ' || c == 0x7F; }, '?');
    return name;
}

} // namespace

bool IsSafeName(const std::string& name) {
    return name.size() <= LONGEST_NAME && name.find('\\') == std::string::npos &&
           Z4::Path::IsSafeRelative({name.data(), name.size()});
}

fs::file_time_type Entry::Modified() const {
    const std::chrono::sys_time<std::chrono::nanoseconds> time{std::chrono::nanoseconds(header.modified)};
    return std::chrono::time_point_cast<fs::file_time_type::duration>(std::chrono::file_clock::from_sys(time));
}

ArchiveWriter::ArchiveWriter(const fs::path& path, bool replace, Method method,
                             Z4::CompressionInterface::cmp_level level, const std::string& password)
    : m_output(path, replace), m_method(method), m_level(level) {
    ArchiveHeader header{};
    std::copy_n(MAGIC, sizeof(MAGIC), header.magic);
    header.version = FORMAT_VERSION;
    if (!password.empty()) {
        std::random_device random;
        header.enciphered = 1;
        header.salt = std::uint64_t{random()} << 32 | random();
        const Key key = MakeKey(password, header.salt);
        header.passwordCheck = key.check;
        SetKey(m_cipher.emplace(), key);
    }
    header.crc = HeaderCrc(header);
    m_output.Append(ToBytes(header));
}

void ArchiveWriter::WriteHeader(const EntryHeader& header, const std::string& name, std::uint64_t offset) {
    EntryHeader complete = header;
    complete.nameSize = name.size();
    complete.crc = NameCrc(name, HeaderCrc(complete));
    const HeaderBytes<EntryHeader> bytes = ToBytes(complete);
    m_output.WriteAt(bytes.data(), bytes.size(), offset);
}

void ArchiveWriter::AddFolder(const std::string& name) {
    const std::uint64_t offset = m_output.Size();
    const EntryHeader header{.kind = EntryKind::FOLDER};
    m_output.Append(ToBytes(header));
    m_output.Append(name.data(), name.size());
    WriteHeader(header, name, offset);
    ++m_entries;
}

void ArchiveWriter::AddFile(const fs::path& path, const std::string& name, const Progress& progress) {
    if (!IsSafeName(name)) {
        throw Failure(EXIT_REFUSED, name + ": no Windows system could unpack a file of this name");
    }
    const File input(path);
    const std::uint64_t offset = m_output.Size();
    // Sizes are what was read, not what the system said before; so the header is written again at the end.
    EntryHeader header{.kind = EntryKind::FILE, .modified = ToUnixTime(fs::last_write_time(path))};
    m_output.Append(ToBytes(header));
    m_output.Append(name.data(), name.size());
    const std::uint64_t contentOffset = m_output.Size();

    const std::uint64_t expectedSize = input.Size();
    std::uint32_t crc = NameCrc(name, 0);
    for (;;) {
        Bytes content(BLOCK_SIZE);
        content.resize(input.Read(content.data(), content.size(), header.contentSize));
        if (content.empty()) {
            break;
        }
        BlockHeader block;
        const Bytes packed = PackBlock(content, m_method, m_level, m_cipher ? &*m_cipher : nullptr, crc, block);
        m_output.Append(ToBytes(block));
        m_output.Append(packed.data(), packed.size());
        header.contentSize += content.size();
        progress(name, header.contentSize, expectedSize);
    }
    header.packedSize = m_output.Size() - contentOffset;
    WriteHeader(header, name, offset);
    ++m_entries;
    ++m_files;
}

void ArchiveWriter::Finish() {
    const std::uint64_t offset = m_output.Size();
    const EntryHeader header{.kind = EntryKind::END, .contentSize = m_entries, .packedSize = m_files};
    m_output.Append(ToBytes(header));
    WriteHeader(header, "", offset);
    m_output.Commit();
}

ArchiveReader::ArchiveReader(const fs::path& path) : m_file(path), m_size(m_file.Size()) {
    HeaderBytes<ArchiveHeader> bytes{};
    const bool isRead = m_file.Read(bytes.data(), bytes.size(), 0) == bytes.size();
    const auto header = FromBytes<ArchiveHeader>(bytes);
    if (!isRead || std::memcmp(header.magic, MAGIC, sizeof(MAGIC)) != 0) {
        throw Failure(EXIT_DAMAGED, m_file.Name() + " is not an archive of this program");
    }
    if (header.crc != HeaderCrc(header)) {
        Damaged("its header is altered");
    }
    if (header.version != FORMAT_VERSION) {
        throw Failure(EXIT_DAMAGED, m_file.Name() + " was made by a later version of this program");
    }
    m_enciphered = header.enciphered != 0;
    m_salt = header.salt;
    m_passwordCheck = header.passwordCheck;
    std::uint64_t offset = bytes.size();
    std::uint64_t files = 0;
    for (;;) {
        Entry entry = ReadEntry(offset);
        if (entry.header.kind == EntryKind::END) {
            if (entry.header.contentSize != m_entries.size() || entry.header.packedSize != files) {
                Damaged("entries are missing");
            }
            if (entry.contentOffset != m_size) {
                Damaged("there is more behind its end");
            }
            break;
        }
        files += entry.header.kind == EntryKind::FILE;
        offset = entry.contentOffset + entry.header.packedSize;
        m_entries.push_back(std::move(entry));
    }
    CheckNames();
}

void ArchiveReader::Damaged(const std::string& how) const {
    throw Failure(EXIT_DAMAGED, m_file.Name() + " is damaged: " + how);
}

void ArchiveReader::ReadExactly(void* buffer, std::size_t size, std::uint64_t offset) const {
    if (offset > m_size || size > m_size - offset || m_file.Read(buffer, size, offset) != size) {
        Damaged("it ends too early, after " + std::to_string(m_size) + " bytes" +
                (m_entries.empty() ? "" : ", behind " + Printable(m_entries.back().name)));
    }
}

template <class Header>
Header ArchiveReader::ReadHeader(std::uint64_t offset) const {
    HeaderBytes<Header> bytes;
    ReadExactly(bytes.data(), bytes.size(), offset);
    return FromBytes<Header>(bytes);
}

Entry ArchiveReader::ReadEntry(std::uint64_t offset) const {
    Entry entry{};
    EntryHeader& header = entry.header;
    header = ReadHeader<EntryHeader>(offset);
    const std::uint64_t nameOffset = offset + Fields<EntryHeader>::SIZE;
    const std::string where = " at byte " + std::to_string(offset);
    if (header.nameSize > LONGEST_NAME) {
        Damaged("an altered entry" + where);
    }
    entry.name.resize(header.nameSize);
    ReadExactly(entry.name.data(), entry.name.size(), nameOffset);
    if (header.crc != NameCrc(entry.name, HeaderCrc(header)) ||
        (header.kind != EntryKind::FILE && header.kind != EntryKind::FOLDER && header.kind != EntryKind::END)) {
        Damaged("an altered entry" + where);
    }
    entry.contentOffset = nameOffset + header.nameSize;
    if (header.kind != EntryKind::END && header.packedSize > m_size - entry.contentOffset) {
        Damaged("it ends too early, after " + std::to_string(m_size) + " bytes, within " + Printable(entry.name));
    }
    return entry;
}

void ArchiveReader::CheckNames() const {
    std::set<std::wstring> names;
    for (const Entry& entry : m_entries) {
        if (!IsSafeName(entry.name)) {
            throw Failure(EXIT_REFUSED,
                          m_file.Name() + " holds a name that is not safe to unpack: " + Printable(entry.name));
        }
        std::wstring folded = FromUtf8(entry.name).wstring();
        std::transform(folded.begin(), folded.end(), folded.begin(),
                       [](wchar_t c) { return static_cast<wchar_t>(std::towlower(c)); });
        if (!names.insert(folded).second) {
            throw Failure(EXIT_REFUSED, m_file.Name() + " holds a name twice: " + entry.name);
        }
    }
}

void ArchiveReader::Unlock(const std::string& password) {
    if (!m_enciphered) {
        return;
    }
    if (password.empty()) {
        throw Failure(EXIT_PASSWORD, m_file.Name() + " needs its --password");
    }
    const Key key = MakeKey(password, m_salt);
    if (key.check != m_passwordCheck) {
        throw Failure(EXIT_PASSWORD, m_file.Name() + " has another password");
    }
    SetKey(m_cipher.emplace(), key);
}

void ArchiveReader::Expand(const Entry& entry, const std::function<void(const Bytes& piece)>& sink) {
    std::uint64_t offset = entry.contentOffset;
    const std::uint64_t end = offset + entry.header.packedSize;
    std::uint64_t size = 0;
    std::uint32_t crc = NameCrc(entry.name, 0);
    while (offset < end) {
        BlockHeader block;
        Bytes packed;
        Bytes content;
        bool good = end - offset >= Fields<BlockHeader>::SIZE;
        if (good) {
            block = ReadHeader<BlockHeader>(offset);
            offset += Fields<BlockHeader>::SIZE;
            good = IsPlausible(block) && end - offset >= StoredSize(block, m_enciphered);
        }
        if (good) {
            packed.resize(StoredSize(block, m_enciphered));
            ReadExactly(packed.data(), packed.size(), offset);
            offset += packed.size();
            good = ExpandBlock(block, std::move(packed), m_cipher ? &*m_cipher : nullptr, crc, content);
        }
        if (!good) {
            Damaged(entry.name + " is altered behind its byte " + std::to_string(size));
        }
        sink(content);
        size += content.size();
    }
    if (size != entry.header.contentSize) {
        Damaged(entry.name + " has " + std::to_string(size) + " bytes instead of " +
                std::to_string(entry.header.contentSize));
    }
}

} // namespace Packer
