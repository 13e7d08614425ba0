// Likeness of images, vector variant. Strips of columns are blurred downward into rows of floats that stay in the
// cache, then along those rows.
#include "cpu/statistics/visoraStatistics.h"
#include "visora/variants/statistics.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/statistics/visoraStatisticsSimilarityV.cpp"
#include <algorithm>

#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/statistics/visoraStatisticsSums-inl.h"
#include "vecta/visoraExport.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

constexpr size_t kStrip = 256;  // windows side by side, a multiple of the partial sums
constexpr size_t kImages = 4;   // a, b, a * a + b * b and a * b

// As the scalar windowSum.
template <class D, class At>
HWY_INLINE hn::Vec<D> blurred(D d, At at)
{
    auto sum = hn::Mul(hn::Set(d, kWindowWeights[0]), at(kRadius));
    for (size_t k = 1; k <= kRadius; ++k)
    {
        sum = hn::Add(sum, hn::Mul(hn::Set(d, kWindowWeights[k]), hn::Add(at(kRadius - k), at(kRadius + k))));
    }
    return sum;
}

// Down one vector of columns, whose top pixels are given.
template <class D>
HWY_INLINE void blurColumns(D d, const uint8_t* src1, size_t src1Stride, const uint8_t* src2, size_t src2Stride,
                            float* const out[kImages], size_t x)
{
    const hn::Rebind<int32_t, D> d32;
    const hn::Rebind<uint8_t, D> d8;
    const auto level = [&](const uint8_t* p) HWY_ATTR
    { return hn::Sub(hn::ConvertTo(d, hn::PromoteTo(d32, hn::LoadU(d8, p))), hn::Set(d, 128.0f)); };
    auto a = hn::Zero(d);
    auto b = a;
    auto q = a;
    auto p = a;
    for (size_t k = 0; k <= kRadius; ++k)
    {
        const auto weight = hn::Set(d, kWindowWeights[k]);
        const auto a1 = level(src1 + (kRadius - k) * src1Stride);
        const auto b1 = level(src2 + (kRadius - k) * src2Stride);
        const auto q1 = hn::Add(hn::Mul(a1, a1), hn::Mul(b1, b1));
        const auto p1 = hn::Mul(a1, b1);
        if (k == 0)
        {
            a = hn::Mul(weight, a1);
            b = hn::Mul(weight, b1);
            q = hn::Mul(weight, q1);
            p = hn::Mul(weight, p1);
            continue;
        }
        const auto a2 = level(src1 + (kRadius + k) * src1Stride);
        const auto b2 = level(src2 + (kRadius + k) * src2Stride);
        const auto q2 = hn::Add(hn::Mul(a2, a2), hn::Mul(b2, b2));
        const auto p2 = hn::Mul(a2, b2);
        a = hn::Add(a, hn::Mul(weight, hn::Add(a1, a2)));
        b = hn::Add(b, hn::Mul(weight, hn::Add(b1, b2)));
        q = hn::Add(q, hn::Mul(weight, hn::Add(q1, q2)));
        p = hn::Add(p, hn::Mul(weight, hn::Add(p1, p2)));
    }
    hn::StoreU(a, d, out[0] + x);
    hn::StoreU(b, d, out[1] + x);
    hn::StoreU(q, d, out[2] + x);
    hn::StoreU(p, d, out[3] + x);
}

// As the scalar similarityOf.
template <class D, class V>
HWY_INLINE V similarity(D d, V a, V b, V q, V x)
{
    const auto lumaFloor = hn::Set(d, kLumaFloor);
    const auto contrastFloor = hn::Set(d, kContrastFloor);
    const auto s = hn::Sub(q, hn::Add(hn::Mul(a, a), hn::Mul(b, b)));
    const auto c = hn::Sub(x, hn::Mul(a, b));
    const auto u = hn::Add(a, hn::Set(d, 128.0f));
    const auto v = hn::Add(b, hn::Set(d, 128.0f));
    const auto m = hn::Mul(u, v);
    const auto above = hn::Mul(hn::Add(hn::Add(m, m), lumaFloor), hn::Add(hn::Add(c, c), contrastFloor));
    const auto below = hn::Mul(hn::Add(hn::Add(hn::Mul(u, u), hn::Mul(v, v)), lumaFloor), hn::Add(s, contrastFloor));
    return hn::Div(above, below);
}

// Adds the similarities of `count` windows, the first one's column a multiple of sixteen.
HWY_INLINE void addSimilarities(float* const blurs[kImages], size_t count, PartialSums<double>& sums)
{
    const hn::CappedTag<float, 16> d;
    const hn::CappedTag<double, 8> d64;
    const hn::Rebind<float, decltype(d64)> part;
    HWY_ALIGN float values[hn::MaxLanes(d)];
    for (size_t x = 0; x < count; x += hn::Lanes(d))
    {
        const auto along = [&](size_t image) HWY_ATTR
        { return blurred(d, [&](size_t k) HWY_ATTR { return hn::LoadU(d, blurs[image] + x + k); }); };
        auto value = similarity(d, along(0), along(1), along(2), along(3));
        if (count - x < hn::Lanes(d))
        {
            value = hn::IfThenElseZero(hn::FirstN(d, count - x), value);
        }
        hn::Store(value, d, values);
        double* partial = sums.partial.data() + x % 16;
        for (size_t i = 0; i < hn::Lanes(d); i += hn::Lanes(d64))
        {
            hn::Store(hn::Add(hn::Load(d64, partial + i), hn::PromoteTo(d64, hn::LoadU(part, values + i))), d64,
                      partial + i);
        }
    }
}

HWY_INLINE float structuralSimilarity(const uint8_t* src1, uint32_t width, uint32_t height, size_t src1Stride,
                                      const uint8_t* src2, size_t src2Stride)
{
    const size_t columns = width - (kWindow - 1);
    const size_t rows = height - (kWindow - 1);
    HWY_ALIGN float buffer[kImages][kStrip + 32] = {};
    float* const blurs[kImages] = {buffer[0], buffer[1], buffer[2], buffer[3]};
    PartialSums<double> sums;
    for (size_t y = 0; y < rows; ++y)
    {
        for (size_t begin = 0; begin < columns; begin += kStrip)
        {
            const size_t count = std::min(kStrip, columns - begin);
            const uint8_t* top1 = src1 + y * src1Stride + begin;
            const uint8_t* top2 = src2 + y * src2Stride + begin;
            withFittingVector<float>(count + kWindow - 1,
                                     [&](auto d) HWY_ATTR
                                     {
                                         coverRange(
                                             0, count + kWindow - 1, hn::Lanes(d),
                                             [&](size_t x) HWY_ATTR
                                             { blurColumns(d, top1 + x, src1Stride, top2 + x, src2Stride, blurs, x); });
                                     });
            addSimilarities(blurs, count, sums);
        }
    }
    return static_cast<float>(sums.total() / static_cast<double>(columns * rows));
}

HWY_INLINE uint64_t squaredError(const uint8_t* src1, uint32_t width, uint32_t height, size_t src1Stride,
                                 const uint8_t* src2, size_t src2Stride)
{
    uint64_t error = 0;
    const auto single = [&](size_t x, size_t y)
    {
        const int32_t difference = src1[y * src1Stride + x] - src2[y * src2Stride + x];
        error += static_cast<uint64_t>(difference * difference);
    };
    const bool done = withFittingVector<uint8_t>(
        width,
        [&](auto d) HWY_ATTR
        {
            ByteSquareSum<decltype(d)> sum;
            for (size_t y = 0; y < height; ++y)
            {
                coverOnce(d, width,
                          [&](size_t x, auto mask) HWY_ATTR
                          {
                              const auto a = hn::LoadU(d, src1 + y * src1Stride + x);
                              const auto b = hn::LoadU(d, src2 + y * src2Stride + x);
                              sum.add(hn::And(mask, hn::Or(hn::SaturatedSub(a, b), hn::SaturatedSub(b, a))));
                          });
            }
            error = sum.total();
        });
    for (size_t y = 0; !done && y < height; ++y)
    {
        for (size_t x = 0; x < width; ++x)
        {
            single(x, y);
        }
    }
    return error;
}

vsrStatus imageSimilarity(const uint8_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                          const uint8_t* src2, uint32_t src2Stride, float* similarity, float* psnr)
{
    if (similarity != nullptr)
    {
        *similarity = structuralSimilarity(src1, width, height, src1Stride, src2, src2Stride);
    }
    if (psnr != nullptr)
    {
        *psnr = peakSignalToNoise(uint64_t{width} * height,
                                  squaredError(src1, width, height, src1Stride, src2, src2Stride));
    }
    return VISORA_SUCCESS;
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

VSR_VECTOR(vsrImageSimilarityu8, imageSimilarity);

#endif
