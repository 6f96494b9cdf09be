#pragma once

#include "Sanitizers.h"

// The thread sanitizer keeps signals back from a thread that waits in the system, and a kill is one: it never arrives there.
#define SKIP_WHERE_WAITING_THREADS_CANNOT_BE_KILLED() \
    if (ZVC_THREAD_SANITIZER) GTEST_SKIP() << "the sanitizer keeps the kill back from a thread that waits"
