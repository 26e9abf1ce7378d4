// The names of threads that a debugger would be told.
#pragma once

#include <windows.h>

#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <vector>

namespace ZelkTest {

/// While it lives, the announcements of thread names that a debugger would see are kept here. It lets each go on to the
/// next handler, as a debugger that does not know them does.
class NameRecorder {
public:
    NameRecorder() : m_handler(AddVectoredExceptionHandler(1, Record)) { s_seen.clear(); }
    ~NameRecorder() { RemoveVectoredExceptionHandler(m_handler); }
    NameRecorder(const NameRecorder&) = delete;
    NameRecorder& operator=(const NameRecorder&) = delete;

    void ExpectNone() { EXPECT_TRUE(std::exchange(s_seen, {}).empty()); }
    /// One announcement since the last time.
    void ExpectOnly(const std::string& name, unsigned long id) {
        EXPECT_EQ(std::exchange(s_seen, {}), std::vector{name + " of " + std::to_string(id)});
    }

private:
    static LONG CALLBACK Record(EXCEPTION_POINTERS* pointers) {
        const EXCEPTION_RECORD& record = *pointers->ExceptionRecord;
        if (record.ExceptionCode == 0x406D1388) {
            const ULONG_PTR* const words = record.ExceptionInformation;
            EXPECT_EQ(record.ExceptionFlags, 0u) << "must be continuable";
            EXPECT_TRUE(record.NumberParameters == 4 && words[0] == 0x1000 && words[3] == 0);
            const char* const name = reinterpret_cast<const char*>(words[1]);
            s_seen.push_back((name != nullptr ? name : "(null)") + std::string(" of ") + std::to_string(words[2]));
        }
        return EXCEPTION_CONTINUE_SEARCH;
    }

    inline static std::vector<std::string> s_seen;
    void* m_handler;
};

} // namespace ZelkTest
