/// @file
/// Runs a small program of several threads under every schedule with at most so many preemptions.
///
/// The threads are fibers of one real thread, so exactly one runs at a time, and only a scheduling point can hand the
/// processor on. Where more than one thread can go on, the explorer takes each in turn, depth first, by running the
/// program again from its begin: with no preemption first, then with one, and so on. Handing on from a thread that
/// cannot go on costs nothing, so few preemptions reach most faults: iterative context bounding (Musuvathi and Qadeer,
/// "Iterative Context Bounding for Systematic Testing of Multithreaded Programs", 2007).
///
/// Scheduling points stand at operations on atomics and system objects only. For a program without data races that is
/// enough; that there are none is what the same exploration under ThreadSanitizer shows. Memory is sequentially
/// consistent here: what weaker orders let through, ThreadSanitizer reports as a race as well.
#pragma once

namespace Proof {

inline constexpr unsigned MAX_THREADS = 8;

using Entry = void (*)(void* argument);
/// Whether a waiting thread can go on; asked at any time, with no effects.
using Ready = bool (*)(const void* object);

/// Comes before whatever other threads can notice; `what` says for the report what that is, and must be a literal.
void Step(const char* what);

/// A Step() at which the thread cannot go on while `ready(object)` is false. With `mayWakeEarly` the wait can also end
/// without reason, at the price of a preemption.
void BlockUntil(const char* what, Ready ready, const void* object, bool mayWakeEarly = false);

/// Tells that the thread spins: its next scheduling point hands the processor to the next thread that can go on,
/// whichever it is, at no price. The processor's spin-wait hint stands for this too.
void Pause();

/// One of `count` outcomes that the system leaves open; each is explored.
unsigned Choose(unsigned count);

/// Starts a thread, which does not begin before `ready(object)`, if there is such. The first thread of a scenario is 0.
/// @return its number.
unsigned Start(Entry entry, void* argument, Ready ready = nullptr, const void* object = nullptr);

/// Has the calling thread call `entry(argument)` after its own entry has returned and before it counts as ended.
void AtThreadExit(Entry entry, void* argument);

unsigned Self();
bool HasEnded(unsigned thread);
/// Waits for the thread's end.
void Join(unsigned thread);
/// Of this run of the program; differs from that of all runs before.
unsigned long Run();

/// Ends the exploration with a report of the fault and of the schedule that led to it.
[[noreturn]] void Fail(const char* fault);

inline void Check(bool condition, const char* fault) {
    if (!condition) {
        Fail(fault);
    }
}

/// What the stand-in system (see standin/) does before and after each run: its objects are forgotten; what was left
/// open fails.
void ResetSystem();
void CheckSystem();

/// A program to explore, written as `PROOF_SCENARIO(Name, 3, SOUND) { ... }`. The block is its first thread, which
/// makes others as Fork objects or by the library. It runs very often: it must do the same every time but for the
/// schedule, and leave every global of the library as it found it. Three preemptions are usual, two where three take
/// too long.
struct Scenario {
    enum Kind {
        SOUND, ///< keeps all contracts
        /// breaks one whose results are defined all the same, by a benign race: not for ThreadSanitizer
        MISUSE,
    };

    Scenario(const char* theName, unsigned thePreemptions, Kind theKind, void (*theProgram)());

    const char* name;
    unsigned preemptions; ///< bound of the exploration
    Kind kind;
    void (*program)();
    Scenario* next;
};

#define PROOF_SCENARIO(name, preemptions, kind)                                                 \
    static void name();                                                                         \
    static ::Proof::Scenario name##Scenario(#name, preemptions, ::Proof::Scenario::kind, name); \
    static void name()

/// A thread of the scenario's own that calls `function()`; joined at the end of its scope.
template <class Function>
class Fork {
public:
    explicit Fork(Function function) : m_function(function), m_thread(Start(Call, this)) {}
    ~Fork() { Join(); }
    Fork(const Fork&) = delete;
    Fork& operator=(const Fork&) = delete;

    void Join() { Proof::Join(m_thread); }

private:
    static void Call(void* self) { static_cast<Fork*>(self)->m_function(); }

    Function m_function;
    unsigned m_thread;
};

} // namespace Proof
