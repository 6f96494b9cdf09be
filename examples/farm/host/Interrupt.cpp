#include "Interrupt.h"

#include <csignal>

namespace farm {

namespace {

volatile std::sig_atomic_t s_interrupts = 0;

extern "C" void OnInterrupt(int) { s_interrupts = s_interrupts + 1; }

}

void CatchInterrupts() {
    std::signal(SIGINT, &OnInterrupt);
    std::signal(SIGTERM, &OnInterrupt);
}

int Interrupts() { return s_interrupts; }

}
