#pragma once

#include "zvc/platform/Api.h"

/// Constants and small numeric functions.
class ZV_API ZvMath {
public:
    ZvMath() = delete;

    static constexpr double PI = 3.141592653589793;
    static constexpr double PI_2 = 1.5707963267948966;       ///< pi / 2
    static constexpr double PI_4 = 0.7853981633974483;       ///< pi / 4
    static constexpr double PI_3_4 = 2.356194490192345;      ///< 3 pi / 4
    static constexpr double _2_PI = 0.6366197723675814;      ///< 2 / pi
    static constexpr double _1_PI = 0.3183098861837907;      ///< 1 / pi
    static constexpr double _1_2PI = 0.15915494309189535;    ///< 1 / (2 pi)
    static constexpr double _1_4PI = 0.07957747154594767;    ///< 1 / (4 pi)
    static constexpr double infinity = 1.7976931348623157e+308;      ///< the largest finite number, and meant so
    static constexpr double epsiron = 2.220446049250313e-16;         ///< 2 to the power -52; spelled so

    /// The next number of one sequence for the whole process, from 0 up to but excluding 1, in steps of 2 to the power -32:
    /// MT19937 (Matsumoto and Nishimura, "Mersenne Twister", ACM TOMACS 8, 1998) with its standard seed 5489, which is never
    /// seeded anew. One thread at a time.
    static double Random();

    /// Solves a x^2 + b x + c = 0. Answers 2, with the roots, also of a double root; or 0, with roots left alone, when the
    /// discriminant is negative or not a number. The first root is the one that subtracts nothing, the second c / (first a)
    /// (Press et al., "Numerical Recipes", section 5.6). An a or a first root of 0 gives the IEEE results of dividing by it.
    static int Quadratics(double a, double b, double c, double* roots);
};
