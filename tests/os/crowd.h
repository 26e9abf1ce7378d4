// Threads that do one thing together, and the time that a wait took.
#pragma once

#include <windows.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <gtest/gtest.h>
#include <thread>
#include <utility>
#include <vector>

namespace ZelkTest {

/// Runs `body(index)` on `threads` threads that start together, and returns when all are done.
template <class Body>
void RunCrowd(unsigned threads, Body body) {
    // Not std::barrier, which on this platform now and then leaves a thread asleep.
    std::atomic<unsigned> missing = threads;
    std::vector<std::thread> crowd;
    for (unsigned index = 0; index < threads; ++index) {
        crowd.emplace_back([&, index] {
            --missing;
            while (missing != 0) {
                std::this_thread::yield();
            }
            body(index);
        });
    }
    for (std::thread& thread : crowd) {
        thread.join();
    }
}

/// A thread that does one step at a time.
class Actor {
public:
    using Step = std::function<void()>;

    Actor() : m_thread([this] { Act(); }) {
        Does([] {});
    }
    ~Actor() {
        Begin(nullptr);
        m_thread.join();
        CloseHandle(m_begun);
        CloseHandle(m_done);
    }
    Actor(const Actor&) = delete;
    Actor& operator=(const Actor&) = delete;

    /// Returns when the thread has done `step`.
    void Does(Step step) {
        Begin(std::move(step));
        Proceeds();
    }
    /// Lets the thread do `step`, which must not return for now.
    void Waits(Step step) {
        Begin(std::move(step));
        while (!m_isAtIt) {
            Sleep(0);
        }
        EXPECT_EQ(WaitForSingleObject(m_done, 20), static_cast<DWORD>(WAIT_TIMEOUT)) << "a step that must wait returns";
    }
    /// Returns when the step that waited has returned, as it must now.
    void Proceeds() {
        if (WaitForSingleObject(m_done, 30'000) != WAIT_OBJECT_0) {
            std::fputs("a step does not return\n", stderr);
            std::abort();
        }
    }

private:
    void Begin(Step step) {
        ResetEvent(m_done);
        m_isAtIt = false;
        m_step = std::move(step);
        SetEvent(m_begun);
    }
    void Act() {
        while (WaitForSingleObject(m_begun, INFINITE) == WAIT_OBJECT_0 && m_step != nullptr) {
            m_isAtIt = true;
            m_step();
            SetEvent(m_done);
        }
    }

    HANDLE m_begun = CreateEventA(nullptr, FALSE, FALSE, nullptr);
    HANDLE m_done = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    Step m_step;
    std::atomic<bool> m_isAtIt = false;
    std::thread m_thread;
};

/// Tells whether a wait was at least as long as it should have been. Some systems count waits in ticks of their own,
/// and seen by a finer clock such a wait can end early; so it may be long enough by either clock.
class WaitClock {
public:
    bool HasPassed(unsigned long ms) const {
        const auto passed = std::chrono::steady_clock::now() - m_begin;
        return passed >= std::chrono::milliseconds(ms) || GetTickCount64() - m_beginTicks >= ms;
    }

private:
    std::chrono::steady_clock::time_point m_begin = std::chrono::steady_clock::now();
    ULONGLONG m_beginTicks = GetTickCount64();
};

} // namespace ZelkTest
