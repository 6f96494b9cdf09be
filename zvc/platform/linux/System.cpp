#include "zvc/platform/System.h"

#include "zvc/platform/Clock.h"
#include "zvc/platform/StackBounds.h"
#include "zvc/platform/TypeName.h"

#include <cstdlib>
#include <cstring>
#include <ctime>
#include <cxxabi.h>
#include <pthread.h>
#include <sched.h>
#include <sys/resource.h>
#include <unistd.h>

namespace zvc::platform {

unsigned int ProcessorCount() noexcept {
    const long n = sysconf(_SC_NPROCESSORS_ONLN);
    return n > 0 ? static_cast<unsigned int>(n) : 1u;
}

void Fatal(const char* text) noexcept {
    const char* parts[] = {"zvc: ", text, "\n"};
    for (const char* part : parts)
        if (write(STDERR_FILENO, part, std::strlen(part)) < 0) break;
    std::abort();
}

uint64_t ClockTicks() noexcept {
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<uint64_t>(now.tv_sec) * 1000000000u + static_cast<uint64_t>(now.tv_nsec);
}

uint64_t ClockFrequency() noexcept { return 1000000000u; }

LocalTime LocalTimeNow() noexcept {
    timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    tm local{};
    localtime_r(&now.tv_sec, &local);
    return {local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec,
            static_cast<int>(now.tv_nsec / 1000000)};
}

TimeZone TimeZoneNow() noexcept {
    const time_t now = time(nullptr);
    tm local{};
    localtime_r(&now, &local);
    const bool daylight = local.tm_isdst > 0;
    return {static_cast<int>(-local.tm_gmtoff / 60) + (daylight ? 60 : 0), daylight};
}

namespace {

thread_local uintptr_t t_stackLimit __attribute__((tls_model("initial-exec"))) = 0;

uintptr_t FindStackLimit() noexcept {
    pthread_attr_t attributes;
    void* lowest = nullptr;
    size_t size = 0;
    if (pthread_getattr_np(pthread_self(), &attributes) != 0) return 0;
    pthread_attr_getstack(&attributes, &lowest, &size);
    pthread_attr_destroy(&attributes);
    size_t reserve = 64 * 1024;
    if (size / 4 < reserve) reserve = size / 4;
    return reinterpret_cast<uintptr_t>(lowest) + reserve;
}

}

uintptr_t StackLimit() noexcept {
    if (t_stackLimit == 0) t_stackLimit = FindStackLimit();
    return t_stackLimit;
}

bool TypeNameIsHandle(const std::type_info& info) {
    int status = 0;
    char* name = abi::__cxa_demangle(info.name(), nullptr, nullptr, &status);
    const char* text = name != nullptr ? name : info.name();
    const size_t length = std::strlen(text);
    const bool is = (length != 0 && text[length - 1] == '$') || std::strstr(text, "ZvHandle") != nullptr;
    std::free(name);
    return is;
}

}
