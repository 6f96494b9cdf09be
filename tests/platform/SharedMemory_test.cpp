#include "zvc/platform/SharedMemory.h"

#include "support/Child.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <sys/ipc.h>
#include <sys/resource.h>
#include <sys/shm.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

using namespace zvc::platform;

namespace {

/// A name that no other run of the tests uses.
std::string Own(const std::string& name) { return "zvc-test-" + std::to_string(getpid()) + "-" + name; }

/// A block and a view of it, for a scope.
class Block {
public:
    Block() = default;
    Block(const std::string& name, uint32_t size) : m_handle(SharedMemoryCreate(name.c_str(), size, &error)) { View(); }
    explicit Block(const std::string& name) : m_handle(SharedMemoryOpen(name.c_str())) { View(); }
    ~Block() {
        SharedMemoryUnmap(bytes);
        CloseHandle(m_handle);
    }
    Block(const Block&) = delete;
    Block& operator=(const Block&) = delete;
    explicit operator bool() const { return bytes != nullptr; }

    char* bytes = nullptr;
    size_t size = 0;
    uint32_t error = 0;

private:
    void View() { bytes = static_cast<char*>(SharedMemoryMap(m_handle, &size)); }
    Handle m_handle = nullptr;
};

/// How many segments of this process are there, marked or not.
int Segments() {
    shm_info info{};
    shmid_ds segment{};
    int count = 0;
    const int last = shmctl(0, SHM_INFO, reinterpret_cast<shmid_ds*>(&info));
    for (int i = 0; i <= last; ++i)
        if (shmctl(i, SHM_STAT, &segment) >= 0 && segment.shm_cpid == getpid()) ++count;
    return count;
}

ZvProcess$ Holder(const std::string& name) {
    ZvProcessStartInfo$ info = ChildInfo("hold \"" + name + "\"");
    info->SetRedirectStandardInput(true);
    info->SetRedirectStandardOutput(true);
    ZvProcess$ process = ZvProcess::Start(info);
    EXPECT_EQ(ReadUntil(process->GetStandardOutputStream(), "\n"), "held\n");
    return process;
}

}

TEST(SharedMemory, NewBlockIsZeroAndHasTheSizeAskedFor) {
    for (const uint32_t size : {1u, 32u, 4096u, 4097u, 1000000u}) {
        const Block block(Own("size"), size);
        ASSERT_TRUE(block);
        EXPECT_EQ(block.size, size);
        EXPECT_EQ(reinterpret_cast<uintptr_t>(block.bytes) % 4096, 0u);
        EXPECT_EQ(std::string(block.bytes, size), std::string(size, '\0'));
    }
}

TEST(SharedMemory, SecondCreationOpensTheFirstWithItsSize) {
    const Block one(Own("twice"), 100), other(Own("twice"), 50000), opened(Own("twice"));
    ASSERT_TRUE(other);
    EXPECT_EQ(other.size, 100u);
    EXPECT_EQ(opened.size, 100u);
    one.bytes[99] = 'x';
    EXPECT_EQ(other.bytes[99], 'x');
    opened.bytes[0] = 'y';
    EXPECT_EQ(one.bytes[0], 'y');
}

TEST(SharedMemory, BlockReachesToTheEndOfItsLastPage) {
    for (const uint32_t size : {1u, 4096u, 4097u}) {
        const Block block(Own("page"), size), other(Own("page"));
        const size_t pages = (size + SharedMemoryPage - 1) / SharedMemoryPage;
        const size_t last = pages * SharedMemoryPage - 1;
        EXPECT_EQ(block.bytes[last], '\0');
        block.bytes[last] = 'x';
        EXPECT_EQ(other.bytes[last], 'x');
    }
}

TEST(SharedMemory, OpeningWhatIsNotThereIsNull) {
    EXPECT_EQ(SharedMemoryOpen(Own("nothing").c_str()), nullptr);
    { const Block block(Own("gone"), 8); }
    EXPECT_EQ(SharedMemoryOpen(Own("gone").c_str()), nullptr);
}

TEST(SharedMemory, SizeZeroIsRefused) {
    const Block block(Own("zero"), 0);
    EXPECT_FALSE(block);
    EXPECT_EQ(block.error, static_cast<uint32_t>(EINVAL));
    EXPECT_EQ(SharedMemoryCreate(Own("zero").c_str(), 0, nullptr), nullptr);
}

TEST(SharedMemory, AnyTextIsAName) {
    const std::string names[] = {"with blanks", "with/slash", "with\\backslash", "\xc3\xa9\xff", "..", ".", "a%2fb",
                                 std::string(255, 'n'), std::string(20000, 'n'), "line\nbreak", "Global\\word"};
    std::vector<std::unique_ptr<Block>> blocks;
    for (const std::string& name : names) {
        blocks.push_back(std::make_unique<Block>(Own(name), 8));
        ASSERT_TRUE(*blocks.back()) << name;
        blocks.back()->bytes[0] = static_cast<char>(blocks.size());
    }
    for (size_t i = 0; i < blocks.size(); ++i) {
        const Block again(Own(names[i]));
        ASSERT_TRUE(again) << names[i];
        EXPECT_EQ(again.bytes[0], static_cast<char>(i + 1)) << names[i];
    }
}

TEST(SharedMemory, NamesThatDifferInCaseOrLengthAreOthers) {
    const Block block(Own("name"), 8);
    EXPECT_EQ(SharedMemoryOpen(Own("Name").c_str()), nullptr);
    EXPECT_EQ(SharedMemoryOpen(Own("nam").c_str()), nullptr);
    EXPECT_EQ(SharedMemoryOpen(Own("name ").c_str()), nullptr);
}

TEST(SharedMemory, LocalPrefixIsDropped) {
    const Block block("Local\\" + Own("prefix"), 8);
    ASSERT_TRUE(block);
    EXPECT_TRUE(Block(Own("prefix")));
    EXPECT_FALSE(Block("Local\\Local\\" + Own("prefix")));
}

TEST(SharedMemory, EmptyNameIsABlockOfItsOwn) {
    const Block one("", 8), other("", 8), local("Local\\", 8);
    ASSERT_TRUE(one && other && local);
    one.bytes[0] = 'x';
    EXPECT_EQ(other.bytes[0], '\0');
    EXPECT_EQ(local.bytes[0], '\0');
    EXPECT_EQ(SharedMemoryOpen(""), nullptr);
}

TEST(SharedMemory, LivesWhileThereIsAHandleOrAView) {
    const std::string name = Own("life");
    const Handle handle = SharedMemoryCreate(name.c_str(), 8, nullptr);
    auto* const view = static_cast<char*>(SharedMemoryMap(handle, nullptr));
    view[0] = 'x';
    EXPECT_TRUE(CloseHandle(handle));
    EXPECT_EQ(Block(name).bytes[0], 'x');                 // the view holds it
    const Handle second = SharedMemoryOpen(name.c_str());
    EXPECT_TRUE(SharedMemoryUnmap(view));
    EXPECT_EQ(Block(name).bytes[0], 'x');                 // the handle does
    EXPECT_TRUE(CloseHandle(second));
    EXPECT_EQ(SharedMemoryOpen(name.c_str()), nullptr);
    EXPECT_EQ(Block(name, 8).bytes[0], '\0');
}

TEST(SharedMemory, ViewsEndOnceEach) {
    const Handle handle = SharedMemoryCreate(Own("views").c_str(), 8, nullptr);
    void* const one = SharedMemoryMap(handle, nullptr);
    void* const other = SharedMemoryMap(handle, nullptr);
    EXPECT_TRUE(SharedMemoryUnmap(one));
    static_cast<char*>(other)[7] = 'x';
    EXPECT_TRUE(SharedMemoryUnmap(other));
    EXPECT_FALSE(SharedMemoryUnmap(other));
    CloseHandle(handle);
}

TEST(SharedMemory, WhatIsNoViewIsLeftAlone) {
    std::vector<char> heap(100, 'x');
    EXPECT_FALSE(SharedMemoryUnmap(nullptr));
    EXPECT_FALSE(SharedMemoryUnmap(heap.data()));
    EXPECT_EQ(heap, std::vector<char>(100, 'x'));
    const Block block(Own("inside"), 100);
    EXPECT_FALSE(SharedMemoryUnmap(block.bytes + 1));
}

TEST(SharedMemory, WhatIsNoBlockHasNoView) {
    const Handle handle = SharedMemoryCreate(Own("closed").c_str(), 8, nullptr);
    CloseHandle(handle);
    EXPECT_EQ(SharedMemoryMap(handle, nullptr), nullptr);
    EXPECT_EQ(SharedMemoryMap(nullptr, nullptr), nullptr);
    EXPECT_FALSE(CloseHandle(handle));
}

TEST(SharedMemory, OtherProcessesSeeTheSameBytes) {
    const std::string name = Own("with blanks, and \xc3\xa9");
    const ZvProcess$ holder = Holder(name);
    const Block block(name);
    ASSERT_TRUE(block);
    EXPECT_EQ(block.size, 32u);
    double values[4];
    std::memcpy(values, block.bytes, sizeof values);
    EXPECT_EQ(values[3], 3.5);
    zvc::platform::ProcessKill(holder->GetProcessHandle(), 0);
    EndOf(holder);
}

TEST(SharedMemory, GoesWithAHolderThatWasKilled) {
    const std::string name = Own("killed");
    const ZvProcess$ holder = Holder(name);
    EXPECT_TRUE(Block(name));
    kill(static_cast<pid_t>(holder->GetProcessId()), SIGKILL);
    EXPECT_EQ(EndOf(holder), 128u + SIGKILL);
    EXPECT_EQ(SharedMemoryOpen(name.c_str()), nullptr);
    const Block fresh(name, 32);
    EXPECT_EQ(std::string(fresh.bytes, 32), std::string(32, '\0'));
}

TEST(SharedMemory, OutlivesItsCreatorWhileSomebodyElseHoldsIt) {
    const std::string name = Own("outlives");
    const ZvProcess$ holder = Holder(name);
    const Block block(name);
    kill(static_cast<pid_t>(holder->GetProcessId()), SIGKILL);
    EndOf(holder);
    double first;
    std::memcpy(&first, block.bytes, sizeof first);
    EXPECT_EQ(first, 0.5);
    EXPECT_TRUE(Block(name));
}

TEST(SharedMemory, ForkHoldsItToo) {
    const std::string name = Own("fork");
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    auto block = std::make_unique<Block>(name, 8);
    const pid_t child = fork();
    if (child == 0) {
        close(ends[1]);
        char c;
        _exit(read(ends[0], &c, 1) == 0 ? 0 : 1);
    }
    block.reset();
    EXPECT_TRUE(Block(name));
    close(ends[1]);
    waitpid(child, nullptr, 0);
    EXPECT_FALSE(Block(name));
    close(ends[0]);
}

TEST(SharedMemory, NothingStaysInTheSystem) {
    const int before = Segments();
    {
        const Block one(Own("stay"), 8), two(Own("stay 2"), 8);
        EXPECT_EQ(Segments(), before + 2);
    }
    EXPECT_EQ(Segments(), before);
}

TEST(SharedMemory, ShortMemoryIsAnErrorNumber) {
    const pid_t child = fork();
    if (child == 0) {
        const rlimit limit{1u << 30, 1u << 30};
        setrlimit(RLIMIT_AS, &limit);
        uint32_t error = 0;
        const bool refused = SharedMemoryCreate(Own("short").c_str(), 3u << 30, &error) == nullptr && error == ENOMEM;
        _exit(refused && SharedMemoryOpen(Own("short").c_str()) == nullptr ? 0 : 1);
    }
    int status = 1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
}

TEST(SharedMemory, ManyThreadsComeToOneBlock) {
    const std::string name = Own("threads");
    for (int round = 0; round < 50; ++round) {
        std::vector<std::unique_ptr<Block>> blocks(4);
        std::vector<std::thread> threads;
        for (size_t i = 0; i < blocks.size(); ++i)
            threads.emplace_back([&, i] {
                blocks[i] = std::make_unique<Block>(name, 4);
                blocks[i]->bytes[i] = 'x';
            });
        for (std::thread& thread : threads) thread.join();
        for (const auto& block : blocks) EXPECT_EQ(std::string(block->bytes, 4), "xxxx");
    }
}
