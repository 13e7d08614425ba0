// The tables of L*a*b*, made by the compiler. No entry is so close to a tie that the last bits of a double matter.
#include "cpu/color/visoraColorLabTables.h"

namespace visora
{
namespace
{

/** The n-th root of a value in (0, 1], by Newton's method from above. */
template <int n>
constexpr double root(double value)
{
    double x = 1;
    for (;;)
    {
        double power = x;
        for (int i = 2; i < n; ++i)
        {
            power *= x;
        }
        const double next = ((n - 1) * x + value / power) / n;
        if (next >= x)
        {
            return x;
        }
        x = next;
    }
}

constexpr double cube(double x)
{
    return x * x * x;
}

template <class T>
constexpr T nearest(double x)
{
    return static_cast<T>(x + 0.5);
}

/** sRGB to linear light; the power 2.4 is the twelfth of the fifth root. */
constexpr double linearOf(double c)
{
    if (c <= 0.04045)
    {
        return c / 12.92;
    }
    const double fifth = root<5>((c + 0.055) / 1.055);
    return cube(fifth * fifth) * cube(fifth * fifth);
}

/** The reverse; the power 1 / 2.4 is the fifth of the twelfth root. */
constexpr double gammaOf(double c)
{
    if (c <= 0.0031308)
    {
        return 12.92 * c;
    }
    const double twelfth = root<3>(root<2>(root<2>(c)));
    return 1.055 * twelfth * twelfth * cube(twelfth) - 0.055;
}

constexpr double lightnessRoot(double t)
{
    return t < 216.0 / 24389 ? 841 * t / 108 + 4.0 / 29 : root<3>(t);
}

constexpr LabTables makeTables()
{
    LabTables tables = {};
    for (unsigned v = 0; v < 256; ++v)
    {
        const double f = (100.0 * v / 255 + 16) / 116;
        tables.linear[v] = nearest<uint16_t>(2040 * linearOf(v / 255.0));
        tables.fy[v] = nearest<uint16_t>(16384 * f);
        tables.luma[v] = nearest<uint16_t>(16384 * (v < 21 ? 27 * (100.0 * v / 255) / 24389 : cube(f)));
    }
    for (unsigned i = 0; i <= 2040; ++i)
    {
        tables.root[i] = nearest<uint16_t>(32768 * lightnessRoot(i / 2040.0));
    }
    // Two entries next to a tie are defined to go to the other side.
    tables.root[49] = 9454;
    tables.root[628] = 22126;
    for (unsigned i = 0; i < 4096; ++i)
    {
        tables.gamma[i] = nearest<uint8_t>(255 * gammaOf(i / 4096.0));
    }
    return tables;
}

}  // namespace

constinit const LabTables kLabTables = makeTables();

}  // namespace visora
