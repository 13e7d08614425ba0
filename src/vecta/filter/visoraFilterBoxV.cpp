// Box filters, vector variants.
#include <algorithm>

#include "cpu/visoraScratch.h"
#include "visora/variants/filter.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/filter/visoraFilterBoxV.cpp"
#include "hwy/cache_control.h"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/visoraVector-inl.h"

#ifndef VISORA_VECTA_BOX_ONCE
#define VISORA_VECTA_BOX_ONCE

namespace visora
{

// What a u8 box filter is asked for.
struct BoxCall
{
    const uint8_t* src;
    size_t width;
    size_t height;
    size_t srcStride;
    uint8_t* dst;
    size_t dstStride;
    bool replicate;
    uint8_t outside;  // what stands outside the image unless it is replicated
};

// One row of column sums, even and odd columns apart: column 2i is even[i], column 2i + 1 is odd[i], and pair[i] is the
// sum of both. All continue some lanes beyond both ends of the image.
struct ColumnSums
{
    uint16_t* even;
    uint16_t* odd;
    uint16_t* pair;

    uint16_t& column(ptrdiff_t x) const { return ((x & 1) != 0 ? odd : even)[x >> 1]; }
};

}  // namespace visora

#endif

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

// ---- 8-bit boxes ----
//
// A row of column sums is carried down the image: each step adds the row that enters the window and takes off the one
// that leaves. A byte vector read as u16 lanes splits into its even and its odd columns by a mask and a shift, and two
// vectors of means join again by a shift and an or, so bytes never cross lanes.

// (sum * scale + 32768) >> 16 with scale = 7282, 2621, 542 for radius 1, 2, 5. The sums are below 32768.
template <int kRadius, class D, class V>
HWY_INLINE V boxScale(D d, V sum)
{
    if constexpr (kRadius == 2)
    {
        // The high half of the product, and one more when its low half rounds up.
        const V scale = hn::Set(d, uint16_t{2621});
        return hn::Add(hn::MulHigh(sum, scale), hn::ShiftRight<15>(hn::Mul(sum, scale)));
    }
    else
    {
        // (2 * sum * (scale / 2) + 32768) >> 16: one instruction for the scales that are even.
        const hn::RebindToSigned<D> ds;
        const auto half = hn::Set(ds, static_cast<int16_t>(kRadius == 1 ? 7282 / 2 : 542 / 2));
        return hn::BitCast(d, hn::MulFixedPoint15(hn::BitCast(ds, sum), half));
    }
}

// The windows' sums of the columns 2i (even) and 2i + 1 (odd) of some lanes i.
template <int kRadius, class D, class V>
HWY_INLINE void windowSums(D d, const ColumnSums& sums, size_t i, V& even, V& odd)
{
    const auto at = [&](const uint16_t* row, ptrdiff_t lane) HWY_ATTR
    { return hn::LoadU(d, row + static_cast<ptrdiff_t>(i) + lane); };
    if constexpr (kRadius == 1)
    {
        const V both = hn::Add(at(sums.even, 0), at(sums.odd, 0));
        even = hn::Add(both, at(sums.odd, -1));
        odd = hn::Add(both, at(sums.even, 1));
    }
    else if constexpr (kRadius == 2)
    {
        const V both = hn::Add(hn::Add(at(sums.even, 0), at(sums.odd, 0)), hn::Add(at(sums.odd, -1), at(sums.even, 1)));
        even = hn::Add(both, at(sums.even, -1));
        odd = hn::Add(both, at(sums.odd, 1));
    }
    else
    {
        static_assert(kRadius == 5);
        const V both =
            hn::Add(hn::Add(hn::Add(at(sums.pair, -2), at(sums.pair, -1)), hn::Add(at(sums.pair, 1), at(sums.pair, 2))),
                    at(sums.pair, 0));
        even = hn::Add(both, at(sums.odd, -3));
        odd = hn::Add(both, at(sums.even, 3));
    }
}

template <int kRadius>
HWY_INLINE uint8_t boxMeanAt(const ColumnSums& sums, size_t x)
{
    constexpr uint32_t kScale = kRadius == 1 ? 7282 : kRadius == 2 ? 2621 : 542;
    uint32_t sum = 0;
    for (ptrdiff_t offset = -kRadius; offset <= kRadius; ++offset)
    {
        sum += sums.column(static_cast<ptrdiff_t>(x) + offset);
    }
    return static_cast<uint8_t>((sum * kScale + 32768) >> 16);
}

// Steps the column sums down by a row: after = before + entering - leaving. The two are apart so that an overlapping
// last vector does no harm.
template <int kRadius, class D>
HWY_INLINE void rollColumnSums(D d, const uint8_t* entering, const uint8_t* leaving, size_t width,
                               const ColumnSums& before, const ColumnSums& after)
{
    const hn::RepartitionToWide<D> d16;
    const auto lowByte = hn::Set(d16, uint16_t{0xFF});
    coverRange(0, width & ~size_t{1}, hn::Lanes(d),
               [&](size_t x) HWY_ATTR
               {
                   const auto in = hn::BitCast(d16, hn::LoadU(d, entering + x));
                   const auto out = hn::BitCast(d16, hn::LoadU(d, leaving + x));
                   const size_t i = x / 2;
                   const auto even =
                       hn::Sub(hn::Add(hn::LoadU(d16, before.even + i), hn::And(in, lowByte)), hn::And(out, lowByte));
                   const auto odd =
                       hn::Sub(hn::Add(hn::LoadU(d16, before.odd + i), hn::ShiftRight<8>(in)), hn::ShiftRight<8>(out));
                   hn::StoreU(even, d16, after.even + i);
                   hn::StoreU(odd, d16, after.odd + i);
                   if constexpr (kRadius == 5)
                   {
                       hn::StoreU(hn::Add(even, odd), d16, after.pair + i);
                   }
               });
    if (width % 2 != 0)
    {
        const size_t i = width / 2;
        after.even[i] = static_cast<uint16_t>(before.even[i] + entering[width - 1] - leaving[width - 1]);
        after.pair[i] = after.even[i];
    }
}

template <int kRadius, class D>
HWY_INLINE void writeBoxMeans(D d, const ColumnSums& sums, size_t width, uint8_t* out)
{
    const hn::RepartitionToWide<D> d16;
    coverRange(0, width & ~size_t{1}, hn::Lanes(d),
               [&](size_t x) HWY_ATTR
               {
                   hn::Vec<decltype(d16)> even, odd;
                   windowSums<kRadius>(d16, sums, x / 2, even, odd);
                   const auto means =
                       hn::Or(boxScale<kRadius>(d16, even), hn::ShiftLeft<8>(boxScale<kRadius>(d16, odd)));
                   hn::StoreU(hn::BitCast(d, means), d, out + x);
               });
    if (width % 2 != 0)
    {
        out[width - 1] = boxMeanAt<kRadius>(sums, width - 1);
    }
}

/** @return false without scratch memory, with nothing written */
template <int kRadius, class D>
HWY_INLINE bool boxMean(D d, const BoxCall& call)
{
    // Lanes before the first column of a row of sums; behind the last one there are as many.
    constexpr size_t kMargin = 32;
    const size_t sumsPerRow = (call.width / 2 + 1 + kMargin - 1) / kMargin * kMargin + 2 * kMargin;
    const size_t sumsTotal = sumsPerRow * 6;
    const size_t rowBytes = call.width;
    const Scratch memory(sumsTotal * sizeof(uint16_t) + 2 * rowBytes);
    auto* const scratch = memory.as<uint16_t>();
    if (!scratch)
    {
        return false;
    }
    std::fill_n(scratch, sumsTotal, uint16_t{0});
    uint16_t* row = scratch + kMargin;
    ColumnSums before = {row, row + sumsPerRow, row + 2 * sumsPerRow};
    ColumnSums after = {row + 3 * sumsPerRow, row + 4 * sumsPerRow, row + 5 * sumsPerRow};
    auto* zeroRow = reinterpret_cast<uint8_t*>(scratch + sumsTotal);
    uint8_t* outsideRow = zeroRow + rowBytes;
    std::fill_n(zeroRow, rowBytes, uint8_t{0});
    std::fill_n(outsideRow, rowBytes, call.outside);

    const auto lastRow = static_cast<ptrdiff_t>(call.height) - 1;
    const auto rowAt = [&](ptrdiff_t y) -> const uint8_t*
    {
        if (!call.replicate && (y < 0 || y > lastRow))
        {
            return outsideRow;
        }
        return call.src + static_cast<size_t>(std::clamp<ptrdiff_t>(y, 0, lastRow)) * call.srcStride;
    };
    const auto width = static_cast<ptrdiff_t>(call.width);
    for (ptrdiff_t entering = -kRadius; entering <= lastRow + kRadius; ++entering)
    {
        const ptrdiff_t leaving = entering - (2 * kRadius + 1);
        rollColumnSums<kRadius>(d, rowAt(entering), leaving < -kRadius ? zeroRow : rowAt(leaving), call.width, before,
                                after);
        const ptrdiff_t y = entering - kRadius;
        if (y >= 0)
        {
            if constexpr (kRadius == 1)
            {
                const auto outside = static_cast<uint16_t>(3 * call.outside);
                after.column(-1) = call.replicate ? after.column(0) : outside;
                after.column(width) = call.replicate ? after.column(width - 1) : outside;
            }
            writeBoxMeans<kRadius>(d, after, call.width, call.dst + static_cast<size_t>(y) * call.dstStride);
        }
        std::swap(before, after);
    }
    return true;
}

template <int kRadius>
bool tryBoxMean(const BoxCall& call)
{
    bool done = false;
    withFittingVector<uint8_t>(call.width & ~size_t{1}, [&](auto d) HWY_ATTR { done = boxMean<kRadius>(d, call); });
    return done;
}

bool boxMean3x3(const BoxCall& call)
{
    return tryBoxMean<1>(call);
}

bool boxMean5x5(const BoxCall& call)
{
    return tryBoxMean<2>(call);
}

bool boxMean11x11(const BoxCall& call)
{
    return tryBoxMean<5>(call);
}

// ---- Float box ----

template <size_t n>
using Together = std::integral_constant<size_t, n>;

// Covers [begin, end) in steps of n vectors, then of one.
template <size_t n, class D, class Body>
HWY_INLINE void coverTogether(D d, size_t begin, size_t end, Body body)
{
    const size_t lanes = hn::Lanes(d);
    size_t x = begin;
    for (; x + n * lanes <= end; x += n * lanes)
    {
        body(x, Together<n>());
    }
    for (; x + lanes <= end; x += lanes)
    {
        body(x, Together<1>());
    }
    if (x < end)
    {
        body(end - lanes, Together<1>());
    }
}

// Some vectors side by side.
template <size_t n, class D>
struct Vectors
{
    HWY_INLINE void load(D d, const float* from)
    {
        for (size_t i = 0; i < n; ++i)
        {
            v[i] = hn::LoadU(d, from + i * hn::Lanes(d));
        }
    }
    HWY_INLINE void add(const Vectors& other)
    {
        for (size_t i = 0; i < n; ++i)
        {
            v[i] = hn::Add(v[i], other.v[i]);
        }
    }
    HWY_INLINE void store(D d, float* to) const
    {
        for (size_t i = 0; i < n; ++i)
        {
            hn::StoreU(v[i], d, to + i * hn::Lanes(d));
        }
    }

    hn::Vec<D> v[n];
};

// The rows of a window that lie inside the image.
struct WindowSpan
{
    const float* begin;
    const float* end;
};

// Sums begin with the first row itself; the sum along the row begins with +0 and makes +0 of a -0.
template <size_t n, class D>
HWY_INLINE void columnSumsFrom(D d, const WindowSpan& window, size_t x, size_t step, float* sums)
{
    Vectors<n, D> sum, row;
    sum.load(d, window.begin + x);
    for (const float* at = window.begin + step; at != window.end; at += step)
    {
        row.load(d, at + x);
        sum.add(row);
    }
    sum.store(d, sums + x);
}

// The same of two windows, one row apart and of at least two rows: those that they share are loaded once.
template <size_t n, class D>
HWY_INLINE void columnSumsTwice(D d, const WindowSpan& upper, const WindowSpan& lower, size_t x, size_t step,
                                float* upperSums, float* lowerSums)
{
    Vectors<n, D> up, low, row;
    low.load(d, lower.begin + x);
    up.load(d, upper.begin + x);
    if (upper.begin != lower.begin)
    {
        up.add(low);
    }
    for (const float* at = lower.begin + step; at != upper.end; at += step)
    {
        row.load(d, at + x);
        up.add(row);
        low.add(row);
    }
    if (upper.end != lower.end)
    {
        row.load(d, upper.end + x);
        low.add(row);
    }
    up.store(d, upperSums + x);
    low.store(d, lowerSums + x);
}

template <size_t n, class D>
HWY_INLINE void rowMeansFrom(D d, const float* sums, size_t count, hn::Vec<D> reciprocal, float* out)
{
    Vectors<n, D> sum, column;
    for (size_t i = 0; i < n; ++i)
    {
        sum.v[i] = hn::Zero(d);
    }
    const float* end = sums + count;
    for (const float* at = sums; at != end; ++at)
    {
        column.load(d, at);
        sum.add(column);
    }
    for (auto& v : sum.v)
    {
        v = resultWithOneNan(d, hn::Mul(v, reciprocal));
    }
    sum.store(d, out);
}

template <class D>
HWY_INLINE vsrStatus boxMeanFloat(D d, const float* src, size_t width, size_t height, size_t srcStep, float* dst,
                                  size_t dstStep, size_t size)
{
    // Columns and rows of the window on both sides of the pixel; what lies further away than the image is wide is
    // outside everywhere.
    const size_t left = std::min(size / 2, width);
    const size_t right = std::min(size - 1 - size / 2, width);
    const float* srcEnd = src + (height - 1) * srcStep + width;
    const float* dstEnd = dst + (height - 1) * dstStep + width;
    const bool shared = std::less<>()(src, dstEnd) && std::less<>()(static_cast<const float*>(dst), srcEnd);

    const size_t sumsCount = left + width + right;
    const Scratch memory((2 * sumsCount + (shared ? width * height : 0)) * sizeof(float));
    auto* const scratch = memory.as<float>();
    if (!scratch)
    {
        return VISORA_ENOMEM;
    }
    std::fill_n(scratch, 2 * sumsCount, 0.0f);
    float* const upperSums = scratch + left;
    float* const lowerSums = upperSums + sumsCount;
    if (shared)
    {
        float* image = scratch + 2 * sumsCount;
        for (size_t y = 0; y < height; ++y)
        {
            std::copy_n(src + y * srcStep, width, image + y * width);
        }
        src = image;
        srcStep = width;
    }

    const auto reciprocal = hn::Set(d, 1.0f / static_cast<float>(uint64_t{size} * size));
    const auto windowAt = [=](size_t y) -> WindowSpan {
        return {src + (y - std::min(y, size / 2)) * srcStep, src + std::min(y + size - size / 2, height) * srcStep};
    };
    // Strips of the image whose windows of rows stay in the first-level cache, and are wide beside the columns that
    // neighbouring strips both need.
    constexpr size_t kCachedFloats = 32768;
    constexpr size_t kLineFloats = 64 / sizeof(float);
    const size_t strip = std::max({size_t{256}, 4 * std::min(size, width), kCachedFloats / size});
    for (size_t begin = 0; begin != width;)
    {
        const size_t end = width - begin < strip + strip / 2 ? width : begin + strip;
        const size_t firstColumn = begin - std::min(begin, left);
        const size_t lastColumn = std::min(end + right, width);
        const auto writeMeans = [&](size_t y, const float* sums) HWY_ATTR
        {
            float* out = dst + y * dstStep;
            coverTogether<8>(d, begin, end,
                             [&](size_t x, auto together) HWY_ATTR {
                                 rowMeansFrom<decltype(together)::value>(d, sums + x - left, left + right + 1,
                                                                         reciprocal, out + x);
                             });
        };
        // A strip is too narrow for the processor to see which rows come next, so they are asked for: those that enter
        // the window two steps later, and those that are written then.
        // Small images stay in a cache.
        const bool isLarge = width * sizeof(float) >= 3072;
        const auto prefetchRows = [&](size_t y) HWY_ATTR
        {
            const size_t entering = y + size - size / 2;
            for (size_t row = 4; row < 6; ++row)
            {
                for (size_t x = firstColumn; x < lastColumn && entering + row < height; x += kLineFloats)
                {
                    hwy::Prefetch(src + (entering + row) * srcStep + x);
                }
                for (size_t x = begin; x < end && y + row < height; x += kLineFloats)
                {
                    hwy::Prefetch(dst + (y + row) * dstStep + x);
                }
            }
        };
        size_t y = 0;
        for (; size > 1 && y + 1 < height; y += 2)
        {
            if (isLarge)
            {
                prefetchRows(y);
            }
            coverTogether<4>(d, firstColumn, lastColumn,
                             [&](size_t x, auto together) HWY_ATTR {
                                 columnSumsTwice<decltype(together)::value>(d, windowAt(y), windowAt(y + 1), x, srcStep,
                                                                            upperSums, lowerSums);
                             });
            writeMeans(y, upperSums);
            writeMeans(y + 1, lowerSums);
        }
        for (; y < height; ++y)
        {
            coverTogether<4>(d, firstColumn, lastColumn,
                             [&](size_t x, auto together) HWY_ATTR
                             { columnSumsFrom<decltype(together)::value>(d, windowAt(y), x, srcStep, upperSums); });
            writeMeans(y, upperSums);
        }
        begin = end;
    }
    return VISORA_SUCCESS;
}

vsrStatus boxFilterFloat(const float* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, float* dst,
                         uint32_t dstStride, uint32_t N)
{
    vsrStatus status = VISORA_SUCCESS;
    const bool done =
        srcHeight != 0 && N != 0 &&
        withFittingVector<float>(srcWidth,
                                 [&](auto d) HWY_ATTR {
                                     status = boxMeanFloat(d, src, srcWidth, srcHeight, srcStride / sizeof(float), dst,
                                                           dstStride / sizeof(float), N);
                                 });
    return done ? status : vsrBoxFilterNxNf32C(src, srcWidth, srcHeight, srcStride, dst, dstStride, N);
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace visora
{
HWY_EXPORT(boxMean3x3);
HWY_EXPORT(boxMean5x5);
HWY_EXPORT(boxMean11x11);
HWY_EXPORT(boxFilterFloat);
}  // namespace visora

vsrStatus vsrBoxFilter3x3u8V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                             uint8_t* dst, uint32_t dstStride)
{
    return vsrBoxFilter3x3u8_v2V(src, srcWidth, srcHeight, srcStride, dst, dstStride, VISORA_BORDER_UNDEFINED, 0);
}

vsrStatus vsrBoxFilter3x3u8_v2V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                uint8_t* dst, uint32_t dstStride, vsrBorderType borderType, uint8_t borderValue)
{
    using namespace visora;
    const BoxCall call = {src,
                          srcWidth,
                          srcHeight,
                          srcStride,
                          dst,
                          dstStride,
                          borderType == VISORA_BORDER_REPLICATE,
                          static_cast<uint8_t>(borderType == VISORA_BORDER_CONSTANT ? borderValue : 0)};
    if (HWY_DYNAMIC_DISPATCH(boxMean3x3)(call))
    {
        return VISORA_SUCCESS;
    }
    return vsrBoxFilter3x3u8_v2C(src, srcWidth, srcHeight, srcStride, dst, dstStride, borderType, borderValue);
}

vsrStatus vsrBoxFilter5x5u8V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                             uint8_t* dst, uint32_t dstStride)
{
    using namespace visora;
    if (HWY_DYNAMIC_DISPATCH(boxMean5x5)({src, srcWidth, srcHeight, srcStride, dst, dstStride, false, 0}))
    {
        return VISORA_SUCCESS;
    }
    return vsrBoxFilter5x5u8C(src, srcWidth, srcHeight, srcStride, dst, dstStride);
}

vsrStatus vsrBoxFilter11x11u8V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                               uint8_t* dst, uint32_t dstStride)
{
    using namespace visora;
    if (HWY_DYNAMIC_DISPATCH(boxMean11x11)({src, srcWidth, srcHeight, srcStride, dst, dstStride, false, 0}))
    {
        return VISORA_SUCCESS;
    }
    return vsrBoxFilter11x11u8C(src, srcWidth, srcHeight, srcStride, dst, dstStride);
}

vsrStatus vsrBoxFilterNxNf32V(const float* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, float* dst,
                              uint32_t dstStride, uint32_t N)
{
    using namespace visora;
    return HWY_DYNAMIC_DISPATCH(boxFilterFloat)(src, srcWidth, srcHeight, srcStride, dst, dstStride, N);
}

#endif
