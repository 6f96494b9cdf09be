#include "zvc/diagnostics/ZvMath.h"

#include <cmath>
#include <cstddef>
#include <cstdint>

namespace {

/// MT19937. A round makes all its numbers at once, in loops over neighbours that the compiler can turn into vectors.
class Twister {
public:
    double Next() {
        if (m_used == N) Round();
        return m_out[m_used++];
    }

private:
    static constexpr size_t N = 624, M = 397;
    static constexpr uint32_t Seed = 5489;

    void Start() {
        m_state[0] = Seed;
        for (uint32_t i = 1; i < N; ++i) m_state[i] = 1812433253u * (m_state[i - 1] ^ (m_state[i - 1] >> 30)) + i;
        m_started = true;
    }

    static uint32_t Twist(uint32_t high, uint32_t low, uint32_t far) {
        const uint32_t y = (high & 0x80000000u) | (low & 0x7FFFFFFFu);
        return far ^ (y >> 1) ^ ((0u - (low & 1u)) & 0x9908B0DFu);
    }

    void Round() {
        if (!m_started) Start();
        for (size_t i = 0; i < N - M; ++i) m_state[i] = Twist(m_state[i], m_state[i + 1], m_state[i + M]);
        for (size_t i = N - M; i < N - 1; ++i) m_state[i] = Twist(m_state[i], m_state[i + 1], m_state[i + M - N]);
        m_state[N - 1] = Twist(m_state[N - 1], m_state[0], m_state[M - 1]);
        for (size_t i = 0; i < N; ++i) {
            uint32_t y = m_state[i];
            y ^= y >> 11;
            y ^= (y << 7) & 0x9D2C5680u;
            y ^= (y << 15) & 0xEFC60000u;
            y ^= y >> 18;
            m_out[i] = y * 0x1p-32;
        }
        m_used = 0;
    }

    uint32_t m_state[N]{};
    double m_out[N]{};
    size_t m_used = N;
    bool m_started = false;
};

constinit Twister s_twister;                 // all zero until it is asked, so that there is no order of statics to mind

}

double ZvMath::Random() { return s_twister.Next(); }

int ZvMath::Quadratics(double a, double b, double c, double* roots) {
    const double d = b * b - 4 * a * c;
    if (!(d >= 0)) return 0;                 // not a number either
    const double q = (std::sqrt(d) + std::fabs(b)) / (a + a);
    roots[0] = b >= 0 ? -q : q;
    roots[1] = c / (roots[0] * a);
    return 2;
}
