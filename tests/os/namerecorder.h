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
    struct Announcement {
        unsigned long flags;
        std::vector<ULONG_PTR> words;
        std::string name;
    };

    NameRecorder() : m_handler(AddVectoredExceptionHandler(1, Record)) { s_seen.clear(); }
    ~NameRecorder() { RemoveVectoredExceptionHandler(m_handler); }
    NameRecorder(const NameRecorder&) = delete;
    NameRecorder& operator=(const NameRecorder&) = delete;

    std::vector<Announcement> Take() { return std::exchange(s_seen, {}); }

private:
    static LONG CALLBACK Record(EXCEPTION_POINTERS* pointers) {
        const EXCEPTION_RECORD& record = *pointers->ExceptionRecord;
        if (record.ExceptionCode == 0x406D1388) {
            const ULONG_PTR* const words = record.ExceptionInformation;
            const char* const name = reinterpret_cast<const char*>(words[1]);
            s_seen.push_back(
                {record.ExceptionFlags, {words, words + record.NumberParameters}, name != nullptr ? name : "(null)"});
        }
        return EXCEPTION_CONTINUE_SEARCH;
    }

    inline static std::vector<Announcement> s_seen;
    void* m_handler;
};

inline void ExpectAnnouncement(NameRecorder& recorder, const char* name, unsigned long id) {
    const auto seen = recorder.Take();
    ASSERT_EQ(seen.size(), 1u);
    EXPECT_EQ(seen[0].flags, 0u) << "must be continuable";
    EXPECT_EQ(seen[0].name, name);
    EXPECT_EQ(seen[0].words, (std::vector<ULONG_PTR>{0x1000, seen[0].words[1], id, 0}));
}

} // namespace ZelkTest
