#include "zvc/imaging/ZvPixels.h"

#include "zvc/core/ZvException.h"

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace zvc::detail {

namespace {

// Ahead of the pixels, in the same allocation, and as long as the strictest alignment asks for.
struct alignas(std::max_align_t) Owners {
    std::atomic<int> count{1};
};

Owners* OwnersOf(unsigned char* pixels) noexcept { return reinterpret_cast<Owners*>(pixels) - 1; }

unsigned char* PixelsIn(void* allocation) {
    if (allocation == nullptr) throw ZvBadAllocException("bad alloc");
    return reinterpret_cast<unsigned char*>(new (allocation) Owners + 1);
}

}

unsigned char* NewPixels(long long bytes, bool cleared) {
    constexpr long long most = std::numeric_limits<long long>::max() - static_cast<long long>(sizeof(Owners));
    if (bytes < 0 || bytes > most) throw ZvBadAllocException("bad alloc");
    const size_t size = sizeof(Owners) + static_cast<size_t>(bytes);
    return PixelsIn(cleared ? std::calloc(1, size) : std::malloc(size));
}

unsigned char* GrowPixels(unsigned char* pixels, size_t from, size_t to) {
    unsigned char* grown = PixelsIn(std::realloc(OwnersOf(pixels), sizeof(Owners) + to));
    std::memset(grown + from, 0, to - from);
    return grown;
}

void RetainPixels(unsigned char* pixels) noexcept { OwnersOf(pixels)->count.fetch_add(1, std::memory_order_relaxed); }

void ReleasePixels(unsigned char* pixels) noexcept {
    if (OwnersOf(pixels)->count.fetch_sub(1, std::memory_order_acq_rel) == 1) std::free(OwnersOf(pixels));
}

}
