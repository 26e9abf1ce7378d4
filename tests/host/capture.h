// Files that a test leaves nothing of, what the host writes to standard error, and whether it writes one at a time.
#pragma once

#include <atomic>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <string>
#include <tests/support/importhook.h>
#include <windows.h>

namespace ZelkTest {

/// A path in the system's folder for temporary files, unique to this process; the name has letters beyond ASCII.
class TemporaryFile {
public:
    TemporaryFile() {
        static std::atomic<int> count;
        m_path = std::filesystem::temp_directory_path() /
                 (L"zelk_\u00e4\u6c34_" + std::to_wstring(GetCurrentProcessId()) + L"_" + std::to_wstring(count++));
    }
    ~TemporaryFile() {
        std::error_code ignored;
        std::filesystem::remove(m_path, ignored);
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    const std::filesystem::path& Path() const { return m_path; }

    std::string Utf8() const {
        const std::u8string text = m_path.u8string();
        return {text.begin(), text.end()};
    }

    std::string Content() const {
        std::ifstream stream(m_path, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

private:
    std::filesystem::path m_path;
};

/// While it lives, the system's standard error goes to a file.
class CapturedError {
public:
    CapturedError()
        : m_previous(GetStdHandle(STD_ERROR_HANDLE)),
          m_handle(CreateFileW(m_file.Path().c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr,
                               CREATE_ALWAYS, 0, nullptr)) {
        SetStdHandle(STD_ERROR_HANDLE, m_handle);
    }
    ~CapturedError() {
        SetStdHandle(STD_ERROR_HANDLE, m_previous);
        CloseHandle(m_handle);
    }

    std::string Text() const { return m_file.Content(); }

private:
    TemporaryFile m_file;
    HANDLE m_previous;
    HANDLE m_handle;
};

/// While it lives, the host's writes last so long that another thread's comes in between, which fails the test, unless
/// a lock keeps it out.
class LoneWrites {
    static inline std::atomic<int> s_writers;
    static BOOL WINAPI Write(HANDLE file, const void* bytes, DWORD size, DWORD* written, OVERLAPPED* overlapped) {
        EXPECT_EQ(s_writers++, 0);
        Sleep(1);
        --s_writers;
        void* const own = reinterpret_cast<void*>(GetProcAddress(GetModuleHandleA("kernel32.dll"), "WriteFile"));
        return reinterpret_cast<decltype(&::WriteFile)>(own)(file, bytes, size, written, overlapped);
    }

    ImportHook m_hook{"WriteFile", &Write, GetModuleHandleA(nullptr)};
};

} // namespace ZelkTest
