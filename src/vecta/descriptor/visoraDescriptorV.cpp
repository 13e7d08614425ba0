// Descriptors of gradients and patches, vector variants: lanes are samples, whose pixels are picked one by one; then
// the directions of a place.
#include "cpu/descriptor/visoraDescriptor.h"
#include "vecta/visoraExport.h"
#include "visora/variants/corner.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/descriptor/visoraDescriptorV.cpp"
#include <cstring>

#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/descriptor/visoraDirection-inl.h"
#include "vecta/dot/visoraDot-inl.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

constexpr size_t wholeVectors(size_t count)
{
    return (count + 15) / 16 * 16;
}

/** A square of samples, row by row, `first` being the column and row of the first one. */
template <int first, size_t side>
class SampleGrid
{
  public:
    static constexpr size_t kCount = side * side;
    static constexpr size_t kPadded = wholeVectors(kCount);

    /** Samples the surroundings of a keypoint. */
    HWY_INLINE void take(const Sampled& image, const vsrKeypoint& keypoint, float middle, float step)
    {
        const Samples d;
        const hn::RebindToSigned<Samples> d32;
        const hn::Rebind<uint8_t, Samples> d8;
        const Turn turn = turnBy(keypoint.angle);
        const auto set = [&](float v) HWY_ATTR { return hn::Set(d, v); };
        const auto right = set(static_cast<float>(image.width - 1));
        const auto bottom = set(static_cast<float>(image.height - 1));
        const auto clamped = [&](auto v, auto high) HWY_ATTR
        {
            const auto positive = hn::IfThenElseZero(hn::Gt(v, hn::Zero(d)), v);
            return hn::IfThenElse(hn::Lt(positive, high), positive, high);
        };
        for (size_t n = 0; n < kPadded; n += kSampleLanes)
        {
            const auto u = hn::Mul(hn::Sub(hn::Load(d, kPlaces.columns + n), set(middle)), set(step));
            const auto v = hn::Mul(hn::Sub(hn::Load(d, kPlaces.rows + n), set(middle)), set(step));
            const auto alongX = hn::Sub(hn::Mul(set(turn.c), u), hn::Mul(set(turn.s), v));
            const auto alongY = hn::Add(hn::Mul(set(turn.s), u), hn::Mul(set(turn.c), v));
            const auto x = clamped(hn::Add(set(keypoint.x), alongX), right);
            const auto y = clamped(hn::Add(set(keypoint.y), alongY), bottom);
            const auto wholeX = hn::Floor(x);
            const auto wholeY = hn::Floor(y);
            const auto fx = hn::Sub(x, wholeX);
            const auto fy = hn::Sub(y, wholeY);
            alignas(64) int32_t columns[kSampleLanes];
            alignas(64) int32_t rows[kSampleLanes];
            hn::Store(hn::ConvertTo(d32, wholeX), d32, columns);
            hn::Store(hn::ConvertTo(d32, wholeY), d32, rows);
            alignas(16) uint8_t pixels[4][kSampleLanes];
            for (size_t i = 0; i < kSampleLanes; ++i)
            {
                const auto x0 = static_cast<uint32_t>(columns[i]);
                const auto y0 = static_cast<uint32_t>(rows[i]);
                const size_t next = x0 + 1 < image.width ? 1 : 0;
                const uint8_t* top = planeRow(image.src, image.stride, y0) + x0;
                const uint8_t* below = top + (y0 + 1 < image.height ? image.stride : 0);
                pixels[0][i] = top[0];
                pixels[1][i] = top[next];
                pixels[2][i] = below[0];
                pixels[3][i] = below[next];
            }
            const auto pixel = [&](size_t k) HWY_ATTR
            { return hn::ConvertTo(d, hn::PromoteTo(d32, hn::Load(d8, pixels[k]))); };
            const auto mix = [&](auto p, auto q, auto weight) HWY_ATTR
            { return hn::Add(p, hn::Mul(weight, hn::Sub(q, p))); };
            hn::Store(mix(mix(pixel(0), pixel(1), fx), mix(pixel(2), pixel(3), fx), fy), d, samples + n);
        }
    }

    alignas(64) float samples[kPadded];

  private:
    struct Places
    {
        alignas(64) float columns[kPadded];
        alignas(64) float rows[kPadded];
    };
    static constexpr Places makePlaces()
    {
        Places places = {};
        for (size_t n = 0; n < kPadded; ++n)
        {
            places.columns[n] = static_cast<float>(static_cast<int>(n % side) + first);
            places.rows[n] = static_cast<float>(static_cast<int>(n / side) + first);
        }
        return places;
    }
    static constexpr Places kPlaces = makePlaces();
};

using FloatProducts = FloatSums<Product>;

HWY_INLINE float sumOfSquares(const float* values, size_t count)
{
    return sumWithOne<FloatProducts>(values, values, count);
}

// Columns and rows -1 .. 16.
using GradientGrid = SampleGrid<-1, kGradientSide + 2>;

HWY_INLINE void describeGradients(const GradientGrid& grid, uint8_t* descriptor)
{
    const Samples d;
    const hn::RebindToSigned<Samples> d32;
    constexpr size_t kSide = kGradientSide + 2;
    using Bins = hn::CappedTag<float, kGradientDirections>;
    const Bins dBins;
    alignas(64) float h[kGradientBins] = {};
    for (size_t j = 0; j < kGradientSide; ++j)
    {
        alignas(64) float low[kGradientSide];
        alignas(64) float high[kGradientSide];
        alignas(64) int32_t directions[kGradientSide];
        const float* row = grid.samples + (j + 1) * kSide + 1;
        for (size_t i = 0; i < kGradientSide; i += kSampleLanes)
        {
            const auto at = [&](size_t x, size_t y) HWY_ATTR {
                return hn::LoadU(d,
                                 row + static_cast<ptrdiff_t>(i + x + y * kSide) - 1 - static_cast<ptrdiff_t>(kSide));
            };
            const auto dx = hn::Sub(at(2, 1), at(0, 1));
            const auto dy = hn::Sub(at(1, 2), at(1, 0));
            const auto g = hn::Sqrt(hn::Add(hn::Mul(dx, dx), hn::Mul(dy, dy)));
            const auto o = directionsOf(dx, dy);
            const auto whole = hn::Floor(o);
            const auto hi = hn::Mul(g, hn::Sub(o, whole));
            hn::Store(hi, d, high + i);
            hn::Store(hn::Sub(g, hi), d, low + i);
            hn::Store(hn::ConvertTo(d32, whole), d32, directions + i);
        }
        const size_t firstRow = firstPlace(j);
        const size_t lastRow =
            firstRow + 1 < kGradientPlaces && kPlaceWeights[j][firstRow + 1] > 0 ? firstRow + 1 : firstRow;
        for (size_t i = 0; i < kGradientSide; ++i)
        {
            alignas(64) float shares[kGradientDirections] = {};
            const auto o = static_cast<size_t>(directions[i]);
            shares[o] = low[i];
            shares[(o + 1) % kGradientDirections] = high[i];
            const size_t firstColumn = firstPlace(i);
            for (size_t ky = firstRow; ky <= lastRow; ++ky)
            {
                for (size_t kx = firstColumn; kx < kGradientPlaces && kPlaceWeights[i][kx] > 0; ++kx)
                {
                    const auto w = hn::Set(dBins, kPlaceWeights[j][ky] * kPlaceWeights[i][kx]);
                    float* bins = h + (ky * kGradientPlaces + kx) * kGradientDirections;
                    for (size_t k = 0; k < kGradientDirections; k += hn::MaxLanes(Bins()))
                    {
                        const auto sum = hn::Add(hn::Load(dBins, bins + k), hn::Mul(hn::Load(dBins, shares + k), w));
                        hn::Store(sum, dBins, bins + k);
                    }
                }
            }
        }
    }
    const float n = sumOfSquares(h, kGradientBins);
    if (n == 0)
    {
        std::memset(descriptor, 0, kGradientBins);
        return;
    }
    const auto k1 = hn::Set(d, 1 / std::sqrt(n));
    for (size_t i = 0; i < kGradientBins; i += kSampleLanes)
    {
        hn::Store(hn::Min(hn::Mul(hn::Load(d, h + i), k1), hn::Set(d, 0.2f)), d, h + i);
    }
    const auto k2 = hn::Set(d, 512 / std::sqrt(sumOfSquares(h, kGradientBins)));
    const hn::Rebind<uint8_t, Samples> d8;
    for (size_t i = 0; i < kGradientBins; i += kSampleLanes)
    {
        const auto rounded = hn::Floor(hn::Add(hn::Mul(hn::Load(d, h + i), k2), hn::Set(d, 0.5f)));
        hn::StoreU(hn::DemoteTo(d8, hn::ConvertTo(d32, hn::Min(rounded, hn::Set(d, 255.0f)))), d8, descriptor + i);
    }
}

using PatchGrid = SampleGrid<0, kPatchSide>;

HWY_INLINE void describePatch(PatchGrid& grid, int8_t* descriptor)
{
    const Samples d;
    const hn::RebindToSigned<Samples> d32;
    float* s = grid.samples;
    auto sums = FloatProducts::zero();
    for (size_t e = 0; e < kPatchSamples; e += 16)
    {
        const auto some = FloatProducts::load(s + e);
        for (size_t i = 0; i < kFloatVectors; ++i)
        {
            sums.parts[i] = hn::Add(sums.parts[i], some.parts[i]);
        }
    }
    const Four<float> four;
    const auto folded = FloatProducts::fold(sums);
    const auto mean = hn::Set(d, hn::GetLane(fourTotals(four, folded, folded, folded, folded)) * 0.015625f);
    for (size_t e = 0; e < kPatchSamples; e += kSampleLanes)
    {
        hn::Store(hn::Sub(hn::Load(d, s + e), mean), d, s + e);
    }
    const float n = sumOfSquares(s, kPatchSamples);
    if (n == 0)
    {
        std::memset(descriptor, 0, kPatchSamples);
        return;
    }
    const auto k = hn::Set(d, 127 / std::sqrt(n));
    const hn::Rebind<int8_t, Samples> d8;
    for (size_t e = 0; e < kPatchSamples; e += kSampleLanes)
    {
        const auto rounded = hn::Floor(hn::Add(hn::Mul(hn::Load(d, s + e), k), hn::Set(d, 0.5f)));
        hn::StoreU(hn::DemoteTo(d8, hn::ConvertTo(d32, rounded)), d8, descriptor + e);
    }
}

template <class Grid, class T, class Describe>
HWY_INLINE vsrStatus describeAll(const Sampled& image, const vsrKeypoint* keypoints, uint32_t count, T* dst,
                                 uint32_t dstStride, size_t length, float middle, float stepPerScale, Describe describe)
{
    Grid grid;
    for (size_t i = 0; i < count; ++i)
    {
        T* descriptor = planeRow(dst, dstStride, i);
        if (isUsable(keypoints[i]))
        {
            grid.take(image, keypoints[i], middle, keypoints[i].scale * stepPerScale);
            describe(grid, descriptor);
        }
        else
        {
            std::memset(descriptor, 0, length);
        }
    }
    return VISORA_SUCCESS;
}

vsrStatus gradient128(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                      const vsrKeypoint* keypoints, uint32_t nKeypoints, uint8_t* dst, uint32_t dstStride)
{
    return describeAll<GradientGrid>(
        {src, srcWidth, srcHeight, srcStride}, keypoints, nKeypoints, dst, dstStride, kGradientBins, 7.5f, 0.75f,
        [](const GradientGrid& grid, uint8_t* descriptor) HWY_ATTR { describeGradients(grid, descriptor); });
}

vsrStatus patch64(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                  const vsrKeypoint* keypoints, uint32_t nKeypoints, int8_t* dst, uint32_t dstStride)
{
    return describeAll<PatchGrid>(
        {src, srcWidth, srcHeight, srcStride}, keypoints, nKeypoints, dst, dstStride, kPatchSamples, 3.5f, 1.5f,
        [](PatchGrid& grid, int8_t* descriptor) HWY_ATTR { describePatch(grid, descriptor); });
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
VSR_VECTOR(vsrDescriptorGradient128u8, gradient128);
VSR_VECTOR(vsrDescriptorPatch64u8s8, patch64);
#endif
