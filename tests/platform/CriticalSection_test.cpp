#include "zvc/platform/CriticalSection.h"

#include <gtest/gtest.h>

#include <cstring>
#include <thread>
#include <type_traits>
#include <vector>

using zvc::platform::CriticalSection;
using zvc::platform::SectionLock;

namespace {

bool FreeForOthers(CriticalSection& section) {
    bool entered = false;
    std::thread([&] {
        entered = section.TryEnter();
        if (entered) section.Leave();
    }).join();
    return entered;
}

constinit CriticalSection s_static;

struct AtStart {
    AtStart() {
        s_static.Enter();
        entered = s_static.TryEnter();
        s_static.Leave();
        s_static.Leave();
    }
    bool entered = false;
} s_atStart;

}

TEST(CriticalSection, IsSixteenBytesThatMayBeCopied) {
    EXPECT_EQ(sizeof(CriticalSection), 16u);
    EXPECT_TRUE(std::is_trivially_copyable_v<CriticalSection>);
    EXPECT_TRUE(std::is_trivially_destructible_v<CriticalSection>);
}

TEST(CriticalSection, ZeroedOneIsFree) {
    CriticalSection section;
    std::memset(static_cast<void*>(&section), 0, sizeof section);
    EXPECT_TRUE(FreeForOthers(section));
    EXPECT_TRUE(section.TryEnter());
    section.Leave();
}

TEST(CriticalSection, WorksInStaticInitialisers) {
    EXPECT_TRUE(s_atStart.entered);
    EXPECT_TRUE(FreeForOthers(s_static));
}

TEST(CriticalSection, OwnerEntersAgainAndLeavesAsOften) {
    CriticalSection section;
    section.Enter();
    section.Enter();
    EXPECT_TRUE(section.TryEnter());
    EXPECT_FALSE(FreeForOthers(section));
    section.Leave();
    section.Leave();
    EXPECT_FALSE(FreeForOthers(section));
    section.Leave();
    EXPECT_TRUE(FreeForOthers(section));
}

TEST(CriticalSection, CopyOfAHeldOneIsHeldByTheSameThread) {
    CriticalSection section;
    section.Enter();
    CriticalSection copy = section;
    EXPECT_FALSE(FreeForOthers(copy));
    copy.Leave();
    EXPECT_TRUE(FreeForOthers(copy));
    EXPECT_FALSE(FreeForOthers(section));
    section.Leave();
}

TEST(CriticalSection, KeepsThreadsApart) {
    CriticalSection section;
    int inside = 0, most = 0;
    long total = 0;
    std::vector<std::thread> threads;
    for (int t = 0; t != 4; ++t)
        threads.emplace_back([&, t] {
            for (int i = 0; i != 20000; ++i) {
                if (t % 2 == 0) section.Enter();
                else section.Enter(8);
                most = ++inside > most ? inside : most;
                SectionLock nested(section);
                ++total;
                --inside;
                section.Leave();
            }
        });
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(most, 1);
    EXPECT_EQ(total, 80000);
    EXPECT_TRUE(FreeForOthers(section));
}

TEST(CriticalSection, SleepersAreAllWoken) {
    for (int round = 0; round != 200; ++round) {
        CriticalSection section;
        section.Enter();
        int entered = 0;
        std::vector<std::thread> threads;
        for (int t = 0; t != 4; ++t)
            threads.emplace_back([&] {
                section.Enter(0);
                ++entered;
                section.Leave();
            });
        if (round % 2 == 0) std::this_thread::yield();
        section.Leave();
        for (std::thread& thread : threads) thread.join();
        ASSERT_EQ(entered, 4);
    }
}
