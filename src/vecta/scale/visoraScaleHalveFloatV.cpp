// 5x5 Gaussian half of floats, vector variant.
//
// The order of additions belongs to the result: sums down the columns come first. Two output rows are made at a time,
// which read the rows that they share only once.
#include <algorithm>
#include <array>
#include <limits>

#include "cpu/scale/visoraScaleHalve.h"
#include "visora/variants/scale.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/scale/visoraScaleHalveFloatV.cpp"
#include "hwy/cache_control.h"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

constexpr size_t kTileOutputs = 512;

// Weighted sums of the columns of one tile, even and odd ones apart.
struct FloatColumns
{
    alignas(64) std::array<float, kTileOutputs + 2> even;
    alignas(64) std::array<float, kTileOutputs + 2> odd;
};

// The rows of a window that lie inside the image.
struct WindowRows
{
    std::array<const float*, 5> rows;
    std::array<float, 5> weights;
    size_t count = 0;
    float weight = 0;

    bool whole() const { return count == 5; }
};

WindowRows windowRows(const GaussianImage<float>& image, uint32_t y)
{
    constexpr auto kWeights = binomialWeights<2>();
    WindowRows window;
    for (size_t tap = 0; tap < kWeights.size(); ++tap)
    {
        const size_t row = 2 * size_t{y} + tap;
        if (row >= 2 && row - 2 < image.height)
        {
            window.rows[window.count] = image.src + (row - 2) * image.srcStep;
            window.weights[window.count++] = static_cast<float>(kWeights[tap]);
            window.weight += static_cast<float>(kWeights[tap]);
        }
    }
    return window;
}

template <class D, class V>
HWY_INLINE void storeColumns(D d, V low, V high, size_t i, FloatColumns& columns)
{
    hn::StoreU(hn::ConcatEven(d, high, low), d, columns.even.data() + i);
    hn::StoreU(hn::ConcatOdd(d, high, low), d, columns.odd.data() + i);
}

// Sums of `pairs` pairs of columns from `first` on, of any window.
template <class D>
HWY_INLINE void sumColumns(D d, const WindowRows& window, size_t first, size_t pairs, FloatColumns& columns)
{
    const auto sumAt = [&](size_t x) HWY_ATTR
    {
        auto sum = hn::Mul(hn::Set(d, window.weights[0]), hn::LoadU(d, window.rows[0] + x));
        for (size_t tap = 1; tap < window.count; ++tap)
        {
            sum = hn::Add(sum, hn::Mul(hn::Set(d, window.weights[tap]), hn::LoadU(d, window.rows[tap] + x)));
        }
        return sum;
    };
    coverRange(0, pairs, hn::Lanes(d),
               [&](size_t i) HWY_ATTR
               { storeColumns(d, sumAt(first + 2 * i), sumAt(first + 2 * i + hn::Lanes(d)), i, columns); });
}

// The same of two whole windows, one output row apart: they share three rows, and a product. What the next two windows
// add to them, `ahead` elements behind the last four rows, is fetched meanwhile on processors that do not foresee it.
template <class D>
HWY_INLINE void sumColumnsTwice(D d, const WindowRows& upper, const WindowRows& lower, size_t first, size_t pairs,
                                [[maybe_unused]] size_t ahead, FloatColumns& upperColumns, FloatColumns& lowerColumns)
{
    using V = hn::Vec<D>;
    const float* rows[7] = {upper.rows[0] + first, upper.rows[1] + first, upper.rows[2] + first, upper.rows[3] + first,
                            upper.rows[4] + first, lower.rows[3] + first, lower.rows[4] + first};
#if HWY_ARCH_ARM
    // Pointers that are known to begin at one distance are moved, and get that added in every step besides.
    for (const float*& row : rows)
    {
        asm("" : "+r"(row));
    }
#endif
    const V four = hn::Set(d, 4.0f);
    const V six = hn::Set(d, 6.0f);
    const auto sumAt = [&](size_t x, V& up, V& low) HWY_ATTR
    {
        const auto row = [&](size_t i) HWY_ATTR { return hn::LoadU(d, rows[i] + x); };
        const V third = row(2);
        const V fourth = hn::Mul(four, row(3));
        const V fifth = row(4);
        up = hn::Add(row(0), hn::Mul(four, row(1)));
        up = hn::Add(hn::Add(hn::Add(up, hn::Mul(six, third)), fourth), fifth);
        low = hn::Add(third, fourth);
        low = hn::Add(hn::Add(hn::Add(low, hn::Mul(six, fifth)), hn::Mul(four, row(5))), row(6));
    };
    coverRange(0, pairs, hn::Lanes(d),
               [&](size_t i) HWY_ATTR
               {
#if HWY_ARCH_X86
                   constexpr size_t kLine = 64 / sizeof(float);
                   for (size_t row = 3; row < 7; ++row)
                   {
                       for (size_t x = 0; x < 2 * hn::Lanes(d); x += kLine)
                       {
                           hwy::Prefetch(rows[row] + ahead + 2 * i + x);
                       }
                   }
#endif
                   V up[2];
                   V low[2];
                   sumAt(2 * i, up[0], low[0]);
                   sumAt(2 * i + hn::Lanes(d), up[1], low[1]);
                   storeColumns(d, up[0], up[1], i, upperColumns);
                   storeColumns(d, low[0], low[1], i, lowerColumns);
               });
}

float oneNaN(float mean)
{
    return mean == mean ? mean : std::numeric_limits<float>::quiet_NaN();
}

template <class D>
HWY_INLINE void combineColumns(D d, const FloatColumns& columns, size_t count, float weight, float* out)
{
    const auto four = hn::Set(d, 4.0f);
    const auto six = hn::Set(d, 6.0f);
    const auto combine = [&](auto normalise) HWY_ATTR
    {
        const auto one = [&](size_t x) HWY_ATTR
        {
            const float* even = columns.even.data() + x;
            const float* odd = columns.odd.data() + x;
            auto sum = hn::LoadU(d, even);
            sum = hn::Add(sum, hn::Mul(four, hn::LoadU(d, odd)));
            sum = hn::Add(sum, hn::Mul(six, hn::LoadU(d, even + 1)));
            sum = hn::Add(sum, hn::Mul(four, hn::LoadU(d, odd + 1)));
            sum = hn::Add(sum, hn::LoadU(d, even + 2));
            hn::StoreU(resultWithOneNan(d, normalise(sum)), d, out + x);
        };
#if HWY_ARCH_ARM
        size_t x = 0;
        for (; x + 2 * hn::Lanes(d) <= count; x += 2 * hn::Lanes(d))
        {
            one(x);
            one(x + hn::Lanes(d));
        }
        coverRange(x, count, hn::Lanes(d), one);
#else
        coverAligned(0, count, hn::Lanes(d), out, one);
#endif
    };
    if (weight == 16.0f)
    {
        combine([d](auto sum) HWY_ATTR { return hn::Mul(sum, hn::Set(d, 1.0f / 256)); });
    }
    else
    {
        combine([d, weight](auto sum) HWY_ATTR { return hn::Div(sum, hn::Set(d, 16 * weight)); });
    }
}

// Outputs firstOutput .. firstOutput + count - 1 of all rows, and those at the edges beside them.
template <class D>
HWY_INLINE void halveFloatTile(D d, const GaussianImage<float>& image, uint32_t dstWidth, uint32_t dstHeight,
                               size_t firstOutput, size_t count)
{
    const size_t inner = innerEnd(image.width);
    const bool atLeft = firstOutput == 1;
    const bool atRight = firstOutput + count == inner;
    const auto finish = [&](uint32_t y, float rowWeight, const FloatColumns& columns) HWY_ATTR
    {
        float* out = image.dst + y * image.dstStep;
        combineColumns(d, columns, count, rowWeight, out + firstOutput);
        if (atLeft)
        {
            const float sum = 6 * columns.even[0] + 4 * columns.odd[0] + columns.even[1];
            out[0] = oneNaN(sum / (11 * rowWeight));
        }
        if (atRight && image.width % 2 == 0)
        {
            const float sum =
                columns.even[count] + 4 * columns.odd[count] + 6 * columns.even[count + 1] + 4 * columns.odd[count + 1];
            out[inner] = oneNaN(sum / (15 * rowWeight));
        }
        else
        {
            for (size_t x = inner; atRight && x < dstWidth; ++x)
            {
                out[x] = halvedPixel(image, static_cast<uint32_t>(x), y);
            }
        }
    };

    FloatColumns columns[2];
    const size_t first = 2 * (firstOutput - 1);
    for (uint32_t y = 0; y < dstHeight;)
    {
        const WindowRows window = windowRows(image, y);
        const WindowRows next = windowRows(image, y + 1);
        if (window.whole() && next.whole() && y + 1 < dstHeight)
        {
            const size_t ahead = 2 * size_t{y} + 8 < image.height ? 4 * image.srcStep : 0;
            sumColumnsTwice(d, window, next, first, count + 2, ahead, columns[0], columns[1]);
            finish(y, window.weight, columns[0]);
            finish(y + 1, window.weight, columns[1]);
            y += 2;
        }
        else
        {
            sumColumns(d, window, first, count + 2, columns[0]);
            finish(y, window.weight, columns[0]);
            ++y;
        }
    }
}

template <class D>
HWY_INLINE void halveFloats(D d, const GaussianImage<float>& image, uint32_t dstWidth, uint32_t dstHeight)
{
    const size_t inner = innerEnd(image.width);
    for (size_t begin = 1; begin < inner;)
    {
        const size_t count = std::min(kTileOutputs, std::max(inner - begin, hn::Lanes(d)));
        const size_t firstOutput = std::min(begin, inner - count);
        halveFloatTile(d, image, dstWidth, dstHeight, firstOutput, count);
        begin = firstOutput + count;
    }
}

bool halveFloatsIfWide(const GaussianImage<float>& image, uint32_t dstWidth, uint32_t dstHeight)
{
    return withFittingVector<float>(innerEnd(image.width) - 1,
                                    [&](auto d) HWY_ATTR { halveFloats(d, image, dstWidth, dstHeight); });
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace visora
{
HWY_EXPORT(halveFloatsIfWide);
}  // namespace visora

void visora::halveVector(const GaussianImage<float>& image, uint32_t dstWidth, uint32_t dstHeight)
{
    if (!HWY_DYNAMIC_DISPATCH(halveFloatsIfWide)(image, dstWidth, dstHeight))
    {
        halveReference(image, dstWidth, dstHeight);
    }
}

vsrStatus vsrScaleDownBy2Gaussian5x5f32_v2V(const float* src, uint32_t width, uint32_t height, uint32_t srcStride,
                                            float* dst, uint32_t dstStride)
{
    visora::halveVector(visora::GaussianImage(src, width, height, srcStride, dst, dstStride), width / 2, height / 2);
    return VISORA_SUCCESS;
}

vsrStatus vsrScaleDownBy2Gaussian5x5f32V(const float* src, uint32_t width, uint32_t height, float* dst)
{
    constexpr uint32_t kBytes = sizeof(float);
    return vsrScaleDownBy2Gaussian5x5f32_v2V(src, width, height, width * kBytes, dst, width / 2 * kBytes);
}

#endif
