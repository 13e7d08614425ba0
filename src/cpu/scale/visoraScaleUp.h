// The pixels of an image doubled by the 5x5 binomial kernel.
#ifndef VISORA_CPU_SCALE_UP_H
#define VISORA_CPU_SCALE_UP_H

#include <cstddef>
#include <cstdint>

namespace visora
{

/** The source pixels along one axis that an output of the doubled image is made of. */
struct BinomialTaps
{
    BinomialTaps(size_t index, size_t srcSize) : first(index / 2), count(2)
    {
        if (index % 2 == 0)
        {
            weights[0] = weights[2] = 1;
            weights[1] = 6;
            first = first - 1;  // wraps for output 0, whose first tap is left out
            count = 3;
        }
        for (size_t i = 0; i < count; ++i)
        {
            if (first + i >= srcSize)
            {
                weights[i] = 0;
            }
        }
    }

    size_t first;
    size_t count;
    int weights[3] = {4, 4, 0};
};

/** Output (x, y): taps outside the image are left out, the others' mean is rounded half up. */
inline uint8_t binomialPixel(const uint8_t* src, size_t srcWidth, size_t srcHeight, size_t srcStride, size_t x,
                             size_t y)
{
    const BinomialTaps columns(x, srcWidth);
    const BinomialTaps rows(y, srcHeight);
    int sum = 0;
    int total = 0;
    for (size_t r = 0; r < rows.count; ++r)
    {
        for (size_t c = 0; c < columns.count; ++c)
        {
            const int weight = rows.weights[r] * columns.weights[c];
            sum += weight == 0 ? 0 : weight * src[(rows.first + r) * srcStride + columns.first + c];
            total += weight;
        }
    }
    return static_cast<uint8_t>((2 * sum + total) / (2 * total));
}

}  // namespace visora

#endif
