// Packs files and folders into one archive, and back: packer --help
#include "archive.h"
#include "failure.h"

#include <algorithm>
#include <cstdio>
#include <host/zelkhost.h>
#include <io.h>
#include <iterator>
#include <windows.h>
#include <zelk_core/zelk_core.h>

namespace {

namespace fs = std::filesystem;
using namespace Packer;
using Z4::CompressionInterface;

const char* const USAGE = R"(Packs files and folders into one archive.

  packer pack [OPTION...] ARCHIVE PATH...      makes ARCHIVE of files and folders
  packer unpack [OPTION...] ARCHIVE [NAME...]  unpacks all, or the files and folders named as `list` shows them
  packer test ARCHIVE                          checks every byte and writes nothing
  packer list ARCHIVE                          names, sizes and times

  --codec zlib|lzo           zlib (the default) packs smaller, lzo is faster
  --level fast|default|best
  --to FOLDER                where unpack puts what it unpacks; made if there is none; else the current folder
  --force                    replace files that exist; without it, nothing is ever overwritten
  --password TEXT            enciphers contents with XTEA, or deciphers them. That keeps out the curious, not an
                             attacker, and names and sizes stay readable
  --progress, --quiet        show how far long files are always, or print errors only; else on terminals

Exit code: 0 done, 1 wrong usage, 2 a file cannot be read or written, 3 the archive is damaged, 4 refused, as a file
exists or a name in the archive would leave the folder, 5 the password is missing or wrong.
)";

struct Options {
    std::string command;
    std::vector<fs::path> operands;
    Method method = Method::ZLIB;
    CompressionInterface::cmp_level level = CompressionInterface::CMP_DEFAULT;
    fs::path target = ".";
    std::string password;
    bool force = false;
    bool quiet = false;
    bool progress = _isatty(_fileno(stderr)) != 0;
};

/// Formatted by the library, like everything printed here.
void Say(std::FILE* stream, const char* format, ...) {
    char line[5000];
    va_list arguments;
    va_start(arguments, format);
    Z4::StrFormat::vsnprintf(line, sizeof(line), format, arguments);
    va_end(arguments);
    std::fputs(line, stream);
    std::fflush(stream);
}

std::string SizeText(std::uint64_t bytes) {
    char text[32];
    return Z4::StrFormat::FormatSize(text, sizeof(text), bytes, "B", 1);
}

/// One line on standard error that is written over and over, and gone at the end.
class ProgressLine {
public:
    explicit ProgressLine(bool on) : m_on(on) {}
    ~ProgressLine() { Clear(); }
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;

    void Show(const std::string& name, std::uint64_t done, std::uint64_t size) {
        constexpr DWORD INTERVAL_MS = 100;
        if (!m_on || done >= size || GetTickCount() - m_last < INTERVAL_MS) {
            return;
        }
        m_last = GetTickCount();
        m_shown = true;
        const std::string end = name.size() > 50 ? "..." + name.substr(name.size() - 47) : name;
        Say(stderr, "\r%3u %% of %s, %-50s", static_cast<unsigned>(done * 100 / size), SizeText(size).c_str(),
            end.c_str());
    }

    void Clear() {
        if (m_shown) {
            Say(stderr, "\r%78s\r", "");
            m_shown = false;
        }
    }

private:
    bool m_on;
    bool m_shown = false;
    DWORD m_last = GetTickCount();
};

/// Where `value` stands among the names; a usage failure when nowhere.
std::size_t Choose(const std::string& option, const std::string& value, const std::vector<std::string>& names) {
    const auto found = std::find(names.begin(), names.end(), value);
    if (found == names.end()) {
        throw Failure(EXIT_USAGE, option + " takes " + names.front() + " to " + names.back() + ", not " + value);
    }
    return static_cast<std::size_t>(found - names.begin());
}

Options ReadOptions(const std::vector<fs::path>& arguments) {
    Options options;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string argument = Utf8(arguments[i]);
        const auto value = [&]() -> const fs::path& {
            if (++i == arguments.size()) {
                throw Failure(EXIT_USAGE, argument + " needs a value");
            }
            return arguments[i];
        };
        if (argument == "--force") {
            options.force = true;
        } else if (argument == "--quiet") {
            options.quiet = true;
            options.progress = false;
        } else if (argument == "--progress") {
            options.progress = true;
        } else if (argument == "--to") {
            options.target = value();
        } else if (argument == "--password") {
            const std::u8string text = value().u8string();
            options.password.assign(text.begin(), text.end());
        } else if (argument == "--codec") {
            constexpr Method METHODS[] = {Method::ZLIB, Method::LZO};
            options.method = METHODS[Choose(argument, Utf8(value()), {"zlib", "lzo"})];
        } else if (argument == "--level") {
            constexpr CompressionInterface::cmp_level LEVELS[] = {
                CompressionInterface::CMP_FAST, CompressionInterface::CMP_DEFAULT, CompressionInterface::CMP_BEST};
            options.level = LEVELS[Choose(argument, Utf8(value()), {"fast", "default", "best"})];
        } else if (argument.starts_with("--")) {
            throw Failure(EXIT_USAGE, "there is no option " + argument);
        } else if (options.command.empty()) {
            options.command = argument;
        } else {
            options.operands.push_back(arguments[i]);
        }
    }
    if (options.command.empty() || options.operands.empty()) {
        throw Failure(EXIT_USAGE, "a command and an archive are needed");
    }
    return options;
}

/// The files and folders at and below `path`, sorted, each with its name in the archive.
std::vector<std::pair<fs::path, std::string>> Collect(const fs::path& path) {
    std::error_code error;
    const fs::path whole = fs::weakly_canonical(path, error);
    if (!fs::exists(path, error) || whole.filename().empty()) {
        throw Failure(EXIT_FILES, "cannot pack " + Utf8(path) + ": no such file or folder");
    }
    std::vector<std::pair<fs::path, std::string>> found{{whole, Utf8(whole.filename())}};
    if (fs::is_directory(whole)) {
        for (const fs::directory_entry& entry : fs::recursive_directory_iterator(whole)) {
            found.emplace_back(entry.path(), Utf8(whole.filename() / entry.path().lexically_relative(whole)));
        }
    }
    std::sort(found.begin(), found.end(), [](const auto& a, const auto& b) { return a.second < b.second; });
    return found;
}

int Pack(const Options& options) {
    const fs::path& archive = options.operands.front();
    std::vector<std::pair<fs::path, std::string>> inputs;
    for (auto path = std::next(options.operands.begin()); path != options.operands.end(); ++path) {
        const auto found = Collect(*path);
        inputs.insert(inputs.end(), found.begin(), found.end());
    }
    if (inputs.empty()) {
        throw Failure(EXIT_USAGE, "pack needs something to pack");
    }
    ArchiveWriter writer(archive, options.force, options.method, options.level, options.password);
    ProgressLine line(options.progress);
    std::uint64_t files = 0;
    std::uint64_t bytes = 0;
    for (const auto& [path, name] : inputs) {
        std::error_code error;
        if (fs::equivalent(path, writer.PartPath(), error) || fs::equivalent(path, archive, error)) {
            continue; // the archive itself, inside a folder that is packed
        }
        if (fs::is_directory(path)) {
            writer.AddFolder(name);
            continue;
        }
        std::uint64_t size = 0;
        writer.AddFile(path, name, [&](const std::string& file, std::uint64_t done, std::uint64_t whole) {
            size = done;
            line.Show(file, done, whole);
        });
        bytes += size;
        ++files;
    }
    line.Clear();
    writer.Finish();
    if (!options.quiet) {
        Say(stdout, "%llu files, %s, packed into %s\n", files, SizeText(bytes).c_str(),
            SizeText(writer.Size()).c_str());
    }
    return EXIT_OK;
}

/// The entries named on the command line, with all below them; all without names.
std::vector<const Entry*> Select(const ArchiveReader& reader, const Options& options) {
    std::vector<const Entry*> selected;
    if (options.operands.size() == 1) {
        for (const Entry& entry : reader.Entries()) {
            selected.push_back(&entry);
        }
        return selected;
    }
    for (auto path = std::next(options.operands.begin()); path != options.operands.end(); ++path) {
        const std::string name = Utf8(*path);
        const std::size_t before = selected.size();
        for (const Entry& entry : reader.Entries()) {
            if (entry.name == name || entry.name.starts_with(name + "/")) {
                selected.push_back(&entry);
            }
        }
        if (selected.size() == before) {
            throw Failure(EXIT_USAGE, "the archive has no " + name);
        }
    }
    return selected;
}

fs::path TargetOf(const Entry& entry, const Options& options) {
    return options.target / fs::path(std::u8string(entry.name.begin(), entry.name.end()));
}

void RefuseExisting(const std::vector<const Entry*>& entries, const Options& options) {
    for (const Entry* entry : entries) {
        if (entry->header.kind == EntryKind::FILE && fs::exists(TargetOf(*entry, options))) {
            throw Failure(EXIT_REFUSED,
                          Utf8(TargetOf(*entry, options)) + " exists, nothing was unpacked; --force replaces files");
        }
    }
}

/// Expands one file to where it belongs, or only checks it.
void UnpackFile(ArchiveReader& reader, const Entry& entry, const Options& options, bool write, ProgressLine& line) {
    std::optional<OutputFile> output;
    if (write) {
        const fs::path target = TargetOf(entry, options);
        fs::create_directories(target.parent_path());
        output.emplace(target, options.force);
    }
    std::uint64_t done = 0;
    reader.Expand(entry, [&](const Bytes& piece) {
        if (output) {
            output->Append(piece.data(), piece.size());
        }
        done += piece.size();
        line.Show(entry.name, done, entry.header.contentSize);
    });
    if (output) {
        output->SetTime(entry.Modified());
        output->Commit();
    }
}

int Unpack(const Options& options, bool write) {
    ArchiveReader reader(options.operands.front());
    reader.Unlock(options.password);
    const std::vector<const Entry*> entries = Select(reader, options);
    if (write && !options.force) {
        RefuseExisting(entries, options);
    }
    ProgressLine line(options.progress);
    std::uint64_t files = 0;
    std::uint64_t damaged = 0;
    for (const Entry* entry : entries) {
        if (entry->header.kind == EntryKind::FOLDER) {
            if (write) {
                fs::create_directories(TargetOf(*entry, options));
            }
            continue;
        }
        ++files;
        try {
            UnpackFile(reader, *entry, options, write, line);
        } catch (const Failure& failure) {
            if (failure.code != EXIT_DAMAGED) {
                throw;
            }
            // The other files may be whole.
            line.Clear();
            Say(stderr, "packer: %s\n", failure.what());
            ++damaged;
        }
    }
    line.Clear();
    if (!options.quiet || damaged != 0) {
        Say(damaged != 0 ? stderr : stdout, "%llu files %s, %llu damaged\n", files - damaged,
            write ? "unpacked" : "are whole", damaged);
    }
    return damaged != 0 ? EXIT_DAMAGED : EXIT_OK;
}

int List(const Options& options) {
    const ArchiveReader reader(options.operands.front());
    std::uint64_t bytes = 0;
    std::uint64_t files = 0;
    Say(stdout, "%15s %15s %6s  %-19s  %s\n", "size", "packed", "ratio", "modified (UTC)", "name");
    for (const Entry& entry : reader.Entries()) {
        const EntryHeader& header = entry.header;
        if (header.kind == EntryKind::FOLDER) {
            Say(stdout, "%60s  %s/\n", "", entry.name.c_str());
            continue;
        }
        const std::time_t seconds = static_cast<std::time_t>(header.modified / 1'000'000'000);
        char time[32] = "";
        if (const std::tm* const utc = std::gmtime(&seconds)) {
            std::strftime(time, sizeof(time), "%Y-%m-%d %H:%M:%S", utc);
        }
        const std::uint64_t size = header.contentSize;
        Say(stdout, "%15llu %15llu %5u%%  %-19s  %s\n", size, header.packedSize,
            static_cast<unsigned>(size == 0 ? 100 : header.packedSize * 100 / size), time, entry.name.c_str());
        bytes += size;
        ++files;
    }
    Say(stdout, "%llu files, %s in %s\n", files, SizeText(bytes).c_str(), SizeText(reader.Size()).c_str());
    return EXIT_OK;
}

int Run(const Options& options) {
    if (options.command == "pack") {
        return Pack(options);
    }
    if (options.command == "unpack" || options.command == "test") {
        return Unpack(options, options.command == "unpack");
    }
    if (options.command == "list") {
        return List(options);
    }
    throw Failure(EXIT_USAGE, "there is no command " + options.command);
}

int RunGuarded(const std::vector<fs::path>& arguments) {
    try {
        return Run(ReadOptions(arguments));
    } catch (const Failure& failure) {
        Say(stderr, "packer: %s\n%s", failure.what(), failure.code == EXIT_USAGE ? "packer --help tells more.\n" : "");
        return failure.code;
    } catch (const fs::filesystem_error& error) {
        Say(stderr, "packer: %s: %s\n", Utf8(error.path1()).c_str(), error.code().message().c_str());
    } catch (const std::bad_alloc&) {
        Say(stderr, "packer: not enough memory\n");
    }
    return EXIT_FILES;
}

} // namespace

/// The wide entry, since the narrow one gets only what the system's code page can say.
extern "C" int wmain(int argc, wchar_t** argv);
int wmain(int argc, wchar_t** argv) {
    SetConsoleOutputCP(CP_UTF8);
    const std::vector<fs::path> arguments(argv + 1, argv + argc);
    if (arguments.size() == 1 && arguments.front() == "--help") {
        Say(stdout, "%s", USAGE);
        return EXIT_OK;
    }
    ZelkHost::Install();
    Z4::InitializeCompressionService();
    Z4::InitializeEalUtils();
    const int exitCode = RunGuarded(arguments);
    Z4::ShutdownEalUtils();
    Z4::ShutdownCompressionService();
    return exitCode;
}
