#pragma once

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define ZV_TESTS_FOREIGN_ALLOCATOR 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define ZV_TESTS_FOREIGN_ALLOCATOR 1
#endif
#endif

/// The sanitizers' allocators end the process instead of giving null: nothing can be shown there.
#ifdef ZV_TESTS_FOREIGN_ALLOCATOR
inline constexpr bool MemoryCanRunShort = false;
#else
inline constexpr bool MemoryCanRunShort = true;
#endif

/// What f answers in a child process that gets no more memory from the system. Small blocks may still be had there.
template <class F>
bool HoldsWithShortMemory(F f) {
    const pid_t child = fork();
    if (child == 0) {
        const rlimit limit{1, 1};
        setrlimit(RLIMIT_AS, &limit);
        _exit(f() ? 0 : 1);
    }
    int status = 1;
    waitpid(child, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}
