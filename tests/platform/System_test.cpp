#include "zvc/platform/System.h"

#include "zvc/platform/TypeName.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>

using namespace zvc::platform;

namespace {
class Plain {};
class Plain$ {};
}

namespace outer {
class Inner$ {};
template <class T> class ZvHandleLike {};
template <class T> class Box {};
}

TEST(System, ProcessorCountIsTheSystems) {
    std::ifstream info("/proc/cpuinfo");
    unsigned int count = 0;
    for (std::string line; std::getline(info, line);) count += line.compare(0, 9, "processor") == 0 ? 1 : 0;
    ASSERT_GT(count, 0u);
    EXPECT_EQ(ProcessorCount(), count);
}

TEST(SystemDeathTest, FatalTellsWhyAndEndsTheProcess) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(Fatal("the reason"), testing::KilledBySignal(SIGABRT), "^zvc: the reason\n");
}

TEST(TypeName, HandlesEndInADollarSignOrNameTheHandleTemplate) {
    EXPECT_TRUE(TypeNameIsHandle(typeid(Plain$)));
    EXPECT_TRUE(TypeNameIsHandle(typeid(outer::Inner$)));
    EXPECT_TRUE(TypeNameIsHandle(typeid(outer::ZvHandleLike<int>)));
    EXPECT_FALSE(TypeNameIsHandle(typeid(Plain)));
    EXPECT_FALSE(TypeNameIsHandle(typeid(Plain$*)));
    EXPECT_FALSE(TypeNameIsHandle(typeid(outer::Box<Plain$>)));
    EXPECT_FALSE(TypeNameIsHandle(typeid(int)));
}
