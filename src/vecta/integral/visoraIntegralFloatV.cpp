// Integral image of floats and sums of patches, vector variants.
#include "visora/variants/statistics.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/integral/visoraIntegralFloatV.cpp"
#include <algorithm>

#include "cpu/integral/visoraIntegral.h"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/statistics/visoraStatisticsSums-inl.h"
#include "vecta/visoraExport.h"
#include "vecta/visoraTurn-inl.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

using Rows = hn::CappedTag<float, 8>;
constexpr size_t kRows = hn::MaxLanes(Rows());

// The sums of a whole block of rows; the running sum of each row goes through a column of the block.
template <class D>
HWY_INLINE void integrateBlock(D d, const float* src, size_t srcPitch, size_t width, float* dst, size_t dstPitch)
{
    const Quad quad;
    auto sum = hn::Zero(d);
    const auto grow = [&](auto pixels) HWY_ATTR { return sum = hn::Add(sum, pixels); };
    size_t x = 0;
    for (; x + 4 <= width; x += 4)
    {
        const Block<D> columns =
            loadColumns(d, [&](size_t row) HWY_ATTR { return hn::LoadU(quad, src + row * srcPitch + x); });
        const auto s0 = grow(columns.v0);
        const auto s1 = grow(columns.v1);
        const auto s2 = grow(columns.v2);
        const auto s3 = grow(columns.v3);
        const Block<D> sums = turned(d, Block<D>{s0, s1, s2, s3});
        float* out = dst + x;
        auto above = hn::LoadU(quad, out);
        const auto put = [&](size_t /*row*/, auto rowSum) HWY_ATTR
        {
            out += dstPitch;
            above = resultWithOneNan(quad, hn::Add(above, rowSum));
            hn::StoreU(above, quad, out);
        };
        // From the top: rows 0 to 3 of every block of four.
        for (size_t quads = 0; quads < hn::Lanes(d); quads += 4)
        {
            const auto four = [&](auto v) HWY_ATTR
            {
                apart(d, 0, v,
                      [&](size_t row, auto rowSum) HWY_ATTR
                      {
                          if (row == quads)
                          {
                              put(row, rowSum);
                          }
                      });
            };
            four(sums.v0);
            four(sums.v1);
            four(sums.v2);
            four(sums.v3);
        }
    }
    if (x < width)
    {
        HWY_ALIGN float left[hn::MaxLanes(d)];
        hn::Store(sum, d, left);
        for (size_t row = 0; row < hn::Lanes(d); ++row)
        {
            const float* pixels = src + row * srcPitch;
            const float* above = dst + row * dstPitch;
            for (size_t k = x; k < width; ++k)
            {
                left[row] += pixels[k];
                dst[(row + 1) * dstPitch + k] = standardNaN(above[k] + left[row]);
            }
        }
    }
}

vsrStatus integratef32(const float* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, float* dst,
                       uint32_t dstStride)
{
    const size_t srcPitch = srcStride / sizeof(float);
    const size_t dstPitch = dstStride / sizeof(float);
    std::fill_n(dst, size_t{srcWidth} + 1, 0.0f);
    for (size_t y = 0; y < srcHeight; ++y)
    {
        dst[(y + 1) * dstPitch] = 0.0f;
    }
    size_t y = 0;
    for (; y + kRows <= srcHeight; y += kRows)
    {
        integrateBlock(Rows(), src + y * srcPitch, srcPitch, srcWidth, dst + y * dstPitch + 1, dstPitch);
    }
    for (; y < srcHeight; ++y)
    {
        const float* pixels = src + y * srcPitch;
        const float* above = dst + y * dstPitch + 1;
        float* row = dst + (y + 1) * dstPitch + 1;
        float sum = 0;
        for (size_t x = 0; x < srcWidth; ++x)
        {
            sum += pixels[x];
            row[x] = standardNaN(above[x] + sum);
        }
    }
    return VISORA_SUCCESS;
}

vsrStatus integratePatches(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                           const uint32_t* xy, uint32_t count, uint32_t patchWidth, uint32_t patchHeight,
                           uint32_t* sums, uint64_t* squares)
{
    // Patches are small: longer vectors would only carry more empty lanes.
    const hn::FixedTag<uint8_t, 16> d;
    if (patchWidth < hn::Lanes(d))
    {
        return vsrIntegratePatchu8C(src, srcWidth, srcHeight, srcStride, xy, count, patchWidth, patchHeight, sums,
                                    squares);
    }
    for (size_t i = 0; i < count; ++i)
    {
        const uint8_t* row = src + size_t{xy[2 * i + 1]} * srcStride + xy[2 * i];
        ByteSums<decltype(d)> patch;
        for (size_t y = 0; y < patchHeight; ++y, row += srcStride)
        {
            coverOnce(d, patchWidth,
                      [&](size_t x, auto mask) HWY_ATTR { patch.add(hn::And(mask, hn::LoadU(d, row + x))); });
        }
        sums[i] = static_cast<uint32_t>(patch.sum());
        squares[i] = patch.squares();
    }
    return VISORA_SUCCESS;
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

VSR_VECTOR(vsrIntegrateImagef32, integratef32);
VSR_VECTOR(vsrIntegratePatchu8, integratePatches);

#endif
