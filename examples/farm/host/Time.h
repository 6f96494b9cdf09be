#pragma once

#include <chrono>

namespace farm {

/// Seconds since the program's first question.
inline double Seconds() {
    static const auto start = std::chrono::steady_clock::now();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

}
