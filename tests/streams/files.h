// Files in memory, with faults on demand, for as long as a test runs.
#pragma once

#include <gtest/gtest.h>
#include <host/filefaults.h>
#include <string>
#include <tests/support/memoryfiles.h>
#include <tests/support/random.h>
#include <tests/support/testhost.h>

namespace ZelkTest {

class WithFiles : public testing::Test {
protected:
    WithFiles() { Z4::SetEalInterface(ZelkHost::WithFileFaults(MemoryFiles::Table())); }
    ~WithFiles() override {
        ZelkHost::InjectFileFaults({});
        EXPECT_EQ(MemoryFiles::OpenHandles(), 0);
        MemoryFiles::All().clear();
    }

    static std::string& Content(const char* name = "file") { return MemoryFiles::All()[name]; }
};

/// Bytes of which half repeat themselves.
inline std::string Sample(std::size_t size, std::uint32_t seed = 1) {
    Input input(seed);
    std::string text(size, '\0');
    for (std::size_t i = 0; i < size; ++i) {
        text[i] = static_cast<char>(i > 50 && i / 100 % 2 == 0 ? text[i - 50] : static_cast<char>(input.Bits()));
    }
    return text;
}

} // namespace ZelkTest
