// Built without sanitizers, whatever the rest is built with: it leaves stacks of ended fibers behind as they are, and
// the fibers' use of its variables is no race.
#include <proof/explorer.h>
#include <proof/host.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sanitizer/common_interface_defs.h>
#include <sys/mman.h>
#include <unistd.h>

#if defined(PROOF_THREAD_SANITIZER)
#    include <sanitizer/tsan_interface.h>
extern "C" const char* __tsan_default_options();
extern "C" const char* __tsan_default_options() {
    return "halt_on_error=1:ignore_interceptors_accesses=1";
}
#endif

extern "C" {
/// Saves the caller's registers on its stack and the stack's pointer in `*from`, and goes on where `to` was saved.
void ProofSwitchStack(void** from, void* to);
/// What a call of a pure virtual function comes to.
[[noreturn]] void __cxa_pure_virtual();
}

asm(R"(
.text
.globl ProofSwitchStack
.type ProofSwitchStack, @function
ProofSwitchStack:
    push %rbp
    push %rbx
    push %r12
    push %r13
    push %r14
    push %r15
    mov %rsp, (%rdi)
    mov %rsi, %rsp
    pop %r15
    pop %r14
    pop %r13
    pop %r12
    pop %rbx
    pop %rbp
    ret
.size ProofSwitchStack, . - ProofSwitchStack
)");

void __cxa_pure_virtual() {
    Proof::Fail("pure virtual call");
}

namespace Proof {

namespace {

constexpr std::size_t STACK_SIZE = 256 * 1024;
constexpr unsigned MAX_CHOICES = 4000;
constexpr unsigned MAX_STEPS = 20000; ///< in one run; more is taken for threads that spin for ever
constexpr unsigned STEPS_REPORTED = 100;

/// Happens-before edges for ThreadSanitizer, and its view of which fiber runs.
namespace Sanitizer {
#if defined(PROOF_THREAD_SANITIZER)
constexpr bool TELLS_RACES = true;
void* ThisFiber() {
    return __tsan_get_current_fiber();
}
void* CreateFiber() {
    return __tsan_create_fiber(0);
}
void Switch(void* fiber) {
    __tsan_switch_to_fiber(fiber, __tsan_switch_to_fiber_no_sync);
}
void Release(void* place) {
    __tsan_release(place);
}
void Acquire(void* place) {
    __tsan_acquire(place);
}
#else
constexpr bool TELLS_RACES = false;
void* ThisFiber() {
    return nullptr;
}
void* CreateFiber() {
    return nullptr;
}
void Switch(void*) {}
void Release(void*) {}
void Acquire(void*) {}
#endif
} // namespace Sanitizer

struct Fiber {
    void* stackPointer;
    char* stack; ///< kept from run to run, as is the next
    void* sanitizerFiber;
    Entry entry;
    void* argument;
    Entry atExit;
    void* exitArgument;
    Ready ready; ///< null while the thread can go on
    const void* object;
    const char* what;
    bool mayWakeEarly;
    bool pausing;
    bool ended;
    char begun; ///< places of the happens-before edges at start and end
    alignas(8) char done;
};

struct Choice {
    unsigned taken;
    unsigned count;
};

struct StepTaken {
    unsigned thread;
    const char* what;
};

Scenario* g_scenarios = nullptr;
const Scenario* g_scenario = nullptr;
unsigned long g_run = 0;

Fiber g_fibers[MAX_THREADS];
Fiber g_explorer; ///< the real thread's own stack
unsigned g_fiberCount = 0;
unsigned g_self = 0;

unsigned g_bound = 0;
unsigned g_preemptions = 0;
Choice g_choices[MAX_CHOICES];
unsigned g_choiceCount = 0;
unsigned g_nextChoice = 0;
StepTaken g_steps[MAX_STEPS];
unsigned g_stepCount = 0;

bool IsReady(const Fiber& fiber) {
    return !fiber.ended && (fiber.ready == nullptr || fiber.ready(fiber.object));
}

void Report() {
    if (g_scenario == nullptr) {
        return;
    }
    std::fprintf(stderr, "  in %s, with %u of at most %u preemptions, run %lu; the last steps were\n", g_scenario->name,
                 g_preemptions, g_bound, g_run);
    unsigned thread = MAX_THREADS;
    for (unsigned i = g_stepCount > STEPS_REPORTED ? g_stepCount - STEPS_REPORTED : 0; i < g_stepCount; ++i) {
        if (g_steps[i].thread != thread) {
            thread = g_steps[i].thread;
            std::fprintf(stderr, "    thread %u\n", thread);
        }
        std::fprintf(stderr, "      %s\n", g_steps[i].what);
    }
}

void SwitchTo(Fiber& from, Fiber& to) {
    Sanitizer::Switch(to.sanitizerFiber);
    ProofSwitchStack(&from.stackPointer, to.stackPointer);
}

[[noreturn]] void FailByDeadlock() {
    for (unsigned i = 0; i < g_fiberCount; ++i) {
        if (!g_fibers[i].ended) {
            std::fprintf(stderr, "thread %u waits: %s\n", i, g_fibers[i].what);
        }
    }
    Fail("deadlock");
}

/// Spinning threads take turns in a ring, which is fair and leaves nothing to choose.
unsigned NextAfterPause() {
    for (unsigned distance = 1; distance < g_fiberCount; ++distance) {
        const unsigned candidate = (g_self + distance) % g_fiberCount;
        if (IsReady(g_fibers[candidate])) {
            return candidate;
        }
    }
    return g_self;
}

unsigned ChooseNext(bool selfReady) {
    const bool mayPreempt = g_preemptions < g_bound;
    unsigned options[MAX_THREADS];
    unsigned count = 0;
    if (selfReady) {
        options[count++] = g_self;
    }
    for (unsigned i = 0; i < g_fiberCount; ++i) {
        if (i != g_self && (!selfReady || mayPreempt) && IsReady(g_fibers[i])) {
            options[count++] = i;
        }
    }
    if (count == 0) {
        FailByDeadlock();
    }
    for (unsigned i = 0; i < g_fiberCount; ++i) {
        if (mayPreempt && g_fibers[i].mayWakeEarly && !IsReady(g_fibers[i])) {
            options[count++] = i;
        }
    }
    const unsigned chosen = options[Choose(count)];
    if ((selfReady && chosen != g_self) || !IsReady(g_fibers[chosen])) {
        ++g_preemptions;
    }
    return chosen;
}

bool AllEnded() {
    for (unsigned i = 0; i < g_fiberCount; ++i) {
        if (!g_fibers[i].ended) {
            return false;
        }
    }
    return true;
}

/// Hands the processor to whoever is next, perhaps the caller itself.
void Reschedule() {
    Fiber& self = g_fibers[g_self];
    if (self.ended && AllEnded()) {
        SwitchTo(self, g_explorer);
    }
    const bool selfReady = IsReady(self);
    g_self = selfReady && self.pausing ? NextAfterPause() : ChooseNext(selfReady);
    self.pausing = false;
    if (&g_fibers[g_self] != &self) {
        SwitchTo(self, g_fibers[g_self]);
    }
    if (g_stepCount == MAX_STEPS) {
        Fail("livelock: the threads spin for ever");
    }
    g_steps[g_stepCount++] = {g_self, g_fibers[g_self].what};
}

/// The first function of each fiber, which never returns.
void RunFiber() {
    Fiber& self = g_fibers[g_self];
    self.ready = nullptr;
    self.mayWakeEarly = false;
    Sanitizer::Acquire(&self.begun);
    self.entry(self.argument);
    if (self.atExit != nullptr) {
        self.atExit(self.exitArgument);
    }
    Sanitizer::Release(&self.done);
    self.ended = true;
    Reschedule();
    std::abort();
}

void PrepareStack(Fiber& fiber) {
    if (fiber.stack == nullptr) {
        fiber.stack =
            static_cast<char*>(mmap(nullptr, STACK_SIZE, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
        fiber.sanitizerFiber = Sanitizer::CreateFiber();
    }
    // As if ProofSwitchStack() had been called from the begin of RunFiber(): six registers, and where to return to.
    // There the stack is aligned as at every function's entry, 8 bytes off a multiple of 16.
    constexpr unsigned SAVED_REGISTERS = 6;
    void** const top = reinterpret_cast<void**>(fiber.stack + STACK_SIZE) - 2;
    *top = reinterpret_cast<void*>(RunFiber);
    fiber.stackPointer = top - SAVED_REGISTERS;
}

void RunScenario(void*) {
    g_scenario->program();
}

void RunOnce() {
    ++g_run;
    g_fiberCount = 0;
    g_preemptions = 0;
    g_nextChoice = 0;
    g_stepCount = 0;
    ResetSystem();
    g_self = Start(RunScenario, nullptr);
    SwitchTo(g_explorer, g_fibers[g_self]);
    for (unsigned i = 0; i < g_fiberCount; ++i) {
        Sanitizer::Acquire(&g_fibers[i].done);
    }
    CheckSystem();
    CheckHost();
}

/// Moves on to the next sequence of choices; false after the last.
bool AdvanceChoices() {
    while (g_choiceCount != 0 && g_choices[g_choiceCount - 1].taken + 1 == g_choices[g_choiceCount - 1].count) {
        --g_choiceCount;
    }
    if (g_choiceCount == 0) {
        return false;
    }
    ++g_choices[g_choiceCount - 1].taken;
    return true;
}

void Explore(const Scenario& scenario) {
    const auto begin = std::chrono::steady_clock::now();
    g_scenario = &scenario;
    unsigned long runs = 0;
    for (g_bound = 0; g_bound <= scenario.preemptions; ++g_bound) {
        do {
            RunOnce();
            ++runs;
        } while (AdvanceChoices());
    }
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - begin;
    std::printf("%-48s %u preemptions %9lu runs %6.1f s\n", scenario.name, scenario.preemptions, runs, seconds.count());
    std::fflush(stdout);
    g_scenario = nullptr;
}

bool IsWanted(const Scenario& scenario, int count, char** names) {
    for (int i = 0; i < count; ++i) {
        if (std::strcmp(scenario.name, names[i]) == 0) {
            return true;
        }
    }
    return count == 0;
}

} // namespace

void Step(const char* what) {
    Fiber& self = g_fibers[g_self];
    self.what = what;
    Reschedule();
}

void BlockUntil(const char* what, Ready ready, const void* object, bool mayWakeEarly) {
    Fiber& self = g_fibers[g_self];
    self.what = what;
    self.ready = ready;
    self.object = object;
    self.mayWakeEarly = mayWakeEarly;
    Reschedule();
    self.ready = nullptr;
    self.mayWakeEarly = false;
}

void Pause() {
    g_fibers[g_self].pausing = true;
}

unsigned Choose(unsigned count) {
    if (count <= 1) {
        return 0;
    }
    if (g_nextChoice == g_choiceCount) {
        if (g_choiceCount == MAX_CHOICES) {
            Fail("too many choices in one run");
        }
        g_choices[g_choiceCount++] = {0, count};
    }
    const Choice& choice = g_choices[g_nextChoice++];
    if (choice.count != count) {
        Fail("the scenario runs differently when it is repeated");
    }
    return choice.taken;
}

unsigned Start(Entry entry, void* argument, Ready ready, const void* object) {
    if (g_fiberCount == MAX_THREADS) {
        Fail("too many threads");
    }
    Fiber& fiber = g_fibers[g_fiberCount];
    fiber.entry = entry;
    fiber.argument = argument;
    fiber.atExit = nullptr;
    fiber.ready = ready;
    fiber.object = object;
    fiber.what = "begin";
    fiber.mayWakeEarly = false;
    fiber.pausing = false;
    fiber.ended = false;
    PrepareStack(fiber);
    Sanitizer::Release(&fiber.begun);
    return g_fiberCount++;
}

void AtThreadExit(Entry entry, void* argument) {
    g_fibers[g_self].atExit = entry;
    g_fibers[g_self].exitArgument = argument;
}

unsigned Self() {
    return g_self;
}

bool HasEnded(unsigned thread) {
    return g_fibers[thread].ended;
}

void Join(unsigned thread) {
    BlockUntil(
        "wait for a thread's end", [](const void* fiber) { return static_cast<const Fiber*>(fiber)->ended; },
        &g_fibers[thread]);
    Sanitizer::Acquire(&g_fibers[thread].done);
}

unsigned long Run() {
    return g_run;
}

void Fail(const char* fault) {
    std::fprintf(stderr, "FAULT: %s\n", fault);
    Report();
    // No sanitizer's last words, which would be about stacks that nobody unwinds.
    _exit(1);
}

Scenario::Scenario(const char* theName, unsigned thePreemptions, Kind theKind, void (*theProgram)())
    : name(theName), preemptions(thePreemptions), kind(theKind), program(theProgram), next(g_scenarios) {
    g_scenarios = this;
}

} // namespace Proof

/// Explores the scenarios of the given names, or all.
int main(int argc, char** argv) {
    using namespace Proof;
    __sanitizer_set_death_callback(Report);
    g_explorer.sanitizerFiber = Sanitizer::ThisFiber();
    InstallHost();
    unsigned explored = 0;
    for (const Scenario* scenario = g_scenarios; scenario != nullptr; scenario = scenario->next) {
        if (IsWanted(*scenario, argc - 1, argv + 1) &&
            !(Sanitizer::TELLS_RACES && scenario->kind == Scenario::MISUSE)) {
            Explore(*scenario);
            ++explored;
        }
    }
    return explored != 0 ? 0 : 2;
}
