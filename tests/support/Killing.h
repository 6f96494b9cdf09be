#pragma once

// The thread sanitizer keeps a record of every thread that only an orderly end closes, and joining waits for it.
#if defined(__SANITIZE_THREAD__)
#define SKIP_WHERE_THREADS_CANNOT_BE_KILLED() GTEST_SKIP()
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define SKIP_WHERE_THREADS_CANNOT_BE_KILLED() GTEST_SKIP()
#endif
#endif
#if !defined(SKIP_WHERE_THREADS_CANNOT_BE_KILLED)
#define SKIP_WHERE_THREADS_CANNOT_BE_KILLED() static_cast<void>(0)
#endif
