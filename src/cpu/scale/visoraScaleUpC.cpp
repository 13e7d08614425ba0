// Doubled images, reference variants.
#include <algorithm>
#include <cstddef>

#include "visora/variants/scale.h"

namespace
{

// The source pixels along one axis that an output of the doubled image is made of.
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

// Output (x, y): taps outside the image are left out, the others' mean is rounded half up.
uint8_t binomialPixel(const uint8_t* src, size_t srcWidth, size_t srcHeight, size_t srcStride, size_t x, size_t y)
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

}  // namespace

vsrStatus vsrScaleUpBy2u8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                           uint32_t dstStride)
{
    // The nearest pixel beside the one that an output lies in, the edge pixel itself at the edge.
    const auto neighbour = [](size_t index, size_t size)
    { return index % 2 == 0 ? index / 2 - std::min<size_t>(index / 2, 1) : std::min(index / 2 + 1, size - 1); };
    for (size_t y = 0; y < size_t{srcHeight} * 2; ++y)
    {
        const uint8_t* near = src + y / 2 * srcStride;
        const uint8_t* far = src + neighbour(y, srcHeight) * srcStride;
        for (size_t x = 0; x < size_t{srcWidth} * 2; ++x)
        {
            const size_t beside = neighbour(x, srcWidth);
            const int sum = 9 * near[x / 2] + 3 * near[beside] + 3 * far[x / 2] + far[beside];
            dst[y * dstStride + x] = static_cast<uint8_t>((sum + 8) >> 4);
        }
    }
    return VISORA_SUCCESS;
}

vsrStatus vsrScaleUpBy2Gaussian5x5u8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                      uint8_t* dst, uint32_t dstStride)
{
    for (size_t y = 0; y < size_t{srcHeight} * 2; ++y)
    {
        for (size_t x = 0; x < size_t{srcWidth} * 2; ++x)
        {
            dst[y * dstStride + x] = binomialPixel(src, srcWidth, srcHeight, srcStride, x, y);
        }
    }
    return VISORA_SUCCESS;
}
