// The exponential that weights and curves are made with: the same bits everywhere, whatever the C library.
#ifndef VISORA_CPU_EXPONENTIAL_H
#define VISORA_CPU_EXPONENTIAL_H

#include <array>
#include <cstddef>
#include <cstdint>

namespace visora
{

/**
 * exp(-a) for a >= 0 within 3e-16 of its value; 0 when a is above 700. With k the whole number nearest to a / ln 2, it
 * is exp(k ln 2 - a) by its Taylor series, in parts of 2^k.
 */
constexpr double exponentialOfMinus(double a)
{
    if (a > 700)
    {
        return 0;
    }
    // 1 / i!, rounded once: factorials up to 13 are exact.
    constexpr auto kInverseFactorials = []
    {
        std::array<double, 14> inverses = {};
        double factorial = 1;
        for (size_t i = 0; i < inverses.size(); ++i)
        {
            factorial *= i == 0 ? 1.0 : static_cast<double>(i);
            inverses[i] = 1 / factorial;
        }
        return inverses;
    }();
    const auto k = static_cast<int32_t>(a * 0x1.71547652b82fep+0 + 0.5);
    // ln 2 in two parts, the first of which has products with k without rounding.
    const double u = (k * 0x1.62e42feep-1 - a) + k * 0x1.a39ef35793c76p-33;
    double e = kInverseFactorials[13];
    for (size_t i = 13; i-- > 0;)
    {
        e = e * u + kInverseFactorials[i];
    }
    double power = 1;
    for (int32_t i = 0; i < k; ++i)
    {
        power *= 0.5;
    }
    return e * power;
}

}  // namespace visora

#endif
