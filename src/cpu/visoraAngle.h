// A direction in degrees that no C library has a part in.
#ifndef VISORA_CPU_ANGLE_H
#define VISORA_CPU_ANGLE_H

#include <cmath>

namespace visora
{

/** Odd polynomial of atan(q) in degrees for q from 0 to 1, from the lowest power. */
constexpr float kAngleTerms[8] = {0x1.ca5daep+5f, -0x1.318bbp+4f,  0x1.6db69ap+3f, -0x1.fe050cp+2f,
                                  0x1.619298p+2f, -0x1.9a0d9ep+1f, 0x1.40ae06p+0f, -0x1.dbc526p-3f};

/** Direction of (x, y) in [0, 360), 0 along +x and 90 along +y; its error is below 3e-5 for finite arguments. */
inline float angleInDegrees(float y, float x)
{
    const float ax = std::fabs(x);
    const float ay = std::fabs(y);
    const float n = ay < ax ? ay : ax;
    const float m = ay < ax ? ax : ay;
    const float q = m == 0 ? 0 : n / m;
    const float z = q * q;
    float t = kAngleTerms[7];
    for (int i = 6; i >= 0; --i)
    {
        t = t * z + kAngleTerms[i];
    }
    t *= q;
    if (ay > ax)
    {
        t = 90 - t;
    }
    if (x < 0)
    {
        t = 180 - t;
    }
    if (y < 0)
    {
        t = 360 - t;
    }
    return t >= 360 ? 0 : t;
}

}  // namespace visora

#endif
