// Mean shift, vector variants: sums of a row with lanes along it.
#include "cpu/track/visoraTrackMeanShift.h"
#include "cpu/visoraPartialSums.h"
#include "visora/variants/track.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/track/visoraTrackMeanShiftV.cpp"
#include <algorithm>

#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/visoraExport.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

using Words = hn::CappedTag<uint32_t, 16>;
constexpr size_t kWords = hn::MaxLanes(Words());
// So many columns at once that sums of 63 * 63 * 65535 fit 32 bits.
constexpr size_t kRun = 64;

// Sums over a row of integers. A run's sums are about its first column and moved to the row's.
template <class T>
HWY_INLINE RowSums sumRow(const T* row, uint32_t width)
{
    const Words d;
    const hn::Rebind<T, Words> dPixel;
    uint64_t r0 = 0;
    uint64_t r1 = 0;
    uint64_t r2 = 0;
    for (uint64_t begin = 0; begin < width; begin += kRun)
    {
        const size_t count = std::min<size_t>(kRun, width - begin);
        const T* pixels = row + begin;
        T some[kRun] = {};
        if (count % kWords != 0)
        {
            std::copy_n(pixels, count, some);
            pixels = some;
        }
        auto s0 = hn::Zero(d);
        auto s1 = s0;
        auto s2 = s0;
        auto place = hn::Iota(d, 0);
        for (size_t x = 0; x < count; x += kWords)
        {
            const auto p = hn::PromoteTo(d, hn::LoadU(dPixel, pixels + x));
            const auto xp = hn::Mul(place, p);
            s0 = hn::Add(s0, p);
            s1 = hn::Add(s1, xp);
            s2 = hn::Add(s2, hn::Mul(place, xp));
            place = hn::Add(place, hn::Set(d, static_cast<uint32_t>(kWords)));
        }
        const auto total = [&](auto v) HWY_ATTR
        {
            HWY_ALIGN uint32_t lanes[kWords];
            hn::Store(v, d, lanes);
            uint64_t sum = 0;
            for (const uint32_t lane : lanes)
            {
                sum += lane;
            }
            return sum;
        };
        const uint64_t t0 = total(s0);
        const uint64_t t1 = total(s1);
        r0 += t0;
        r1 += begin * t0 + t1;
        r2 += begin * begin * t0 + 2 * begin * t1 + total(s2);
    }
    return {static_cast<double>(r0), static_cast<double>(r1), static_cast<double>(r2)};
}

HWY_INLINE void addSixteen(const float* row, size_t x, PartialSums<double> sums[3])
{
    const hn::CappedTag<double, 8> d;
    const hn::Rebind<float, decltype(d)> dFloat;
    for (size_t i = 0; i < 16; i += hn::Lanes(d))
    {
        const auto p = hn::PromoteTo(d, hn::LoadU(dFloat, row + i));
        const auto place = hn::Iota(d, static_cast<double>(x + i));
        const auto add = [&](size_t k, auto v) HWY_ATTR
        {
            double* partial = sums[k].partial.data() + i;
            hn::Store(hn::Add(hn::Load(d, partial), v), d, partial);
        };
        add(0, p);
        add(1, hn::Mul(place, p));
        add(2, hn::Mul(hn::Mul(place, place), p));
    }
}

HWY_INLINE RowSums sumRow(const float* row, uint32_t width)
{
    PartialSums<double> sums[3];
    size_t x = 0;
    for (; x + 16 <= width; x += 16)
    {
        addSixteen(row + x, x, sums);
    }
    if (x < width)
    {
        // Pixels of 0 add +0.
        float some[16] = {};
        std::copy(row + x, row + width, some);
        addSixteen(some, x, sums);
    }
    return {sums[0].total(), sums[1].total(), sums[2].total()};
}

template <class T>
HWY_INLINE vsrStatus meanShift(const T* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                               uint32_t maxIterations, float epsilon, vsrRectangle* window, uint32_t* iterations)
{
    const auto sum = [](const T* row, uint32_t width) HWY_ATTR { return sumRow(row, width); };
    *iterations = shiftWindow(Likelihood<T>{src, srcWidth, srcHeight, srcStride}, maxIterations, epsilon, *window, sum);
    return VISORA_SUCCESS;
}

template <class T>
HWY_INLINE vsrStatus adaptiveTrack(const T* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                   uint32_t maxIterations, float epsilon, vsrRectangle* window, vsrRotatedBox* box)
{
    const auto sum = [](const T* row, uint32_t width) HWY_ATTR { return sumRow(row, width); };
    const Likelihood<T> image{src, srcWidth, srcHeight, srcStride};
    shiftWindow(image, maxIterations, epsilon, *window, sum);
    adaptWindow(image, *window, *box, sum);
    return VISORA_SUCCESS;
}

vsrStatus meanShiftu8(const uint8_t* src, uint32_t width, uint32_t height, uint32_t stride, uint32_t maxIterations,
                      float epsilon, vsrRectangle* window, uint32_t* iterations)
{
    return meanShift(src, width, height, stride, maxIterations, epsilon, window, iterations);
}

vsrStatus meanShiftu16(const uint16_t* src, uint32_t width, uint32_t height, uint32_t stride, uint32_t maxIterations,
                       float epsilon, vsrRectangle* window, uint32_t* iterations)
{
    return meanShift(src, width, height, stride, maxIterations, epsilon, window, iterations);
}

vsrStatus meanShiftf32(const float* src, uint32_t width, uint32_t height, uint32_t stride, uint32_t maxIterations,
                       float epsilon, vsrRectangle* window, uint32_t* iterations)
{
    return meanShift(src, width, height, stride, maxIterations, epsilon, window, iterations);
}

vsrStatus adaptiveTracku8(const uint8_t* src, uint32_t width, uint32_t height, uint32_t stride, uint32_t maxIterations,
                          float epsilon, vsrRectangle* window, vsrRotatedBox* box)
{
    return adaptiveTrack(src, width, height, stride, maxIterations, epsilon, window, box);
}

vsrStatus adaptiveTracku16(const uint16_t* src, uint32_t width, uint32_t height, uint32_t stride,
                           uint32_t maxIterations, float epsilon, vsrRectangle* window, vsrRotatedBox* box)
{
    return adaptiveTrack(src, width, height, stride, maxIterations, epsilon, window, box);
}

vsrStatus adaptiveTrackf32(const float* src, uint32_t width, uint32_t height, uint32_t stride, uint32_t maxIterations,
                           float epsilon, vsrRectangle* window, vsrRotatedBox* box)
{
    return adaptiveTrack(src, width, height, stride, maxIterations, epsilon, window, box);
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

VSR_VECTOR(vsrMeanShiftu8, meanShiftu8);
VSR_VECTOR(vsrMeanShiftu16, meanShiftu16);
VSR_VECTOR(vsrMeanShiftf32, meanShiftf32);
VSR_VECTOR(vsrConAdaTracku8, adaptiveTracku8);
VSR_VECTOR(vsrConAdaTracku16, adaptiveTracku16);
VSR_VECTOR(vsrConAdaTrackf32, adaptiveTrackf32);

#endif
