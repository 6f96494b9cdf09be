#include "zvc/platform/linux/SignalStack.h"

#include <cstddef>
#include <sys/auxv.h>
#include <sys/mman.h>

namespace zvc::platform {

namespace {

constexpr size_t GuardSize = 4096;

// The processor's state alone can be large; what it needs is the system's to say.
size_t StackSize() noexcept {
    const size_t frame = (getauxval(AT_MINSIGSTKSZ) + GuardSize - 1) / GuardSize * GuardSize;
    return 64 * 1024 + frame;
}

}

void* MakeSignalStack() noexcept {
    void* const made = mmap(nullptr, GuardSize + StackSize(), PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_STACK, -1, 0);
    if (made == MAP_FAILED) return nullptr;
    mprotect(made, GuardSize, PROT_NONE);
    return made;
}

void FreeSignalStack(void* made) noexcept {
    if (made != nullptr) munmap(made, GuardSize + StackSize());
}

stack_t DescribeSignalStack(void* made) noexcept {
    stack_t stack{};
    stack.ss_sp = static_cast<char*>(made) + GuardSize;
    stack.ss_size = StackSize();
    return stack;
}

void* TakeSignalStack() noexcept {
    stack_t current{};
    if (sigaltstack(nullptr, &current) != 0 || (current.ss_flags & SS_DISABLE) == 0) return nullptr;
    void* const made = MakeSignalStack();
    if (made == nullptr) return nullptr;
    const stack_t stack = DescribeSignalStack(made);
    sigaltstack(&stack, nullptr);
    return made;
}

}
