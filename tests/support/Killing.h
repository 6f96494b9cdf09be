#pragma once

#include "Sanitizers.h"

// The thread sanitizer keeps a record of every thread that only an orderly end closes, and joining waits for it.
#define SKIP_WHERE_THREADS_CANNOT_BE_KILLED() \
    if (ZVC_THREAD_SANITIZER) GTEST_SKIP()
