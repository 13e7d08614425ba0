// Gaussian and correlations of floats, vector variants: lanes are columns, each with the reference's order of sums.
#include "visora/variants/filter.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/filter/visoraFilterFloatV.cpp"
#include "cpu/filter/visoraFilterTaps.h"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/filter/visoraFilterWindow-inl.h"
#include "vecta/visoraExport.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

// Sums of several vectors at once hide how long an addition takes, and share what a step costs beside its work. ARM has
// registers for more of them.
constexpr size_t kTogether = HWY_ARCH_ARM ? 8 : 4;

template <size_t n, class D>
struct FloatSums
{
    hn::Vec<D> v[n];
};

// To which the first product is added: only -0 leaves all of them as they are.
template <size_t n, class D>
HWY_INLINE FloatSums<n, D> emptySums(D d)
{
    FloatSums<n, D> sums;
    std::fill_n(sums.v, n, hn::Set(d, -0.0f));
    return sums;
}

template <size_t n, class D>
HWY_INLINE void storeSums(D d, const FloatSums<n, D>& sums, float* out)
{
    for (size_t k = 0; k < n; ++k)
    {
        hn::StoreU(sums.v[k], d, out + k * hn::Lanes(d));
    }
}

// Processors differ in which of several NaNs a sum carries on.
template <size_t n, class D>
HWY_INLINE void storeResults(D d, FloatSums<n, D> sums, float* out)
{
    for (size_t k = 0; k < n; ++k)
    {
        sums.v[k] = withOneNan(d, sums.v[k]);
    }
    storeSums<n>(d, sums, out);
}

// kernel[0] * at(0) + kernel[1] * at(1) + ..., where at(i) is where a vector of them begins.
template <size_t n, class D, class At>
HWY_INLINE FloatSums<n, D> correlated(D d, const float* kernel, size_t count, At at)
{
    FloatSums<n, D> sums = emptySums<n>(d);
    for (size_t i = 0; i < count; ++i)
    {
        const auto tap = hn::Set(d, kernel[i]);
        const float* from = at(i);
        for (size_t k = 0; k < n; ++k)
        {
            sums.v[k] = hn::Add(sums.v[k], hn::Mul(tap, hn::LoadU(d, from + k * hn::Lanes(d))));
        }
    }
    return sums;
}

// The centre times taps[radius], then the pairs at distance i times taps[radius - i].
template <size_t n, class D, class At>
HWY_INLINE FloatSums<n, D> fromCentre(D d, const float* taps, size_t radius, At at)
{
    FloatSums<n, D> sums;
    const auto centre = hn::Set(d, taps[radius]);
    for (size_t k = 0; k < n; ++k)
    {
        sums.v[k] = hn::Mul(centre, hn::LoadU(d, at(radius) + k * hn::Lanes(d)));
    }
    for (size_t i = 1; i <= radius; ++i)
    {
        const auto tap = hn::Set(d, taps[radius - i]);
        const float* before = at(radius - i);
        const float* behind = at(radius + i);
        for (size_t k = 0; k < n; ++k)
        {
            const size_t offset = k * hn::Lanes(d);
            const auto pair = hn::Add(hn::LoadU(d, before + offset), hn::LoadU(d, behind + offset));
            sums.v[k] = hn::Add(sums.v[k], hn::Mul(tap, pair));
        }
    }
    return sums;
}

// Columns by down(n, d, at), rows by along(n, d, at), several vectors at once where the image has room for them.
template <class Down, class Along>
HWY_INLINE bool separable(const WindowSource<float>& source, WindowReach reach, float* dst, size_t step,
                          vsrStatus& status, Down down, Along along)
{
    const auto pass = [&](auto d, auto together) HWY_ATTR
    {
        constexpr size_t n = decltype(together)::value;
        status = columnsThenRows<float, 1>(
            source, reach, n * hn::Lanes(d),
            [&](const float* const* rows, size_t x, const auto& sums) HWY_ATTR
            { storeSums<n>(d, down(together, d, [&](size_t i) { return rows[i] + x; }), sums[0] + x); },
            [&](size_t y, const auto& sums, size_t begin, size_t end) HWY_ATTR
            {
                float* out = dst + y * step;
                coverRange(begin, end, n * hn::Lanes(d),
                           [&](size_t x) HWY_ATTR
                           {
                               const float* window = sums[0] + x - reach.left;
                               storeResults<n>(d, along(together, d, [&](size_t i) { return window + i; }), out + x);
                           });
            });
    };
    return withFittingVector<float>(source.width,
                                    [&](auto d) HWY_ATTR
                                    {
                                        if (source.width >= kTogether * hn::Lanes(d))
                                        {
                                            pass(d, std::integral_constant<size_t, kTogether>());
                                        }
                                        else
                                        {
                                            pass(d, std::integral_constant<size_t, 1>());
                                        }
                                    });
}

vsrStatus gaussianFloat(const float* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint32_t N,
                        float sigma, float* dst, uint32_t dstStride, vsrBorderType borderType, float borderValue)
{
    const auto taps = floatGaussianTaps(N, sigma);
    const WindowSource source(src, srcWidth, srcHeight, srcStride, Surround(borderType, borderValue));
    const auto weighted = [&](auto together, auto d, auto at) HWY_ATTR
    { return fromCentre<decltype(together)::value>(d, taps.data(), N / 2, at); };
    vsrStatus status = VISORA_SUCCESS;
    return separable(source, squareReach(N / 2), dst, dstStride / sizeof(float), status, weighted, weighted)
               ? status
               : vsrFilterGaussianNxNf32C(src, srcWidth, srcHeight, srcStride, N, sigma, dst, dstStride, borderType,
                                          borderValue);
}

vsrStatus correlationSeparable(const float* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                               const float* rowKernel, uint32_t M, const float* columnKernel, uint32_t N, float* dst,
                               uint32_t dstStride, vsrBorderType borderType, float borderValue)
{
    const WindowSource source(src, srcWidth, srcHeight, srcStride, Surround(borderType, borderValue));
    const WindowReach reach = {M / 2, (M - 1) / 2, N / 2, (N - 1) / 2};
    vsrStatus status = VISORA_SUCCESS;
    const bool done = separable(
        source, reach, dst, dstStride / sizeof(float), status,
        [&](auto together, auto d, auto at) HWY_ATTR
        { return correlated<decltype(together)::value>(d, columnKernel, N, at); },
        [&](auto together, auto d, auto at) HWY_ATTR
        { return correlated<decltype(together)::value>(d, rowKernel, M, at); });
    return done ? status
                : vsrFilterCorrSepMxNf32C(src, srcWidth, srcHeight, srcStride, rowKernel, M, columnKernel, N, dst,
                                          dstStride, borderType, borderValue);
}

// Two rows of results at once, which share most of their source: loads bound the work.
template <size_t n, class D>
HWY_INLINE void correlateTwoRows(D d, const float* const* rows, ptrdiff_t offset, const float* kernel, size_t N,
                                 float* upperOut, float* lowerOut)
{
    FloatSums<n, D> upper = emptySums<n>(d);
    FloatSums<n, D> lower = upper;
    const auto add = [&](FloatSums<n, D>& sums, hn::Vec<D> tap, const hn::Vec<D>* pixels) HWY_ATTR
    {
        for (size_t k = 0; k < n; ++k)
        {
            sums.v[k] = hn::Add(sums.v[k], hn::Mul(tap, pixels[k]));
        }
    };
    const auto row = [&](size_t j, auto forUpper, auto forLower) HWY_ATTR
    {
        const float* upperTaps = kernel + j * N;
        const float* lowerTaps = upperTaps - N;
        for (size_t i = 0; i < N; ++i)
        {
            hn::Vec<D> pixels[n];
            for (size_t k = 0; k < n; ++k)
            {
                pixels[k] = hn::LoadU(d, rows[j] + offset + i + k * hn::Lanes(d));
            }
            if constexpr (decltype(forUpper)::value)
            {
                add(upper, hn::Set(d, upperTaps[i]), pixels);
            }
            if constexpr (decltype(forLower)::value)
            {
                add(lower, hn::Set(d, lowerTaps[i]), pixels);
            }
        }
    };
    row(0, std::true_type(), std::false_type());
    for (size_t j = 1; j < N; ++j)
    {
        row(j, std::true_type(), std::true_type());
    }
    row(N, std::false_type(), std::true_type());
    storeResults<n>(d, upper, upperOut);
    storeResults<n>(d, lower, lowerOut);
}

vsrStatus correlationFloat(const float* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                           const float* kernel, uint32_t N, float* dst, uint32_t dstStride)
{
    const WindowSource source(src, srcWidth, srcHeight, srcStride, Surround(VISORA_BORDER_CONSTANT, 0.0f));
    const size_t radius = N / 2;
    PaddedRows<float> padded(source, {radius, radius, radius, radius + 1});
    // Takes the lower one of the last two rows where that is outside the image.
    const Scratch spare(srcWidth * sizeof(float));
    if (!padded.ready() || !spare.data())
    {
        return VISORA_ENOMEM;
    }
    const size_t step = dstStride / sizeof(float);
    const auto pass = [&](auto d, auto together) HWY_ATTR
    {
        constexpr size_t n = decltype(together)::value;
        for (size_t y = 0; y < srcHeight; y += 2)
        {
            const float* const* around = padded.around(y);
            float* upper = dst + y * step;
            float* lower = y + 1 < srcHeight ? upper + step : reinterpret_cast<float*>(spare.data());
            coverRange(0, srcWidth, n * hn::Lanes(d),
                       [&](size_t x) HWY_ATTR
                       {
                           const auto offset = static_cast<ptrdiff_t>(x) - static_cast<ptrdiff_t>(radius);
                           correlateTwoRows<n>(d, around, offset, kernel, N, upper + x, lower + x);
                       });
        }
    };
    const bool done = withFittingVector<float>(srcWidth,
                                               [&](auto d) HWY_ATTR
                                               {
                                                   if (srcWidth >= kTogether * hn::Lanes(d))
                                                   {
                                                       pass(d, std::integral_constant<size_t, kTogether>());
                                                   }
                                                   else
                                                   {
                                                       pass(d, std::integral_constant<size_t, 1>());
                                                   }
                                               });
    return done ? vsrStatus{VISORA_SUCCESS}
                : vsrFilterCorrNxNf32C(src, srcWidth, srcHeight, srcStride, kernel, N, dst, dstStride);
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

VSR_VECTOR(vsrFilterGaussianNxNf32, gaussianFloat);
VSR_VECTOR(vsrFilterCorrSepMxNf32, correlationSeparable);
VSR_VECTOR(vsrFilterCorrNxNf32, correlationFloat);

#endif
