// Faults hunted: a sink that is left out, called twice, called after it was removed or in another order while sinks
// come and go in the midst of a notification; a refusal that changes anything.
#include <tests/support/testhost.h>

#include <cstring>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <string>
#include <zelk_core/generics/notifier.h>

namespace {

using Letters = Z4::Notifier<std::string>;

/// Sinks that write their letters into a trace.
class Notifying : public testing::Test {
protected:
    struct Sink : Letters::Sink {
        Sink(Notifying& owner, char name) : test(owner), letter(name) {}
        void OnEvent(unsigned event, const std::string& payload) override {
            EXPECT_TRUE(event == 7 && payload == "payload");
            test.trace += letter;
            if (*test.script == letter) {
                test.Do(std::exchange(test.script, "") + 1);
            }
        }
        Notifying& test;
        char letter;
    };

    Sink& Named(char letter) { return *sinks.try_emplace(letter, std::make_unique<Sink>(*this, letter)).first->second; }
    /// '+x' adds a sink, '-x' removes it, '~x' also destroys it, and '!' notifies.
    void Do(const char* steps) {
        for (; *steps != '\0'; ++steps) {
            if (*steps == '!') {
                notifier.Notify(7, "payload");
                continue;
            }
            const char step = *steps++;
            EXPECT_TRUE(step == '+' ? notifier.AddSink(Named(*steps)) : notifier.RemoveSink(Named(*steps)));
            EXPECT_FALSE(step == '+' ? notifier.AddSink(Named(*steps)) : notifier.RemoveSink(Named(*steps)));
            EXPECT_EQ(notifier.HasSink(Named(*steps)), step == '+');
            if (step == '~') {
                sinks.erase(*steps);
            }
        }
    }

    std::string trace;
    const char* script = "";
    std::map<char, std::unique_ptr<Sink>> sinks;
    Letters notifier{Z4::ZelkAllocator(), Z4::ZelkAllocator::Context()};
};

TEST_F(Notifying, CallsThoseWhoAreThereInTheirOrder) {
    const struct {
        const char* before;
        const char* script; ///< the sink that acts when it is called first, and what it does
        const char* called;
        const char* after; ///< who is called by the next notification
    } rows[] = {
        {"", "", "", ""},
        {"+c+a+e+b+f+d-e+e", "", "cabfde", "cabfde"},
        {"+a+b+c+d", "b-b-a-c-d+d", "ab", "d"},
        // So many that the places move in memory.
        {"+a", "a+b+c+d+e+f", "a", "abcdef"},
        {"+a+b+c", "b-a+d!-c", "abbcd", "bd"},
        {"+a+b+c", "b~a~c", "ab", "b"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.before << ' ' << row.script);
        Do(row.before);
        script = row.script;
        Do("!");
        EXPECT_EQ(std::exchange(trace, {}), row.called);
        Do("!");
        EXPECT_EQ(std::exchange(trace, {}), row.after);
        EXPECT_EQ(notifier.GetSinkCount(), std::strlen(row.after));
        for (const char* letter = row.after; *letter != '\0'; ++letter) {
            EXPECT_TRUE(notifier.RemoveSink(Named(*letter)));
        }
    }
}

TEST_F(Notifying, ARefusedSinkChangesNothing) {
    ZelkTest::FailAllocations(1);
    EXPECT_FALSE(notifier.AddSink(Named('a')));
    ZelkTest::FailAllocations(0);
    Do("+a+b+c+d");
    ZelkTest::FailAllocations(1);
    EXPECT_FALSE(notifier.AddSink(Named('e')));
    Do("-b+e!"); // in the place that is free now
    ZelkTest::FailAllocations(0);
    EXPECT_EQ(trace, "acde");
}

} // namespace
