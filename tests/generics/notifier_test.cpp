// Faults hunted: a sink that is left out, called twice, called after it was removed or in another order while sinks
// come and go in the midst of a notification; a refusal that changes anything.
#include <tests/support/testhost.h>

#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>
#include <zelk_core/generics/notifier.h>

namespace {

using Letters = Z4::Notifier<std::string>;

/// Writes its letter into the payload's trace and then does as it was told.
struct Sink : Letters::Sink {
    Sink(char letterToWrite, std::string& traceToWrite) : letter(letterToWrite), trace(&traceToWrite) {}

    void OnEvent(unsigned event, const std::string& payload) override {
        *trace += letter + std::to_string(event) + payload;
        if (action) {
            action();
        }
    }

    char letter;
    std::string* trace;
    std::function<void()> action;
};

class Notifying : public testing::Test {
protected:
    Notifying() {
        for (char letter = 'a'; letter <= 'f'; ++letter) {
            sinks.push_back(std::make_unique<Sink>(letter, trace));
        }
    }
    ~Notifying() override { ZelkTest::FailAllocations(0); }

    void Add(std::initializer_list<std::size_t> indices) {
        for (const std::size_t i : indices) {
            EXPECT_TRUE(notifier.AddSink(*sinks[i]));
        }
    }
    std::string Notify(unsigned event) {
        notifier.Notify(event, ".");
        return std::exchange(trace, {});
    }

    std::string trace;
    std::vector<std::unique_ptr<Sink>> sinks;
    Letters notifier{Z4::ZelkAllocator(), Z4::ZelkAllocator::Context()};
};

} // namespace

TEST_F(Notifying, CallsInOrderOfRegistration) {
    EXPECT_EQ(Notify(0), "");
    Add({2, 0, 4, 1, 5, 3});
    EXPECT_FALSE(notifier.AddSink(*sinks[2]));
    EXPECT_EQ(Notify(7), "c7.a7.e7.b7.f7.d7.");
    EXPECT_TRUE(notifier.RemoveSink(*sinks[4]));
    EXPECT_FALSE(notifier.RemoveSink(*sinks[4]));
    EXPECT_FALSE(notifier.HasSink(*sinks[4]));
    Add({4});
    EXPECT_EQ(Notify(8), "c8.a8.b8.f8.d8.e8.");
}

TEST_F(Notifying, SinksMayGoWhileTheyAreCalled) {
    Add({0, 1, 2, 3});
    // b takes itself, the one before, and the one after out, and the last one in and out: it stands behind then.
    sinks[1]->action = [this] {
        for (const std::size_t i : {1u, 0u, 2u, 3u}) {
            EXPECT_TRUE(notifier.RemoveSink(*sinks[i]));
        }
        sinks[2].reset();
        EXPECT_TRUE(notifier.AddSink(*sinks[3]));
        EXPECT_EQ(notifier.GetSinkCount(), 1u);
    };
    EXPECT_EQ(Notify(1), "a1.b1.");
    EXPECT_EQ(Notify(2), "d2.");
}

TEST_F(Notifying, SinksMayComeWhileOthersAreCalled) {
    Add({0});
    // Enough of them that the places move in memory; none is called in this notification.
    sinks[0]->action = [this] { Add({1, 2, 3, 4, 5}); };
    EXPECT_EQ(Notify(1), "a1.");
    sinks[0]->action = nullptr;
    EXPECT_EQ(Notify(2), "a2.b2.c2.d2.e2.f2.");
}

TEST_F(Notifying, ANotificationWithinAnotherSeesWhatIsThereThen) {
    Add({0, 1, 2});
    sinks[1]->action = [this] {
        sinks[1]->action = nullptr;
        notifier.RemoveSink(*sinks[0]);
        Add({3});
        notifier.Notify(5, "-");
        notifier.RemoveSink(*sinks[2]);
    };
    EXPECT_EQ(Notify(1), "a1.b1.b5-c5-d5-");
    EXPECT_EQ(Notify(2), "b2.d2.");
}

TEST_F(Notifying, ARefusedSinkChangesNothing) {
    ZelkTest::FailAllocations(1);
    EXPECT_FALSE(notifier.AddSink(*sinks[0]));
    ZelkTest::FailAllocations(0);
    Add({0, 1, 2, 3});
    ZelkTest::FailAllocations(1);
    EXPECT_FALSE(notifier.AddSink(*sinks[4]));
    EXPECT_TRUE(notifier.RemoveSink(*sinks[1]));
    EXPECT_TRUE(notifier.AddSink(*sinks[4])); // In the place that is free now.
    EXPECT_EQ(Notify(0), "a0.c0.d0.e0.");
}
