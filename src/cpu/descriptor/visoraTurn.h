// Sine and cosine of angles in degrees that no C library has a part in.
#ifndef VISORA_CPU_TURN_H
#define VISORA_CPU_TURN_H

#include <cmath>
#include <cstdint>

namespace visora
{

struct Turn
{
    float c;
    float s;
};

/** The turn by an angle, within 2e-7. What is not finite or beyond 2^20 degrees counts as 0. */
inline Turn turnBy(float angle)
{
    const float a = std::fabs(angle) <= 1048576 ? angle : 0;
    const float q = std::floor(a * 0x1.6c16c2p-7f + 0.5f);
    const float r = a - 90 * q;
    const float x = r * 0x1.1df46ap-6f;
    const float z = x * x;
    const float sin0 = x + (x * z) * (-0x1.555546p-3f + z * (0x1.11073cp-7f + z * -0x1.9943f2p-13f));
    const float cos0 = (1 - 0.5f * z) + (z * z) * (0x1.55554ap-5f + z * (-0x1.6c0c34p-10f + z * 0x1.99eb9cp-16f));
    switch (static_cast<int32_t>(q) & 3)
    {
        case 0:
            return {cos0, sin0};
        case 1:
            return {-sin0, cos0};
        case 2:
            return {-cos0, -sin0};
        default:
            return {sin0, -cos0};
    }
}

}  // namespace visora

#endif
