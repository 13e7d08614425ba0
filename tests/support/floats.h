// Floats for tests: moderate ones, with those among them that are special.
#ifndef VISORA_TESTS_SUPPORT_FLOATS_H
#define VISORA_TESTS_SUPPORT_FLOATS_H

#include <bit>
#include <cmath>
#include <limits>
#include <type_traits>

#include "support/arguments.h"

namespace visora::test
{

/** From -300 to 300 in steps of 1 / 16, now and then a zero, a tiny one, a huge one, an infinity or a NaN. */
inline float someFloat(Random& random, bool hasSpecials = true)
{
    using Limits = std::numeric_limits<float>;
    static constexpr float kSpecials[] = {0.0F,
                                          -0.0F,
                                          1e-40F,
                                          -1e30F,
                                          3e38F,
                                          Limits::infinity(),
                                          -Limits::infinity(),
                                          Limits::quiet_NaN(),
                                          std::bit_cast<float>(0xFFA12345U)};
    if (hasSpecials && random.oneIn(20))
    {
        return kSpecials[random.between(0, std::size(kSpecials) - 1)];
    }
    return static_cast<float>(static_cast<int>(random.between(0, 9600)) - 4800) / 16.0F;
}

/** An image of random elements; floats are special ones in some images only. */
template <class T>
const T* image(Arguments& a, uint32_t rowElements, uint32_t rows, uint32_t stride)
{
    if constexpr (std::is_same_v<T, float>)
    {
        const bool hasSpecials = !a.shape().typical && a.random().oneIn(2);
        return a.made<float>(rowElements, rows, stride, [&] { return someFloat(a.random(), hasSpecials); });
    }
    else
    {
        return a.input<T>(rowElements, rows, stride);
    }
}

}  // namespace visora::test

#endif
