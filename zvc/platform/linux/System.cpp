#include "zvc/platform/System.h"

#include "zvc/platform/Clock.h"
#include "zvc/platform/StackBounds.h"
#include "zvc/platform/TypeName.h"

#include <cstdlib>
#include <cstring>
#include <ctime>
#include <cxxabi.h>
#include <pthread.h>
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
    tzset();
    localtime_r(&now.tv_sec, &local);
    return {local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec,
            static_cast<int>(now.tv_nsec / 1000000)};
}

// Where the year knows two offsets, the lesser is the zone's own and the other is daylight time: the tables of some zones
// say it the other way round, with a winter time that is the exception, and not every zone moves by an hour.
TimeZone TimeZoneNow() noexcept {
    const time_t now = time(nullptr);
    tm local{};
    tzset();
    localtime_r(&now, &local);
    long standard = local.tm_gmtoff;
    bool changes = local.tm_isdst > 0;
    for (int month = 0; month <= 6; month += 6) {
        tm other{};
        other.tm_year = local.tm_year;
        other.tm_mon = month;
        other.tm_mday = 1;
        const time_t then = timegm(&other);
        localtime_r(&then, &other);
        changes = changes || other.tm_isdst > 0;
        if (other.tm_gmtoff < standard) standard = other.tm_gmtoff;
    }
    if (!changes) standard = local.tm_gmtoff;
    if (local.tm_isdst > 0 && standard == local.tm_gmtoff) standard = -timezone;       // daylight time all the year
    return {static_cast<int>(-standard / 60), local.tm_gmtoff > standard};
}

namespace {

thread_local uintptr_t t_stackLowest __attribute__((tls_model("initial-exec"))) = 0;
thread_local uintptr_t t_stackLimit __attribute__((tls_model("initial-exec"))) = 0;

// Where the system does not tell, a part of the least that threads are usually given is believed to be left.
void FindStack() noexcept {
    pthread_attr_t attributes;
    void* lowest = nullptr;
    size_t size = 0;
    if (pthread_getattr_np(pthread_self(), &attributes) == 0) {
        pthread_attr_getstack(&attributes, &lowest, &size);
        pthread_attr_destroy(&attributes);
    } else {
        size = 256 * 1024;
        lowest = static_cast<char*>(__builtin_frame_address(0)) - size;
    }
    const size_t reserve = size / 4 < 64 * 1024 ? size / 4 : 64 * 1024;
    t_stackLowest = reinterpret_cast<uintptr_t>(lowest);
    t_stackLimit = t_stackLowest + reserve;
}

}

uintptr_t StackLowest() noexcept {
    if (t_stackLimit == 0) FindStack();
    return t_stackLowest;
}

uintptr_t StackLimit() noexcept {
    if (t_stackLimit == 0) FindStack();
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
