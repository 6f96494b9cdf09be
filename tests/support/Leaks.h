#pragma once

#include "Sanitizers.h"

#if ZVC_ADDRESS_SANITIZER
#include <sanitizer/lsan_interface.h>
#endif

/// While it lives, what is allocated may stay behind: for what leaks by design, as a cycle that nobody can reach any more
/// or a plug-in object that the table did not take.
class LeaksAllowed {
public:
#if ZVC_ADDRESS_SANITIZER
    LeaksAllowed() { __lsan_disable(); }
    ~LeaksAllowed() { __lsan_enable(); }
#else
    LeaksAllowed() {}
    ~LeaksAllowed() {}
#endif
    LeaksAllowed(const LeaksAllowed&) = delete;
};
