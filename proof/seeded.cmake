# Faults that are put into copies of the sources, to see that the exploration finds them. One that is not found fails
# the proof. When a source has changed, so that a fault's text is not there any more, configuring says so: give the
# fault the text that has taken the place of the old one.

# A program with the fault in it, and the test that runs one scenario on it.
#   FILE         the source or header below zelk_core/ that gets the fault
#   TEXT         what stands there
#   REPLACEMENT  the fault
#   SOURCES      for a header: what is compiled anew with it, below the checkout, with all scenarios that are needed
#   SANITIZER    under which the fault is found: address or thread
#   SCENARIO     which finds it
#   FOUND        a regular expression of the report
function(zelk_seeded_fault name)
    cmake_parse_arguments(PARSE_ARGV 1 seed "" "FILE;TEXT;REPLACEMENT;SANITIZER;SCENARIO;FOUND" "SOURCES")
    set(original ${PROJECT_SOURCE_DIR}/zelk_core/${seed_FILE})
    set(folder ${CMAKE_CURRENT_BINARY_DIR}/seeded/${name})
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${original})
    file(READ ${original} content)
    string(FIND "${content}" "${seed_TEXT}" place)
    if(place EQUAL -1)
        message(FATAL_ERROR "The seeded fault ${name} finds its text in ${seed_FILE} no more.")
    endif()
    string(REPLACE "${seed_TEXT}" "${seed_REPLACEMENT}" content "${content}")
    file(GENERATE OUTPUT ${folder}/zelk_core/${seed_FILE} CONTENT "${content}")

    if(seed_SOURCES)
        list(TRANSFORM seed_SOURCES PREPEND ${PROJECT_SOURCE_DIR}/)
    else()
        set(seed_SOURCES ${folder}/zelk_core/${seed_FILE} $<TARGET_OBJECTS:scenarios_${seed_SANITIZER}>)
    endif()
    add_executable(seeded_${name} ${seed_SOURCES} $<TARGET_OBJECTS:explorer_${seed_SANITIZER}>)
    target_include_directories(seeded_${name} BEFORE PRIVATE ${folder})
    target_compile_options(seeded_${name} PRIVATE -w)
    target_link_libraries(seeded_${name}
        PRIVATE proved_${seed_SANITIZER} zelk_dll_flags proof_${seed_SANITIZER}_flags)
    add_test(NAME seeded_${name} COMMAND seeded_${name} ${seed_SCENARIO})
    set_tests_properties(seeded_${name} PROPERTIES PASS_REGULAR_EXPRESSION "${seed_FOUND}" TIMEOUT 120)
endfunction()

zelk_seeded_fault(start_lets_others_pass
    FILE base/private/startcount.h
    TEXT "            start();"
    REPLACEMENT "            Unlock(); start(); Lock();"
    SOURCES proof/lifecycle_scenarios.cpp zelk_core/base/private/core.cpp zelk_core/os/private/lifecycle.cpp
    SANITIZER address SCENARIO OsServiceOfTwoThreads FOUND "FAULT: ")

zelk_seeded_fault(stop_lets_others_pass
    FILE base/private/startcount.h
    TEXT "            stop();"
    REPLACEMENT "            Unlock(); stop(); Lock();"
    SOURCES proof/lifecycle_scenarios.cpp zelk_core/base/private/core.cpp zelk_core/os/private/lifecycle.cpp
    SANITIZER address SCENARIO OsServiceOfTwoThreads FOUND "FAULT: ")

zelk_seeded_fault(start_count_releases_nothing
    FILE base/private/startcount.h
    TEXT "store(false, std::memory_order_release)"
    REPLACEMENT "store(false, std::memory_order_relaxed)"
    SOURCES proof/lifecycle_scenarios.cpp zelk_core/base/private/core.cpp zelk_core/os/private/lifecycle.cpp
    SANITIZER thread SCENARIO OsServiceBesideAnotherPair FOUND "ThreadSanitizer: data race")

# An atomic count of its own does not order the calls of the host that follow from it.
zelk_seeded_fault(core_count_is_atomic_only
    FILE base/private/core.cpp
    TEXT "constinit StartCount g_coreUsers;"
    REPLACEMENT "struct {
        std::atomic<unsigned> count{0};
        template <class F> void Take(F f) { if (count.fetch_add(1) == 0) f(); }
        template <class F> void Release(F f) { if (count.fetch_sub(1) == 1) f(); }
    } g_coreUsers;"
    SANITIZER address SCENARIO OsServiceBesideAnotherPair FOUND "FAULT: a host table's init and shutdown do not alternate")

zelk_seeded_fault(barrier_trusts_a_wake_up
    FILE os/private/threadbarrier.cpp
    TEXT [=[while (m_generation == generation)]=]
    REPLACEMENT [=[if (m_generation == generation)]=]
    SANITIZER address SCENARIO BarrierGoesWithItsLastLeaver FOUND "FAULT: ")

zelk_seeded_fault(barrier_sleeps_into_the_next_round
    FILE os/private/threadbarrier.cpp
    TEXT [=[while (m_generation == generation)]=]
    REPLACEMENT [=[while (m_arrivedCount != 0)]=]
    SANITIZER address SCENARIO BarrierGoesWithItsLastLeaver FOUND "FAULT: deadlock")

zelk_seeded_fault(rwlock_reader_queues_again
    FILE os/private/rwlock.cpp
    TEXT [=[
    ++holding->count;
    return true;
]=]
    REPLACEMENT [=[
    return false;
]=]
    SANITIZER address SCENARIO RWLockSharesAndExcludes FOUND "FAULT: deadlock")

zelk_seeded_fault(rwlock_forgets_its_writer_late
    FILE os/private/rwlock.cpp
    TEXT [=[
        WriterId(m_writerId).store(NO_WRITER, std::memory_order_relaxed);
        ReleaseSRWLockExclusive(SlimLock(m_lock));
]=]
    REPLACEMENT [=[
        ReleaseSRWLockExclusive(SlimLock(m_lock));
        WriterId(m_writerId).store(NO_WRITER, std::memory_order_relaxed);
]=]
    SANITIZER address SCENARIO RWLockSharesAndExcludes FOUND "FAULT: deadlock")

zelk_seeded_fault(spinlock_tests_then_sets
    FILE os/spinlock.h
    TEXT [=[
        unsigned long expected = FREE;
        return State().compare_exchange_strong(expected, HELD);
]=]
    REPLACEMENT [=[
        State().store(HELD, std::memory_order_seq_cst);
        return true;
]=]
    SOURCES proof/lock_scenarios.cpp
    SANITIZER address SCENARIO SpinLockExcludes FOUND "two threads are in a lock at once")

zelk_seeded_fault(spinlock_releases_nothing
    FILE os/spinlock.h
    TEXT [=[store(FREE, std::memory_order_release)]=]
    REPLACEMENT [=[store(FREE, std::memory_order_relaxed)]=]
    SOURCES proof/lock_scenarios.cpp
    SANITIZER thread SCENARIO SpinLockExcludes FOUND "ThreadSanitizer: data race")

zelk_seeded_fault(singleton_publishes_without_order
    FILE base/private/singleton.h
    TEXT [=[state.exchange(reinterpret_cast<std::uintptr_t>(object));]=]
    REPLACEMENT [=[state.store(reinterpret_cast<std::uintptr_t>(object), std::memory_order_relaxed);]=]
    SOURCES proof/lifecycle_scenarios.cpp
    SANITIZER thread SCENARIO SingletonOfThreeThreads FOUND "ThreadSanitizer: data race")

zelk_seeded_fault(singleton_is_claimed_in_two_steps
    FILE base/private/singleton.h
    TEXT [=[if (state.compare_exchange_strong(found, SINGLETON_BEING_CREATED)) {]=]
    REPLACEMENT [=[if ((found = state.load()) == SINGLETON_NONE) { state.store(SINGLETON_BEING_CREATED);]=]
    SOURCES proof/lifecycle_scenarios.cpp
    SANITIZER address SCENARIO SingletonOfThreeThreads FOUND "a singleton is (made twice|seen before it is complete)")

# Both kinds of thread have the life of one header.
set(thread_life
    FILE os/private/threadlife.h
    SOURCES proof/thread_scenarios.cpp zelk_core/os/private/thread.cpp zelk_core/os/private/threadsettings.cpp
        zelk_core/eal_utils/private/ealthread.cpp)

zelk_seeded_fault(thread_resumed_in_silence ${thread_life}
    TEXT [=[
        thread.m_startSuspended = false;
        thread.m_monitor.WakeAll();
]=]
    REPLACEMENT [=[
        thread.m_startSuspended = false;
]=]
    SANITIZER address SCENARIO ThreadOfSystemResumedWhileOthersWait FOUND "FAULT: deadlock")

zelk_seeded_fault(thread_ends_without_its_lock ${thread_life}
    TEXT [=[
        const Guard guard(thread.m_monitor);
        SetStateHeld(thread, Thread::THREAD_ENDED);
]=]
    REPLACEMENT [=[
        SetStateHeld(thread, Thread::THREAD_ENDED);
]=]
    SANITIZER thread SCENARIO ThreadOfSystemAskedWhileJoined FOUND "ThreadSanitizer: data race")

zelk_seeded_fault(thread_detached_comes_back_to_its_object
    FILE os/private/thread.cpp
    TEXT [=[
        const Private::DetachedRun run(thread);
        Life::CallRun(thread);
        return;
]=]
    REPLACEMENT ""
    SANITIZER address SCENARIO DetachedThreadDestroysItself FOUND "heap-use-after-free")

zelk_seeded_fault(thread_runs_before_its_handle_stands
    FILE os/private/nativethread_ms.cpp
    TEXT [=[
    threadId = id;
    handle = attributes.detached ? nullptr : thread;
    ResumeThread(thread);
]=]
    REPLACEMENT [=[
    ResumeThread(thread);
    threadId = id;
    handle = attributes.detached ? nullptr : thread;
]=]
    SANITIZER address SCENARIO NativeThreadFindsItsOwnHandle FOUND "a new thread finds no handle")

zelk_seeded_fault(thread_run_is_pure
    FILE os/thread.h
    TEXT "    virtual void Run() {"
    REPLACEMENT "    virtual void Run() = 0; void NoRun() {"
    SOURCES proof/thread_scenarios.cpp
    SANITIZER address SCENARIO ThreadOfSystemDestroyedWithoutJoin FOUND "FAULT: pure virtual call")

zelk_seeded_fault(thread_after_run_is_a_stranger_to_itself ${thread_life}
    TEXT "return thread.m_threadId == GetCurrentThreadId() ? ERR_UNREACHABLE"
    REPLACEMENT "return IsLiveHeld(thread) && thread.m_threadId == GetCurrentThreadId() ? ERR_UNREACHABLE"
    SANITIZER address SCENARIO ThreadOfSystemJoinsItselfAtExit FOUND "FAULT: ")

foreach(kind System Host)
    zelk_seeded_fault(thread_of_${kind}_is_waited_for_with_its_lock_held ${thread_life}
        TEXT [=[
        thread.m_monitor.Unlock();
        const Error result = Kind::WaitForEnd(thread);
        thread.m_monitor.Lock();
]=]
        REPLACEMENT [=[
        const Error result = Kind::WaitForEnd(thread);
]=]
        SANITIZER address SCENARIO ThreadOf${kind}AskedWhileJoined FOUND "FAULT: deadlock")

    zelk_seeded_fault(thread_of_${kind}_is_joined_by_two_at_once ${thread_life}
        TEXT "(thread.m_state != Thread::THREAD_ENDED || thread.m_joining)"
        REPLACEMENT "thread.m_state != Thread::THREAD_ENDED"
        SANITIZER address SCENARIO ThreadOf${kind}JoinedTwice FOUND "AddressSanitizer|FAULT: ")
endforeach()

zelk_seeded_fault(ealthread_run_is_pure
    FILE eal_utils/ealthread.h
    TEXT "    virtual void Run() {"
    REPLACEMENT "    virtual void Run() = 0; void NoRun() {"
    SOURCES proof/thread_scenarios.cpp
    SANITIZER address SCENARIO ThreadOfHostDestroyedWithoutJoin FOUND "FAULT: pure virtual call")

zelk_seeded_fault(observer_is_removed_without_waiting
    FILE services/dbghelp/observertable.h
    TEXT "while (IsOtherInside(number, callingThread))"
    REPLACEMENT "while (false)"
    SOURCES proof/observer_scenarios.cpp
    SANITIZER address SCENARIO ObserverGoesWhileItIsCalled FOUND "heap-use-after-free")

zelk_seeded_fault(observer_end_wakes_nobody
    FILE services/dbghelp/observertable.h
    TEXT "            m_monitor.WakeAll();"
    REPLACEMENT ""
    SOURCES proof/observer_scenarios.cpp
    SANITIZER address SCENARIO ObserverGoesWhileItIsCalled FOUND "FAULT: deadlock")

zelk_seeded_fault(observer_removal_skips_the_next
    FILE services/dbghelp/observertable.h
    TEXT "cursor->next -= index < cursor->next ? 1 : 0;"
    REPLACEMENT ""
    SOURCES proof/observer_scenarios.cpp
    SANITIZER address SCENARIO ObserverGoesWhileItIsCalled FOUND "FAULT: an observer is skipped")

zelk_seeded_fault(range_is_freed_while_it_is_read
    FILE services/dbghelp/private/rangetable.h
    TEXT "retired = m_retired.TakeUnused();"
    REPLACEMENT "retired = m_retired.TakeAll();"
    SOURCES proof/rangetable_scenarios.cpp
    SANITIZER address SCENARIO RangeIsReplacedWhileItIsRead FOUND "heap-use-after-free")

zelk_seeded_fault(range_reader_counts_itself_too_late
    FILE services/dbghelp/private/rangetable.h
    TEXT "        const unsigned count = m_retired.Enter();
        bool result = false;
        const unsigned end = m_end.load();"
    REPLACEMENT "        bool result = false;
        const unsigned end = m_end.load();
        const Entry* const early = m_entries[0].load();
        if (early != nullptr && address - early->base < early->size) return read(*early);
        const unsigned count = m_retired.Enter();"
    SOURCES proof/rangetable_scenarios.cpp
    SANITIZER address SCENARIO RangeIsDroppedWhileItIsRead FOUND "heap-use-after-free")

# Readers of the modules: a change that they cannot notice, a look that is not repeated, blocks that are freed too early,
# and a wait that misses those of one count.
set(module_scenario SOURCES proof/module_scenarios.cpp SANITIZER address FOUND "FAULT: |AddressSanitizer")
zelk_seeded_fault(modules_change_unmarked
    FILE services/dbghelp/private/sequencetable.h
    TEXT "m_table.m_sequence.load(std::memory_order_relaxed) + 1"
    REPLACEMENT "m_table.m_sequence.load(std::memory_order_relaxed)"
    SCENARIO TailBelongsToItsRecord ${module_scenario})

zelk_seeded_fault(modules_are_looked_at_once
    FILE services/dbghelp/private/sequencetable.h
    TEXT "if (m_sequence.load(std::memory_order_relaxed) == before) {"
    REPLACEMENT "if (true) {"
    SCENARIO TailBelongsToItsRecord ${module_scenario})

zelk_seeded_fault(modules_index_freed_at_once
    FILE services/dbghelp/private/retiredblocks.h
    TEXT "m_readers[0].fetch_add(0) != 0 ||"
    REPLACEMENT ""
    SCENARIO IndexGoesWhileItIsRead ${module_scenario})

zelk_seeded_fault(modules_wait_misses_a_count
    FILE services/dbghelp/private/retiredblocks.h
    TEXT "return m_phase.fetch_add(1) % 2;"
    REPLACEMENT "m_phase.fetch_add(1); return 0;"
    SCENARIO BytesGoAfterTheirReaders ${module_scenario})

zelk_seeded_fault(callback_is_held_without_a_second_look
    FILE services/dbghelp/private/callbackuses.h
    TEXT "return use != 0 && word.load() == use;"
    REPLACEMENT "return use != 0;"
    SOURCES proof/breakpoint_scenarios.cpp
    SANITIZER address SCENARIO CallbackIsTakenAwayWhileTwoCallIt FOUND "AddressSanitizer")

zelk_seeded_fault(callback_is_taken_away_without_waiting
    FILE services/dbghelp/private/callbackuses.h
    TEXT "while (!IsInside(threadId) && IsHeld(use))"
    REPLACEMENT "while (false)"
    SOURCES proof/breakpoint_scenarios.cpp
    SANITIZER address SCENARIO CallbackIsTakenAwayWhileTwoCallIt FOUND "heap-use-after-free")
