#pragma once

// Which sanitizer the program is built with, 0 or 1: each has an allocator and handlers of its own, which some tests get
// into the way of.

#if defined(__SANITIZE_ADDRESS__)
#define ZVC_ADDRESS_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define ZVC_ADDRESS_SANITIZER 1
#endif
#endif
#ifndef ZVC_ADDRESS_SANITIZER
#define ZVC_ADDRESS_SANITIZER 0
#endif

#if defined(__SANITIZE_THREAD__)
#define ZVC_THREAD_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define ZVC_THREAD_SANITIZER 1
#endif
#endif
#ifndef ZVC_THREAD_SANITIZER
#define ZVC_THREAD_SANITIZER 0
#endif

// The thread sanitizer keeps a record of every call that has not returned, which ends long before the stack does.
#define SKIP_WHERE_CALLS_CANNOT_NEST_DEEPLY() \
    if (ZVC_THREAD_SANITIZER) GTEST_SKIP()
