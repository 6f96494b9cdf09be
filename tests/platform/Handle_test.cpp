#include "zvc/platform/Handle.h"

#include "zvc/platform/Event.h"
#include "zvc/platform/File.h"

#include <gtest/gtest.h>

#include <set>
#include <thread>
#include <vector>

using namespace zvc::platform;

TEST(Handle, InvalidIsAllOnes) { EXPECT_EQ(reinterpret_cast<uintptr_t>(InvalidHandle), ~uintptr_t(0)); }

TEST(Handle, ClosingTwiceNullOrAllOnesIsHarmless) {
    const Handle handle = EventCreate();
    EXPECT_TRUE(CloseHandle(handle));
    EXPECT_FALSE(CloseHandle(handle));
    EXPECT_FALSE(CloseHandle(nullptr));
    EXPECT_FALSE(CloseHandle(InvalidHandle));
}

TEST(Handle, SmallNumbersAndAddressesAreNeverValid) {
    for (uintptr_t number = 0; number != 0x100; ++number) EXPECT_FALSE(CloseHandle(reinterpret_cast<Handle>(number)));
    int local = 0;
    EXPECT_FALSE(CloseHandle(&local));
}

TEST(Handle, IsAMultipleOfFourFromHexHundredUp) {
    std::vector<Handle> handles;
    for (int i = 0; i != 100; ++i) handles.push_back(EventCreate());
    for (Handle handle : handles) {
        EXPECT_EQ(reinterpret_cast<uintptr_t>(handle) % 4, 0u);
        EXPECT_GE(reinterpret_cast<uintptr_t>(handle) & 0xFFFFFFFF, 0x100u);
    }
    EXPECT_EQ(std::set<Handle>(handles.begin(), handles.end()).size(), 100u);
    for (Handle handle : handles) EXPECT_TRUE(CloseHandle(handle));
}

TEST(Handle, ClosedOneStaysInvalidWhenItsEntryIsUsedAgain) {
    const Handle first = EventCreate();
    CloseHandle(first);
    const Handle second = EventCreate();
    EXPECT_NE(first, second);
    EXPECT_EQ(static_cast<uint32_t>(reinterpret_cast<uintptr_t>(first)), static_cast<uint32_t>(reinterpret_cast<uintptr_t>(second)));
    EXPECT_FALSE(EventSet(first));
    EXPECT_FALSE(CloseHandle(first));
    EXPECT_TRUE(EventSet(second));
    EXPECT_TRUE(CloseHandle(second));
}

TEST(Handle, OneKindDoesNotPassForAnother) {
    const Handle event = EventCreate();
    char byte;
    uint32_t done = 7;
    EXPECT_FALSE(FileRead(event, &byte, 1, &done));
    EXPECT_EQ(done, 0u);
    EXPECT_EQ(FileSize(event), ~0u);
    EXPECT_TRUE(CloseHandle(event));
    const Handle file = FileOpen("/dev/null", FileAccessRead, FileOpenExisting);
    EXPECT_FALSE(EventSet(file));
    EXPECT_EQ(WaitForHandle(file, 0), WaitResult::Failed);
    EXPECT_TRUE(CloseHandle(file));
}

TEST(Handle, TableServesManyThreads) {
    std::vector<std::thread> threads;
    for (int t = 0; t != 4; ++t)
        threads.emplace_back([] {
            std::vector<Handle> mine;
            for (int i = 0; i != 300; ++i) {
                mine.push_back(EventCreate());
                EXPECT_TRUE(EventSet(mine.back()));
                EXPECT_EQ(WaitForHandle(mine[mine.size() / 2], 0), WaitResult::Signalled);
                if (i % 3 == 0) {
                    EXPECT_TRUE(CloseHandle(mine.back()));
                    EXPECT_FALSE(CloseHandle(mine.back()));
                    mine.pop_back();
                    if (mine.empty()) mine.push_back(EventCreate());
                    EventSet(mine.back());
                }
            }
            for (Handle handle : mine) EXPECT_TRUE(CloseHandle(handle));
        });
    for (std::thread& thread : threads) thread.join();
}
