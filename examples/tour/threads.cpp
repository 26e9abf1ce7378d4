// Worker threads read the file's lines together: one tally under a reader-writer lock, two rounds with a barrier
// between.
#include "tour.h"

#include <algorithm>
#include <deque>
#include <sstream>
#include <vector>
#include <zelk_core/zelk_core.h>

namespace {

struct Tally {
    unsigned lines = 0;
    unsigned words = 0;
    std::size_t longest = 0;
    unsigned longLines = 0; ///< of at least half the longest, which only the second round can know
};

struct Work {
    std::vector<std::string> lines;
    unsigned next = 0; ///< the line that the next free worker takes
    Tally tally;
    Z4::RWLock tallyLock;
    Z4::ThreadBarrier roundEnded;

    Work(const std::string& content, unsigned workers) : roundEnded(workers, "round of the tour's workers") {
        std::istringstream text(content);
        for (std::string line; std::getline(text, line);) {
            lines.push_back(line);
        }
    }
};

unsigned CountWords(const std::string& line) {
    std::istringstream text(line);
    unsigned words = 0;
    for (std::string word; text >> word;) {
        ++words;
    }
    return words;
}

class Worker : public Z4::Thread {
public:
    explicit Worker(Work& work) : m_work(work) {}

    void Run() override {
        Z4::StopWatch watch(true);
        ForEachLine([this](const std::string& line) {
            const unsigned words = CountWords(line);
            const Z4::AutoWriterLock guard(m_work.tallyLock);
            m_work.tally.lines += 1;
            m_work.tally.words += words;
            m_work.tally.longest = std::max(m_work.tally.longest, line.size());
        });
        if (m_work.roundEnded.Wait()) {
            m_work.next = 0; // Only the last to arrive comes here; the others start the second round at the next Wait.
        }
        m_work.roundEnded.Wait();
        ForEachLine([this](const std::string& line) {
            bool isLong = false;
            {
                const Z4::AutoReaderLock guard(m_work.tallyLock);
                isLong = !line.empty() && 2 * line.size() >= m_work.tally.longest;
            }
            if (isLong) {
                Z4::Atomic::Increment(m_work.tally.longLines);
            }
        });
        watch.Stop();
        m_microseconds = watch.GetElapsedUSec();
    }

    unsigned LinesTaken() const { return m_linesTaken; }
    unsigned long long Microseconds() const { return m_microseconds; }

private:
    template <class Function>
    void ForEachLine(Function function) {
        const auto count = static_cast<unsigned>(m_work.lines.size());
        for (unsigned i = 0; (i = Z4::Atomic::PostIncrement(m_work.next)) < count;) {
            function(m_work.lines[i]);
            ++m_linesTaken;
        }
    }

    Work& m_work;
    unsigned m_linesTaken = 0;
    unsigned long long m_microseconds = 0;
};

} // namespace

void TourThreads(const std::string& content) {
    constexpr unsigned WORKERS = 4;
    Chapter("os", "worker threads, a barrier and a reader-writer lock over the file's lines");
    Work work(content, WORKERS);
    Z4::StopWatch watch(true);
    std::deque<Worker> workers;
    for (unsigned i = 0; i < WORKERS; ++i) {
        Worker& worker = workers.emplace_back(work);
        char name[16];
        Z4::StrFormat::snprintf(name, sizeof(name), "worker %u", i + 1);
        worker.SetThreadName(name);
        const Z4::Error created = worker.CreateThread();
        if (created != Z4::ERR_OK) {
            Print("   %-24s %s\n", name, Z4::GetErrorString(created));
        }
    }
    for (Worker& worker : workers) {
        const Z4::Error result = worker.JoinThread();
        Print("   %-24s took %4u lines in %6llu us: %s\n", worker.GetThreadName(), worker.LinesTaken(),
              worker.Microseconds(), Z4::GetErrorString(result));
    }
    watch.Stop();
    Print("   %-24s %u lines, %u words, %u lines at least half as long as the longest (%u bytes)\n", "together",
          work.tally.lines, work.tally.words, work.tally.longLines, static_cast<unsigned>(work.tally.longest));
    Print("   %-24s %llu us, with the threads' creation\n", "time", watch.GetElapsedUSec());
}
