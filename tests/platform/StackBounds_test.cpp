#include "zvc/platform/StackBounds.h"

#include <gtest/gtest.h>

#include <climits>
#include <csignal>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <thread>

using namespace zvc::platform;

namespace {

// Goes down until the stack is low and answers how many bytes that took.
__attribute__((noinline)) size_t Descend(uintptr_t top, int& frames) {
    volatile char room[1024];
    room[0] = static_cast<char>(frames);
    const auto here = reinterpret_cast<uintptr_t>(&room[0]);
    if (StackIsLow()) return top - here;
    ++frames;
    const size_t depth = Descend(top, frames);
    return room[0] == 0 && frames < 0 ? 0 : depth;
}

size_t UsableStack() {
    int frames = 0;
    return Descend(reinterpret_cast<uintptr_t>(__builtin_frame_address(0)), frames);
}

struct Found {
    uintptr_t lowest;
    size_t usable;
};

void* Measure(void* result) {
    *static_cast<volatile char*>(reinterpret_cast<void*>(StackLowest())) = 1;     // usable down to the last byte
    *static_cast<Found*>(result) = {StackLowest(), UsableStack()};
    return nullptr;
}

Found MeasureOnThread(pthread_attr_t& attributes) {
    pthread_t thread;
    Found found{};
    EXPECT_EQ(pthread_create(&thread, &attributes, &Measure, &found), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
    return found;
}

}

TEST(StackBounds, LowestIsTheBeginningOfTheThreadsStack) {
    for (size_t size : {size_t(1) << 20, size_t(16) << 20}) {
        void* const memory = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_STACK, -1, 0);
        ASSERT_NE(memory, MAP_FAILED);
        pthread_attr_t attributes;
        pthread_attr_init(&attributes);
        ASSERT_EQ(pthread_attr_setstack(&attributes, memory, size), 0);
        const Found found = MeasureOnThread(attributes);
        EXPECT_EQ(found.lowest, reinterpret_cast<uintptr_t>(memory));
        EXPECT_LT(found.usable, size);
        EXPECT_GT(found.usable, size / 8);
        munmap(memory, size);
    }
}

TEST(StackBounds, SmallStackKeepsAQuarterInReserve) {
    const size_t size = size_t(PTHREAD_STACK_MIN) + 96 * 1024;
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, size), 0);
    EXPECT_GT(MeasureOnThread(attributes).usable, size / 4);
}

TEST(StackBounds, MainThreadsStackCountsAsFarAsItMayGrow) {
    rlimit limit{};
    ASSERT_EQ(getrlimit(RLIMIT_STACK, &limit), 0);
    if (limit.rlim_cur == RLIM_INFINITY) GTEST_SKIP() << "the stack has no limit";
    const size_t below = reinterpret_cast<uintptr_t>(__builtin_frame_address(0)) - StackLowest();
    EXPECT_LE(below, limit.rlim_cur);
    EXPECT_GT(below, limit.rlim_cur / 2);
    EXPECT_GT(UsableStack(), limit.rlim_cur / 2);
    EXPECT_FALSE(StackIsLow());
}

TEST(StackBounds, LimitKeepsAReserve) {
    EXPECT_GT(StackLimit(), StackLowest());
    EXPECT_LE(StackLimit() - StackLowest(), 64u * 1024);
}

// A program may run on stacks of its own, below the thread's: here that of a signal's handler.
TEST(StackBounds, StackOfTheProgramsOwnIsNotLow) {
    static char room[256 * 1024];
    static volatile bool handled, below, low;
    if (reinterpret_cast<uintptr_t>(&room[0]) >= StackLowest()) GTEST_SKIP() << "the stack has no limit";
    stack_t own{}, before{};
    own.ss_sp = room;
    own.ss_size = sizeof room;
    ASSERT_EQ(sigaltstack(&own, &before), 0);
    struct sigaction action {}, earlier {};
    action.sa_handler = [](int) {
        below = reinterpret_cast<uintptr_t>(__builtin_frame_address(0)) < StackLowest();
        low = StackIsLow();
        handled = true;
    };
    action.sa_flags = SA_ONSTACK;
    ASSERT_EQ(sigaction(SIGUSR2, &action, &earlier), 0);
    raise(SIGUSR2);
    sigaction(SIGUSR2, &earlier, nullptr);
    sigaltstack(&before, nullptr);
    ASSERT_TRUE(handled);
    EXPECT_TRUE(below);
    EXPECT_FALSE(low);
}

TEST(StackBounds, EachThreadHasItsOwn) {
    const uintptr_t mine = StackLowest();
    std::thread([&] { EXPECT_NE(StackLowest(), mine); }).join();
    EXPECT_EQ(StackLowest(), mine);
}
