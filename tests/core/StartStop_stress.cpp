#include "support/Programs.h"

#include <gtest/gtest.h>

TEST(StartStopStress, AThousandLoadsAndClosesLeaveNoThread) {
    const Outcome outcome = Execute(Beside("host_dlopen") + " " + Beside("../lib/libzvc.so.0") + " 1000");
    EXPECT_EQ(outcome.output, "loaded and closed\n");
    EXPECT_EQ(outcome.code, 0);
}
