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

// The run of `count` pixels from `begin` on: they themselves, or a copy followed by zeros where they are no whole
// number of vectors.
template <size_t kLength, class T>
HWY_INLINE const T* wholeRun(const T* pixels, size_t count, size_t lanes, T (&copy)[kLength])
{
    if (count % lanes == 0)
    {
        return pixels;
    }
    std::fill(std::copy_n(pixels, count, copy), copy + kLength, T{0});
    return copy;
}

// Sums of a row's runs, each about its first column.
struct IntegerSums
{
    HWY_INLINE void add(uint64_t begin, uint64_t t0, uint64_t t1, uint64_t t2)
    {
        r0 += t0;
        r1 += begin * t0 + t1;
        r2 += begin * begin * t0 + 2 * begin * t1 + t2;
    }

    HWY_INLINE RowSums sums() const
    {
        return {static_cast<double>(r0), static_cast<double>(r1), static_cast<double>(r2)};
    }

    uint64_t r0 = 0, r1 = 0, r2 = 0;
};

// Sums over a row, without the one of squares if it is not wanted.
template <bool kSquares>
HWY_INLINE RowSums sumRow(const uint16_t* row, uint32_t width)
{
    const Words d;
    const hn::Rebind<uint16_t, Words> dPixel;
    IntegerSums sums;
    uint16_t copy[kRun];
    for (uint64_t begin = 0; begin < width; begin += kRun)
    {
        const size_t count = std::min<size_t>(kRun, width - begin);
        const uint16_t* pixels = wholeRun(row + begin, count, kWords, copy);
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
            s2 = kSquares ? hn::Add(s2, hn::Mul(place, xp)) : s2;
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
        sums.add(begin, total(s0), total(s1), kSquares ? total(s2) : 0);
    }
    return sums.sums();
}

// Bytes times columns: products of 16 bits, added by pairs in 32.
template <bool kSquares>
HWY_INLINE RowSums sumRow(const uint8_t* row, uint32_t width)
{
    const hn::CappedTag<int16_t, 32> d;
    using D = decltype(d);
    const hn::Rebind<uint8_t, D> dPixel;
    const hn::RepartitionToWide<D> d32;
    constexpr size_t kPlaces = hn::MaxLanes(d);
    constexpr size_t kByteRun = 128;  // whose columns' squares fit 15 bits, and sums of those times 255 fit 31
    IntegerSums sums;
    uint8_t copy[kByteRun];
    for (uint64_t begin = 0; begin < width; begin += kByteRun)
    {
        const size_t count = std::min<size_t>(kByteRun, width - begin);
        const uint8_t* pixels = wholeRun(row + begin, count, kPlaces, copy);
        auto even0 = hn::Zero(d32), even1 = even0, even2 = even0;
        auto odd0 = even0, odd1 = even0, odd2 = even0;
        auto place = hn::Iota(d, 0);
        for (size_t x = 0; x < count; x += kPlaces)
        {
            const auto p = hn::PromoteTo(d, hn::LoadU(dPixel, pixels + x));
            even0 = hn::ReorderWidenMulAccumulate(d32, p, hn::Set(d, int16_t{1}), even0, odd0);
            even1 = hn::ReorderWidenMulAccumulate(d32, p, place, even1, odd1);
            if constexpr (kSquares)
            {
                even2 = hn::ReorderWidenMulAccumulate(d32, p, hn::Mul(place, place), even2, odd2);
            }
            place = hn::Add(place, hn::Set(d, static_cast<int16_t>(kPlaces)));
        }
        const auto total = [&](auto even, auto odd) HWY_ATTR
        { return static_cast<uint64_t>(hn::GetLane(hn::SumOfLanes(d32, hn::Add(even, odd)))); };
        sums.add(begin, total(even0, odd0), total(even1, odd1), kSquares ? total(even2, odd2) : 0);
    }
    return sums.sums();
}

template <bool kSquares>
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
        if constexpr (kSquares)
        {
            add(2, hn::Mul(hn::Mul(place, place), p));
        }
    }
}

template <bool kSquares>
HWY_INLINE RowSums sumRow(const float* row, uint32_t width)
{
    PartialSums<double> sums[3];
    size_t x = 0;
    for (; x + 16 <= width; x += 16)
    {
        addSixteen<kSquares>(row + x, x, sums);
    }
    if (x < width)
    {
        // Pixels of 0 add +0.
        float some[16] = {};
        std::copy(row + x, row + width, some);
        addSixteen<kSquares>(some, x, sums);
    }
    return {sums[0].total(), sums[1].total(), sums[2].total()};
}

template <class T>
HWY_INLINE vsrStatus meanShift(const T* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                               uint32_t maxIterations, float epsilon, vsrRectangle* window, uint32_t* iterations)
{
    *iterations = shiftWindow(Likelihood<T>{src, srcWidth, srcHeight, srcStride}, maxIterations, epsilon, *window,
                              [](const T* row, uint32_t width) HWY_ATTR { return sumRow<false>(row, width); });
    return VISORA_SUCCESS;
}

template <class T>
HWY_INLINE vsrStatus adaptiveTrack(const T* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                   uint32_t maxIterations, float epsilon, vsrRectangle* window, vsrRotatedBox* box)
{
    const Likelihood<T> image{src, srcWidth, srcHeight, srcStride};
    shiftWindow(image, maxIterations, epsilon, *window,
                [](const T* row, uint32_t width) HWY_ATTR { return sumRow<false>(row, width); });
    adaptWindow(image, *window, *box, [](const T* row, uint32_t width) HWY_ATTR { return sumRow<true>(row, width); });
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
