#pragma once

// What a thread must not be stopped or killed in: the layer's own short steps, such as the ones that hold the lock of the
// handle table. A kernel finishes its calls before it stops a thread; the layer does the same here.

#include "zvc/platform/Api.h"

#include <cstdint>

namespace zvc::platform {

class Object;
class ThreadObject;

/// The calling thread's state in the layer. Plain words of the initial-exec model: no loader call, no destructor.
struct ThreadLocal {
    uint32_t depth;               // regions the thread is in
    ThreadObject* pending;        // its record, when it was told to stop or end while in a region
    Object* inUse;                // the object of the operation under way, for whoever kills the thread
};

extern ZV_HIDDEN __thread ThreadLocal t_local __attribute__((tls_model("initial-exec")));

/// Does what the thread was told while it was in a region.
void CatchUp() noexcept;

/// While one lives, its thread is neither stopped nor killed. Nests. Must not be held over anything that waits for long.
class Region {
public:
    Region() noexcept {
        ++t_local.depth;
        __atomic_signal_fence(__ATOMIC_SEQ_CST);
    }
    ~Region() {
        __atomic_signal_fence(__ATOMIC_SEQ_CST);
        const bool outermost = --t_local.depth == 0;
        __atomic_signal_fence(__ATOMIC_SEQ_CST);
        if (outermost && __atomic_load_n(&t_local.pending, __ATOMIC_RELAXED) != nullptr) CatchUp();
    }
    Region(const Region&) = delete;
    Region& operator=(const Region&) = delete;
};

}
