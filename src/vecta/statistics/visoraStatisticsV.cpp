// Measures of images from sums of integers, vector variants.
#include "cpu/statistics/visoraStatistics.h"
#include "visora/variants/statistics.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/statistics/visoraStatisticsV.cpp"
#include <algorithm>

#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/reduce/visoraReduce-inl.h"
#include "vecta/statistics/visoraStatisticsSums-inl.h"
#include "vecta/visoraExport.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

// The sums of pixels and of their squares, in one pass.
struct BytesAndSquares
{
    static constexpr size_t kLanes = PixelSum::kLanes;
    static constexpr size_t kSteps = std::min(PixelSum::kSteps, SquaresU8::kSteps);
    static constexpr bool kMayRepeat = false;

    // Written out, as it has to be compiled for the instruction set.
    HWY_INLINE BytesAndSquares() {}

    HWY_INLINE void add(size_t chain, const uint8_t* at)
    {
        bytes.add(chain, at);
        squares.add(chain, at);
    }

    HWY_INLINE void flush()
    {
        bytes.flush();
        squares.flush();
    }

    PixelSum bytes;
    SquaresU8 squares;
};

vsrStatus intensityStats(const uint8_t* src, uint32_t /*srcWidth*/, uint32_t /*srcHeight*/, uint32_t srcStride,
                         uint32_t left, uint32_t top, uint32_t width, uint32_t height, float* mean, float* variance)
{
    BytesAndSquares all;
    foldRows(width, height, all, source(src + size_t{top} * srcStride + left, srcStride));
    meanAndVariance(uint64_t{width} * height, all.bytes.total(), all.squares.total(), mean, variance);
    return VISORA_SUCCESS;
}

// The sum of the squares of the Laplacian over columns left .. right - 1 of all rows top .. bottom - 1.
template <class D>
HWY_INLINE uint64_t squaredLaplacians(D d, const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, size_t srcStride,
                                      uint64_t left, uint64_t right, uint64_t top, uint64_t bottom)
{
    const hn::Rebind<uint8_t, D> d8;
    const uint64_t begin = std::max<uint64_t>(left, 1);
    const uint64_t end = std::min<uint64_t>(right, srcWidth - 1);
    SquareSum<D> sum;
    uint64_t edges = 0;
    for (uint64_t y = top; y < bottom; ++y)
    {
        const uint8_t* row = src + y * srcStride;
        const uint8_t* above = y > 0 ? row - srcStride : row;
        const uint8_t* below = y + 1 < srcHeight ? row + srcStride : row;
        const auto single = [&](uint64_t x)
        {
            const int32_t l =
                row[x > 0 ? x - 1 : x] + row[x + 1 < srcWidth ? x + 1 : x] + above[x] + below[x] - 4 * row[x];
            edges += static_cast<uint64_t>(l * l);
        };
        if (left == 0)
        {
            single(0);
        }
        if (right == srcWidth && srcWidth > 1)
        {
            single(srcWidth - 1);
        }
        if (begin >= end)
        {
            continue;
        }
        if (end - begin < hn::Lanes(d))
        {
            for (uint64_t x = begin; x < end; ++x)
            {
                single(x);
            }
            continue;
        }
        coverOnce(d, end - begin,
                  [&](size_t i, auto mask) HWY_ATTR
                  {
                      const size_t x = begin + i;
                      const auto pixels = [&](const uint8_t* p) HWY_ATTR
                      { return hn::PromoteTo(d, hn::LoadU(d8, p + x)); };
                      const auto around =
                          hn::Add(hn::Add(pixels(row - 1), pixels(row + 1)), hn::Add(pixels(above), pixels(below)));
                      sum.add(hn::And(mask, hn::Sub(around, hn::ShiftLeft<2>(pixels(row)))));
                  });
    }
    return sum.total() + edges;
}

vsrStatus focusMeasure(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint32_t gridX,
                       uint32_t gridY, float* measures)
{
    const hn::ScalableTag<int16_t> wide;
    const hn::CappedTag<int16_t, 8> narrow;
    for (uint64_t j = 0; j < gridY; ++j)
    {
        for (uint64_t i = 0; i < gridX; ++i)
        {
            const uint64_t left = i * srcWidth / gridX;
            const uint64_t right = (i + 1) * srcWidth / gridX;
            const uint64_t top = j * srcHeight / gridY;
            const uint64_t bottom = (j + 1) * srcHeight / gridY;
            const uint64_t sum =
                right - left >= hn::Lanes(wide) + 2
                    ? squaredLaplacians(wide, src, srcWidth, srcHeight, srcStride, left, right, top, bottom)
                    : squaredLaplacians(narrow, src, srcWidth, srcHeight, srcStride, left, right, top, bottom);
            measures[j * gridX + i] =
                static_cast<float>(static_cast<double>(sum) / static_cast<double>((right - left) * (bottom - top)));
        }
    }
    return VISORA_SUCCESS;
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

VSR_VECTOR(vsrImageIntensityStatsu8, intensityStats);
VSR_VECTOR(vsrFocusMeasureu8, focusMeasure);

#endif
