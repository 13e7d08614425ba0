// Sines, arctangents and main directions in degrees and double precision that no C library has a part in.
#ifndef VISORA_CPU_DEGREES_H
#define VISORA_CPU_DEGREES_H

#include <cmath>
#include <cstddef>

namespace visora
{

struct SineAndCosine
{
    double sine;
    double cosine;
};

constexpr size_t kSineTerms = 9;

/** 1 / n! with the sign of the series' term: of the cosine with even n, of the sine with odd ones. */
struct SineSeries
{
    constexpr SineSeries()
    {
        // (2k)! and (2k + 1)! are exact in a double.
        double factorial = 1;
        double sign = 1;
        for (size_t k = 0; k < kSineTerms; ++k)
        {
            const auto n = static_cast<double>(2 * k);
            even[k] = sign / factorial;
            odd[k] = sign / (factorial * (n + 1));
            factorial = factorial * (n + 1) * (n + 2);
            sign = -sign;
        }
    }

    double even[kSineTerms] = {};
    double odd[kSineTerms] = {};
};
inline constexpr SineSeries kSineSeries;

/** Of an angle in degrees, with an error below 1e-15: Taylor series about the nearest multiple of 90. */
inline SineAndCosine sineAndCosine(double degrees)
{
    double r = std::fmod(degrees, 360.0);
    r = r < 0 ? r + 360.0 : r;
    const double q = std::floor(r / 90.0 + 0.5);
    const double z = (r - 90.0 * q) * 0.017453292519943295;
    const double zz = z * z;
    double s = 0;
    double c = 0;
    for (size_t k = kSineTerms; k-- > 0;)
    {
        s = s * zz + kSineSeries.odd[k];
        c = c * zz + kSineSeries.even[k];
    }
    s = s * z;
    switch (static_cast<int>(q) % 4)
    {
        case 0:
            return {s, c};
        case 1:
            return {c, -s};
        case 2:
            return {-s, -c};
        default:
            return {-c, s};
    }
}

/** The angle of (x, y) in degrees, above -180 and up to 180, with an error below 1e-11; 0 for (0, 0). */
inline double angleOf(double y, double x)
{
    const double ax = std::fabs(x);
    const double ay = std::fabs(y);
    if (ax == 0 && ay == 0)
    {
        return 0;
    }
    const double t = ay > ax ? ax / ay : ay / ax;
    const bool isSteep = t > 0.41421356237309503;
    const double u = isSteep ? (t - 1.0) / (t + 1.0) : t;
    const double z = u * u;
    double a = 0;
    for (int k = 14; k >= 0; --k)
    {
        a = a * z + (k % 2 == 0 ? 1.0 : -1.0) / (2 * k + 1);
    }
    a = (isSteep ? 45.0 : 0.0) + (a * u) * 57.29577951308232;
    a = ay > ax ? 90.0 - a : a;
    a = x < 0 ? 180.0 - a : a;
    return y < 0 ? -a : a;
}

struct UnitVector
{
    double x;
    double y;
};

/** The main direction of second moments xx, xy, yy: to the right, or straight down; (1, 0) where none is. */
inline UnitVector mainDirection(double xx, double xy, double yy)
{
    const double d = xx - yy;
    const double h = std::sqrt(d * d + 4.0 * (xy * xy));
    if (h == 0)
    {
        return {1, 0};
    }
    const double vx = d >= 0 ? h + d : 2.0 * xy;
    const double vy = d >= 0 ? 2.0 * xy : h - d;
    const double length = std::sqrt(vx * vx + vy * vy);
    const double x = vx / length;
    const double y = vy / length;
    const bool isBackward = x < 0 || (x == 0 && y < 0);
    return isBackward ? UnitVector{-x, -y} : UnitVector{x, y};
}

}  // namespace visora

#endif
