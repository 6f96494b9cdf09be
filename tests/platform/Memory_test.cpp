// Memory in large pages.

#include <zvc/platform/Memory.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <new>
#include <vector>

using namespace zvc::platform;

namespace {

constexpr size_t Large = size_t(9) << 20;

void Fill(unsigned char* memory, size_t size) {
    for (size_t i = 0; i < size; ++i) memory[i] = static_cast<unsigned char>(i * 7 + (i >> 12));
}

/// The first byte that is not as Fill left it, or size.
size_t FirstChanged(const unsigned char* memory, size_t size) {
    for (size_t i = 0; i < size; ++i)
        if (memory[i] != static_cast<unsigned char>(i * 7 + (i >> 12))) return i;
    return size;
}

TEST(Memory, BlocksOfEverySizeHoldWhatTheyAreGiven) {
    for (const size_t size : {size_t(1), (size_t(2) << 20) - 1, size_t(2) << 20, (size_t(2) << 20) + 1, Large}) {
        auto* const memory = static_cast<unsigned char*>(LargeAllocate(size));
        ASSERT_NE(memory, nullptr);
        Fill(memory, size);
        EXPECT_EQ(FirstChanged(memory, size), size);
        LargeFree(memory, size);
    }
    LargeFree(nullptr, 1);
    LargeFree(nullptr, Large);
}

TEST(Memory, SizeThatNobodyHasIsRefused) {
    EXPECT_EQ(LargeAllocate(~size_t(0)), nullptr);
    EXPECT_EQ(LargeAllocate(~size_t(0) >> 1), nullptr);
    EXPECT_THROW(LargeAllocator<double>().allocate(~size_t(0) / 2), std::bad_alloc);
}

TEST(Memory, WishForLargePagesChangesNoContent) {
    auto* memory = static_cast<unsigned char*>(std::malloc(Large));
    ASSERT_NE(memory, nullptr);
    Fill(memory, Large);
    PreferLargePages(memory, Large);
    EXPECT_EQ(FirstChanged(memory, Large), Large);
    memory = static_cast<unsigned char*>(std::realloc(memory, 2 * Large));       // the allocator moves it as ever
    ASSERT_NE(memory, nullptr);
    PreferLargePages(memory, 2 * Large);
    EXPECT_EQ(FirstChanged(memory, Large), Large);
    std::free(memory);
}

TEST(Memory, WishForNothingIsNoHarm) {
    PreferLargePages(nullptr, 0);
    std::vector<unsigned char> small(100, 3);
    PreferLargePages(small.data(), small.size());
    EXPECT_EQ(small, std::vector<unsigned char>(100, 3));
}

}
