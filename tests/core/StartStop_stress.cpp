#include "support/Program.h"

#include <gtest/gtest.h>

TEST(StartStopStress, AThousandLoadsAndClosesLeaveNoThread) {
    const Outcome outcome = RunProgram(BesideTests("host_dlopen") + " " + BesideTests("../lib/libzvc.so.0") + " 1000");
    EXPECT_EQ(outcome.output, "loaded and closed\n");
    EXPECT_EQ(outcome.code, 0);
}
