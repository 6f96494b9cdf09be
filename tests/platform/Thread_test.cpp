#include "zvc/platform/Thread.h"

#include "zvc/platform/Event.h"
#include "zvc/platform/File.h"

#include "support/Killing.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <pthread.h>
#include <signal.h>
#include <stdexcept>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

using namespace zvc::platform;

namespace {

uint32_t ReturnArgument(void* argument) { return static_cast<uint32_t>(reinterpret_cast<uintptr_t>(argument)); }

/// A thread that counts until it is told to stop.
struct Spinner {
    std::atomic<uint32_t> count{0};
    std::atomic<bool> stop{false};
    std::atomic<bool> unwound{false};
    Handle handle = ThreadCreate(&Run, this, nullptr);

    static uint32_t Run(void* argument) {
        auto* self = static_cast<Spinner*>(argument);
        struct Guard {
            Spinner* spinner;
            ~Guard() { spinner->unwound = true; }
        } guard{self};
        while (!self->stop) ++self->count;
        return 5;
    }
    void WaitUntilItCounts() const {
        const uint32_t before = count;
        while (count == before) std::this_thread::yield();
    }
    bool Counts() const {
        const uint32_t before = count;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        return count != before;
    }
};

uint32_t ExitCodeOf(Handle handle) {
    uint32_t code = 0xABCD;
    EXPECT_TRUE(ThreadExitCode(handle, &code));
    return code;
}

uint32_t WaitForEvent(void* event) { return static_cast<uint32_t>(WaitForHandle(event, Infinite)); }

}

TEST(Thread, ResultOfTheEntryIsTheExitCode) {
    uint32_t id = 0;
    const Handle handle = ThreadCreate(&ReturnArgument, reinterpret_cast<void*>(77), &id);
    ASSERT_NE(handle, nullptr);
    EXPECT_NE(id, 0u);
    EXPECT_NE(id, CurrentThreadId());
    EXPECT_EQ(WaitForHandle(handle, Infinite), WaitResult::Signalled);
    EXPECT_EQ(ExitCodeOf(handle), 77u);
    EXPECT_EQ(WaitForHandle(handle, 0), WaitResult::Signalled);
    EXPECT_TRUE(CloseHandle(handle));
    EXPECT_FALSE(CloseHandle(handle));
}

TEST(Thread, IdIsTheThreadsOwn) {
    uint32_t id = 0;
    const Handle handle = ThreadCreate([](void*) { return CurrentThreadId(); }, nullptr, &id);
    WaitForHandle(handle, Infinite);
    EXPECT_EQ(ExitCodeOf(handle), id);
    CloseHandle(handle);
}

TEST(Thread, ExitCodeIs259WhileItRuns) {
    EXPECT_EQ(ThreadStillActive, 259u);
    Spinner spinner;
    EXPECT_EQ(ExitCodeOf(spinner.handle), 259u);
    EXPECT_EQ(WaitForHandle(spinner.handle, 0), WaitResult::TimedOut);
    EXPECT_EQ(WaitForHandle(spinner.handle, 5), WaitResult::TimedOut);
    spinner.stop = true;
    EXPECT_EQ(WaitForHandle(spinner.handle, Infinite), WaitResult::Signalled);
    EXPECT_EQ(ExitCodeOf(spinner.handle), 5u);
    EXPECT_TRUE(spinner.unwound);
    CloseHandle(spinner.handle);
}

TEST(Thread, AllWaitersSeeTheEnd) {
    Spinner spinner;
    std::atomic<int> woken{0};
    std::vector<std::thread> waiters;
    for (int i = 0; i != 5; ++i)
        waiters.emplace_back([&] {
            if (WaitForHandle(spinner.handle, Infinite) == WaitResult::Signalled) ++woken;
        });
    spinner.stop = true;
    for (std::thread& waiter : waiters) waiter.join();
    EXPECT_EQ(woken, 5);
    CloseHandle(spinner.handle);
}

TEST(Thread, GoesOnWithoutItsHandle) {
    Spinner spinner;
    EXPECT_TRUE(CloseHandle(spinner.handle));
    EXPECT_TRUE(spinner.Counts());
    spinner.stop = true;
    while (!spinner.unwound) std::this_thread::yield();
}

TEST(Thread, WaiterOutlivesTheHandle) {
    Spinner spinner;
    std::atomic<bool> asked{false};
    std::thread waiter([&] {
        asked = true;
        WaitForHandle(spinner.handle, Infinite);
    });
    while (!asked) std::this_thread::yield();
    std::this_thread::sleep_for(std::chrono::milliseconds(20));       // until it waits; one that comes too late finds no handle
    CloseHandle(spinner.handle);
    spinner.stop = true;
    waiter.join();
    while (!spinner.unwound) std::this_thread::yield();
}

TEST(Thread, WaitForItselfFails) {
    static Handle self;
    static Event known;
    const Handle handle = ThreadCreate(
        [](void*) {
            known.Wait(Infinite);
            return static_cast<uint32_t>(WaitForHandle(self, Infinite));
        },
        nullptr, nullptr);
    self = handle;
    known.Set();
    EXPECT_EQ(WaitForHandle(handle, Infinite), WaitResult::Signalled);
    EXPECT_EQ(ExitCodeOf(handle), static_cast<uint32_t>(WaitResult::Failed));
    CloseHandle(handle);
}

TEST(Thread, KillEndsItWithTheCodeAndWithoutUnwinding) {
    Spinner spinner;
    spinner.WaitUntilItCounts();
    EXPECT_TRUE(ThreadKill(spinner.handle, 1));
    EXPECT_EQ(ExitCodeOf(spinner.handle), 1u);
    EXPECT_FALSE(spinner.Counts());
    EXPECT_FALSE(spinner.unwound);
    EXPECT_EQ(WaitForHandle(spinner.handle, Infinite), WaitResult::Signalled);
    EXPECT_FALSE(ThreadKill(spinner.handle, 2));
    EXPECT_EQ(ExitCodeOf(spinner.handle), 1u);
    EXPECT_TRUE(CloseHandle(spinner.handle));
}

TEST(Thread, KillOfAnEndedOneFailsAndKeepsTheCode) {
    const Handle handle = ThreadCreate(&ReturnArgument, nullptr, nullptr);
    WaitForHandle(handle, Infinite);
    EXPECT_FALSE(ThreadKill(handle, 9));
    EXPECT_EQ(ExitCodeOf(handle), 0u);
    CloseHandle(handle);
}

TEST(Thread, KillReachesOneThatWaits) {
    SKIP_WHERE_WAITING_THREADS_CANNOT_BE_KILLED();
    const Handle event = EventCreate();
    const Handle handle = ThreadCreate(&WaitForEvent, event, nullptr);
    EXPECT_EQ(WaitForHandle(handle, 10), WaitResult::TimedOut);
    EXPECT_TRUE(ThreadKill(handle, 3));
    EXPECT_EQ(ExitCodeOf(handle), 3u);
    EXPECT_TRUE(EventSet(event));
    EXPECT_EQ(WaitForHandle(event, 0), WaitResult::Signalled);
    CloseHandle(handle);
    CloseHandle(event);
}

TEST(Thread, KilledInAReadStillLetsTheDescriptorGo) {
    SKIP_WHERE_WAITING_THREADS_CANNOT_BE_KILLED();
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const Handle reading = FileAdopt(ends[0], FileAccessRead);
    const Handle handle = ThreadCreate(
        [](void* pipe) {
            char byte;
            uint32_t done;
            return static_cast<uint32_t>(FileRead(pipe, &byte, 1, &done));
        },
        reading, nullptr);
    EXPECT_EQ(WaitForHandle(handle, 10), WaitResult::TimedOut);
    EXPECT_TRUE(ThreadKill(handle, 3));
    EXPECT_TRUE(CloseHandle(reading));
    CloseHandle(handle);
    signal(SIGPIPE, SIG_IGN);
    EXPECT_EQ(write(ends[1], "x", 1), -1);            // nobody holds the reading end any more
    signal(SIGPIPE, SIG_DFL);
    close(ends[1]);
}

TEST(Thread, KillOfASuspendedOne) {
    Spinner spinner;
    EXPECT_EQ(ThreadSuspend(spinner.handle), 0u);
    EXPECT_TRUE(ThreadKill(spinner.handle, 4));
    EXPECT_EQ(ExitCodeOf(spinner.handle), 4u);
    EXPECT_EQ(ThreadResume(spinner.handle), ~0u);
    CloseHandle(spinner.handle);
}

TEST(Thread, KillsItself) {
    static Handle self;
    static Event known;
    known.Reset();
    const Handle handle = ThreadCreate(
        [](void*) {
            known.Wait(Infinite);
            ThreadKill(self, 6);
            return 1u;
        },
        nullptr, nullptr);
    self = handle;
    known.Set();
    EXPECT_EQ(WaitForHandle(handle, Infinite), WaitResult::Signalled);
    EXPECT_EQ(ExitCodeOf(handle), 6u);
    EXPECT_TRUE(CloseHandle(handle));
}

TEST(Thread, ManyKillsLeaveNothingBehind) {
    SKIP_WHERE_WAITING_THREADS_CANNOT_BE_KILLED();
    for (int i = 0; i != 300; ++i) {
        const Handle event = EventCreate();
        const Handle handle = ThreadCreate(&WaitForEvent, event, nullptr);
        EXPECT_TRUE(ThreadKill(handle, 1));
        EXPECT_TRUE(CloseHandle(handle));
        EXPECT_TRUE(CloseHandle(event));
    }
    std::thread([] {}).join();
    EXPECT_EQ(std::system("exit 5") >> 8, 5);
}

TEST(Thread, KilledOneLeavesNoSpecificDataToTheNext) {
    SKIP_WHERE_WAITING_THREADS_CANNOT_BE_KILLED();
    static pthread_key_t keys[40];
    static Event set;
    set.Reset();
    for (pthread_key_t& key : keys) ASSERT_EQ(pthread_key_create(&key, nullptr), 0);
    const Handle killed = ThreadCreate(
        [](void*) {
            for (pthread_key_t key : keys) pthread_setspecific(key, &set);
            set.Set();
            SleepFor(Infinite);
            return 0u;
        },
        nullptr, nullptr);
    EXPECT_TRUE(set.Wait(Infinite));
    EXPECT_TRUE(ThreadKill(killed, 1));
    const Handle next = ThreadCreate(
        [](void*) {
            uint32_t found = 0;
            for (pthread_key_t key : keys) found += pthread_getspecific(key) != nullptr ? 1 : 0;
            return found;
        },
        nullptr, nullptr);
    WaitForHandle(next, Infinite);
    EXPECT_EQ(ExitCodeOf(next), 0u);
    CloseHandle(killed);
    CloseHandle(next);
    for (pthread_key_t key : keys) pthread_key_delete(key);
}

TEST(Thread, SuspendStopsItUntilResumedAsOften) {
    Spinner spinner;
    spinner.WaitUntilItCounts();
    EXPECT_EQ(ThreadSuspend(spinner.handle), 0u);
    EXPECT_FALSE(spinner.Counts());
    EXPECT_EQ(ThreadSuspend(spinner.handle), 1u);
    EXPECT_EQ(ExitCodeOf(spinner.handle), 259u);
    EXPECT_EQ(ThreadResume(spinner.handle), 2u);
    EXPECT_FALSE(spinner.Counts());
    EXPECT_EQ(ThreadResume(spinner.handle), 1u);
    spinner.WaitUntilItCounts();
    EXPECT_EQ(ThreadResume(spinner.handle), 0u);
    spinner.stop = true;
    WaitForHandle(spinner.handle, Infinite);
    EXPECT_EQ(ThreadSuspend(spinner.handle), ~0u);
    EXPECT_EQ(ThreadResume(spinner.handle), ~0u);
    CloseHandle(spinner.handle);
}

TEST(Thread, SuspendStopsAt127) {
    Spinner spinner;
    for (uint32_t i = 0; i != 127; ++i) EXPECT_EQ(ThreadSuspend(spinner.handle), i);
    EXPECT_EQ(ThreadSuspend(spinner.handle), ~0u);
    for (uint32_t i = 127; i != 0; --i) EXPECT_EQ(ThreadResume(spinner.handle), i);
    spinner.stop = true;
    WaitForHandle(spinner.handle, Infinite);
    CloseHandle(spinner.handle);
}

TEST(Thread, SuspendIsStillAfterEachOfManyCalls) {
    Spinner spinner;
    for (int i = 0; i != 300; ++i) {
        EXPECT_EQ(ThreadSuspend(spinner.handle), 0u);
        const uint32_t before = spinner.count;
        std::this_thread::yield();
        EXPECT_EQ(spinner.count, before);
        EXPECT_EQ(ThreadResume(spinner.handle), 1u);
    }
    spinner.stop = true;
    WaitForHandle(spinner.handle, Infinite);
    CloseHandle(spinner.handle);
}

TEST(Thread, SuspendsItself) {
    static Handle self;
    static Event known;
    known.Reset();
    const Handle handle = ThreadCreate(
        [](void*) {
            known.Wait(Infinite);
            return ThreadSuspend(self);
        },
        nullptr, nullptr);
    self = handle;
    known.Set();
    while (ThreadResume(handle) != 1) std::this_thread::yield();
    EXPECT_EQ(WaitForHandle(handle, Infinite), WaitResult::Signalled);
    EXPECT_EQ(ExitCodeOf(handle), 0u);
    CloseHandle(handle);
}

TEST(Thread, SuspendedInsideTheLayerItHoldsNobodyUp) {
    static std::atomic<bool> stop;
    stop = false;
    const Handle handle = ThreadCreate(
        [](void*) {
            while (!stop) CloseHandle(EventCreate());
            return 0u;
        },
        nullptr, nullptr);
    for (int i = 0; i != 500; ++i) {
        EXPECT_EQ(ThreadSuspend(handle), 0u);
        CloseHandle(EventCreate());
        EXPECT_EQ(ThreadResume(handle), 1u);
    }
    stop = true;
    EXPECT_EQ(WaitForHandle(handle, Infinite), WaitResult::Signalled);
    CloseHandle(handle);
}

TEST(Thread, KilledInsideTheLayerItHoldsNobodyUp) {
    for (int i = 0; i != 30; ++i) {
        static Handle event;
        event = EventCreate();
        const Handle handle = ThreadCreate(
            [](void*) {
                for (;;) EventSet(event);
                return 0u;
            },
            nullptr, nullptr);
        SleepFor(i % 3 == 0 ? 1 : 0);
        EXPECT_TRUE(ThreadKill(handle, 1));
        EXPECT_TRUE(EventReset(event));
        EXPECT_TRUE(CloseHandle(handle));
        EXPECT_TRUE(CloseHandle(event));
    }
}

TEST(Thread, SuspensionDoesNotShortenAWait) {
    const Handle event = EventCreate();
    static std::chrono::steady_clock::duration waited;
    const Handle handle = ThreadCreate(
        [](void* argument) {
            const auto start = std::chrono::steady_clock::now();
            const WaitResult result = WaitForHandle(argument, 60);
            waited = std::chrono::steady_clock::now() - start;
            return static_cast<uint32_t>(result);
        },
        event, nullptr);
    for (int i = 0; i != 5; ++i) {
        ThreadSuspend(handle);
        ThreadResume(handle);
        SleepFor(2);
    }
    WaitForHandle(handle, Infinite);
    EXPECT_EQ(ExitCodeOf(handle), static_cast<uint32_t>(WaitResult::TimedOut));
    EXPECT_GE(waited, std::chrono::milliseconds(60));
    CloseHandle(handle);
    CloseHandle(event);
}

TEST(Thread, PriorityIsAnsweredAsItWasSet) {
    Spinner spinner;
    EXPECT_EQ(ThreadGetPriority(spinner.handle), 0);
    for (int priority : {-15, -2, -1, 0, 1, 2, 15}) {
        EXPECT_TRUE(ThreadSetPriority(spinner.handle, priority));
        EXPECT_EQ(ThreadGetPriority(spinner.handle), priority);
    }
    for (int priority : {-16, -14, -3, 3, 14, 16, 100}) {
        EXPECT_FALSE(ThreadSetPriority(spinner.handle, priority));
        EXPECT_EQ(ThreadGetPriority(spinner.handle), 15);
    }
    spinner.stop = true;
    WaitForHandle(spinner.handle, Infinite);
    CloseHandle(spinner.handle);
}

TEST(Thread, PriorityIsNotInherited) {
    static Event set;
    const Handle handle = ThreadCreate(
        [](void*) {
            set.Wait(Infinite);
            const Handle child = ThreadCreate([](void*) { return static_cast<uint32_t>(getpriority(PRIO_PROCESS, 0) + 100); }, nullptr, nullptr);
            WaitForHandle(child, Infinite);
            const uint32_t code = ExitCodeOf(child);
            CloseHandle(child);
            return code;
        },
        nullptr, nullptr);
    ThreadSetPriority(handle, ThreadPriorityIdle);
    set.Set();
    WaitForHandle(handle, Infinite);
    EXPECT_EQ(ExitCodeOf(handle), static_cast<uint32_t>(getpriority(PRIO_PROCESS, static_cast<id_t>(getpid())) + 100));
    CloseHandle(handle);
}

TEST(Thread, OperationsOnWhatIsNoThreadFail) {
    const Handle event = EventCreate();
    uint32_t code = 12;
    for (Handle none : {Handle(nullptr), Handle(InvalidHandle), event}) {
        EXPECT_FALSE(ThreadExitCode(none, &code));
        EXPECT_FALSE(ThreadKill(none, 1));
        EXPECT_EQ(ThreadSuspend(none), ~0u);
        EXPECT_EQ(ThreadResume(none), ~0u);
        EXPECT_EQ(ThreadGetPriority(none), 0x7FFFFFFF);
        EXPECT_FALSE(ThreadSetPriority(none, 0));
    }
    EXPECT_EQ(code, 12u);
    CloseHandle(event);
}

TEST(Thread, TakesNoDescriptor) {
    const int before = dup(0);
    close(before);
    std::vector<Handle> handles;
    for (int i = 0; i != 20; ++i) handles.push_back(ThreadCreate(&ReturnArgument, nullptr, nullptr));
    const int after = dup(0);
    close(after);
    EXPECT_EQ(after, before);
    for (Handle handle : handles) CloseHandle(handle);
}

TEST(Thread, SleepLastsAtLeastItsTime) {
    const auto start = std::chrono::steady_clock::now();
    SleepFor(20);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(20));
    SleepFor(0);
    YieldOnce();
}

TEST(Thread, ForkedChildDoesNotWaitForThreadsItDoesNotHave) {
    Spinner spinner;
    const pid_t child = fork();
    if (child == 0) {
        const bool gone = WaitForHandle(spinner.handle, Infinite) == WaitResult::Signalled;
        const bool refused = !ThreadKill(spinner.handle, 1) && ThreadSuspend(spinner.handle) == ~0u;
        const bool closed = CloseHandle(spinner.handle);
        _exit(gone && refused && closed ? 7 : 1);
    }
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_EQ(WEXITSTATUS(status), 7);
    spinner.stop = true;
    WaitForHandle(spinner.handle, Infinite);
    CloseHandle(spinner.handle);
}

TEST(ThreadDeathTest, ExceptionThatLeavesTheEntryEndsTheProcessBeforeAnyDestructor) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    struct Noisy {
        ~Noisy() { _exit(0); }
    };
    EXPECT_EXIT(
        {
            std::set_terminate([] { _exit(42); });
            const Handle handle = ThreadCreate(
                [](void*) -> uint32_t {
                    Noisy noisy;
                    throw std::runtime_error("left");
                },
                nullptr, nullptr);
            WaitForHandle(handle, Infinite);
        },
        testing::ExitedWithCode(42), "");
}
