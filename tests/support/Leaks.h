#pragma once

#if defined(__SANITIZE_ADDRESS__)
#define ZV_TESTS_FIND_LEAKS 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define ZV_TESTS_FIND_LEAKS 1
#endif
#endif

#ifdef ZV_TESTS_FIND_LEAKS
#include <sanitizer/lsan_interface.h>
#endif

/// While it lives, what is allocated may stay behind: for what leaks by design, as a cycle that nobody can reach any more
/// or a plug-in object that the table did not take.
class LeaksAllowed {
public:
#ifdef ZV_TESTS_FIND_LEAKS
    LeaksAllowed() { __lsan_disable(); }
    ~LeaksAllowed() { __lsan_enable(); }
#else
    LeaksAllowed() {}
    ~LeaksAllowed() {}
#endif
    LeaksAllowed(const LeaksAllowed&) = delete;
};
