#include <cstddef>
#include <zelk_core/os/stopwatch.h>
#include <zelk_core/os/time.h>

namespace Z4 {

template <>
struct Private::Layout<StopWatch> {
    static_assert(offsetof(StopWatch, m_start) == 0);
    static_assert(offsetof(StopWatch, m_cumulated) == 8);
    static_assert(offsetof(StopWatch, m_lastInterval) == 16);
    static_assert(offsetof(StopWatch, m_started) == 24);
    static_assert(sizeof(StopWatch) == 32);
};

StopWatch::StopWatch(bool start) : m_start(0), m_cumulated(0), m_lastInterval(0), m_started(false) {
    if (start) {
        Start();
    }
}

void StopWatch::Start() {
    m_start = Time::GetCpuCycle();
    m_started = true;
}

void StopWatch::Restart() {
    m_cumulated = 0;
    m_lastInterval = 0;
    m_started = false;
    Start();
}

void StopWatch::Stop() {
    m_lastInterval = GetElapsed(Time::GetCpuCycle());
    m_cumulated += m_lastInterval;
    m_started = false;
}

void StopWatch::Reset(std::uint64_t start) {
    m_start = start;
    m_started = false;
    m_cumulated = 0;
}

bool StopWatch::IsStarted() const {
    return m_started;
}

std::uint64_t StopWatch::GetElapsed(std::uint64_t now) const {
    if (!m_started) {
        return m_lastInterval;
    }
    return (now != 0 ? now : Time::GetCpuCycle()) - m_start;
}

std::uint64_t StopWatch::GetElapsedUSec() const {
    return Time::GetMicroSecFromCycles(GetElapsed(0));
}

std::uint64_t StopWatch::GetElapsedMs() const {
    return GetElapsedUSec() / 1000;
}

std::uint64_t StopWatch::GetCumul() const {
    return m_cumulated + (m_started ? GetElapsed(0) : 0);
}

std::uint64_t StopWatch::GetCumulUSec() const {
    return Time::GetMicroSecFromCycles(GetCumul());
}

std::uint64_t StopWatch::GetCumulMs() const {
    return GetCumulUSec() / 1000;
}

} // namespace Z4
