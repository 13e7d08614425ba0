// Distances from sets of pixels, vector variants: columns side by side, then rows.
#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include "cpu/shape/visoraShapeChamfer.h"
#include "cpu/shape/visoraShapeDistance.h"
#include "visora/variants/shape.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/shape/visoraShapeDistanceV.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/visoraExport.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

using Columns = hn::ScalableTag<uint16_t>;
using ColumnBytes = hn::Rebind<uint8_t, Columns>;

// ---- City-block distances, as nearness: 65535 - distance. With it a vector that is filled up with zeros is right ----

using Eight = hn::FixedTag<uint16_t, 8>;
constexpr size_t kEight = 8;

// The greatest nearness from before and here, less the steps between, in eight pixels; `carry` is that of the last
// pixel before, in all lanes.
template <bool isForward, class V>
HWY_INLINE V runningNearness(V v, V& carry)
{
    const Eight d;
    const auto from = [&](auto count, V before) HWY_ATTR
    {
        constexpr int kCount = decltype(count)::value;
        const auto steps = hn::Set(d, uint16_t{kCount});
        if constexpr (isForward)
        {
            return hn::SaturatedSub(hn::ShiftLeftLanes<kCount>(d, before), steps);
        }
        else
        {
            return hn::SaturatedSub(hn::ShiftRightLanes<kCount>(d, before), steps);
        }
    };
    v = hn::Max(v, from(std::integral_constant<int, 1>(), v));
    v = hn::Max(v, from(std::integral_constant<int, 2>(), v));
    v = hn::Max(v, from(std::integral_constant<int, 4>(), v));
    alignas(16) static constexpr uint16_t kSteps[2][kEight] = {{8, 7, 6, 5, 4, 3, 2, 1}, {1, 2, 3, 4, 5, 6, 7, 8}};
    v = hn::Max(v, hn::SaturatedSub(carry, hn::Load(d, kSteps[isForward])));
    carry = hn::Broadcast < isForward ? 7 : 0 > (v);
    return v;
}

// step(vector) makes another of each eight elements of a row, in either direction; what lies behind the row is 0.
template <bool isForward, class Step>
HWY_INLINE void forEights(uint16_t* row, size_t width, Step step)
{
    const Eight d;
    const size_t whole = width - width % kEight;
    const auto rest = [&]() HWY_ATTR
    {
        HWY_ALIGN uint16_t last[kEight] = {};
        std::memcpy(last, row + whole, (width - whole) * sizeof(*row));
        hn::Store(step(hn::Load(d, last)), d, last);
        std::memcpy(row + whole, last, (width - whole) * sizeof(*row));
    };
    if (!isForward && whole != width)
    {
        rest();
    }
    for (size_t i = 0; i < whole; i += kEight)
    {
        uint16_t* at = row + (isForward ? i : whole - kEight - i);
        hn::StoreU(step(hn::LoadU(d, at)), d, at);
    }
    if (isForward && whole != width)
    {
        rest();
    }
}

// body(tag, x) for all columns with vectors, the last one overlapping; false for images narrower than a vector.
template <class Body>
HWY_INLINE bool forColumns(size_t width, Body body)
{
    return withFittingVector<uint16_t>(
        width, [&](auto d) HWY_ATTR { coverRange(0, width, hn::Lanes(d), [&](size_t x) HWY_ATTR { body(d, x); }); });
}

template <class D>
HWY_INLINE hn::Mask<D> isZeroPixel(D d, const uint8_t* pixels)
{
    return hn::Eq(hn::PromoteTo(d, hn::LoadU(hn::Rebind<uint8_t, D>(), pixels)), hn::Zero(d));
}

bool cityBlock(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint16_t* dst,
               uint32_t dstStride)
{
    for (uint32_t y = 0; y < srcHeight; ++y)
    {
        const uint8_t* from = imageRow(src, srcStride, y);
        uint16_t* to = imageRow(dst, dstStride, y);
        const uint16_t* above = y == 0 ? nullptr : imageRow(dst, dstStride, y - 1);
        const bool fits = forColumns(
            srcWidth,
            [&](auto d, size_t x) HWY_ATTR
            {
                const auto nearness =
                    above ? hn::SaturatedSub(hn::LoadU(d, above + x), hn::Set(d, uint16_t{1})) : hn::Zero(d);
                hn::StoreU(hn::IfThenElse(isZeroPixel(d, from + x), hn::Set(d, uint16_t{65535}), nearness), d, to + x);
            });
        if (!fits)
        {
            return false;
        }
    }
    const Eight d;
    for (uint32_t y = srcHeight; y-- > 0;)
    {
        uint16_t* to = imageRow(dst, dstStride, y);
        if (y + 1 < srcHeight)
        {
            // The row below is done: distances.
            const uint16_t* below = imageRow(dst, dstStride, y + 1);
            forColumns(srcWidth,
                       [&](auto dWide, size_t x) HWY_ATTR
                       {
                           const auto one = hn::Set(dWide, uint16_t{1});
                           const auto up = hn::SaturatedSub(hn::Not(hn::LoadU(dWide, below + x)), one);
                           hn::StoreU(hn::Max(hn::LoadU(dWide, to + x), up), dWide, to + x);
                       });
        }
        auto carry = hn::Zero(d);
        forEights<true>(to, srcWidth, [&](auto v) HWY_ATTR { return runningNearness<true>(v, carry); });
        carry = hn::Zero(d);
        forEights<false>(to, srcWidth, [&](auto v) HWY_ATTR { return hn::Not(runningNearness<false>(v, carry)); });
    }
    return true;
}

// ---- Euclidean distances ----

// Columns to either side that a row's minimum is sought in; rows with larger distances are left to the envelope.
constexpr size_t kReach = 64;
// More than any squared distance of an image that is done here, and room for those above it.
constexpr uint32_t kFar = 1u << 30;

using Squares = hn::ScalableTag<uint32_t>;

void down(const uint8_t* src, const uint16_t* above, uint16_t* to, uint32_t width)
{
    forColumns(width,
               [&](auto d, size_t x) HWY_ATTR
               {
                   const auto further = hn::SaturatedAdd(hn::LoadU(d, above + x), hn::Set(d, uint16_t{1}));
                   hn::StoreU(hn::IfThenZeroElse(isZeroPixel(d, src + x), further), d, to + x);
               });
}

void up(const uint16_t* below, uint16_t* distances, uint32_t width)
{
    // In place: a last vector that overlaps sees its own results, which it leaves as they are.
    forColumns(width,
               [&](auto d, size_t x) HWY_ATTR
               {
                   const auto further = hn::SaturatedAdd(hn::LoadU(d, below + x), hn::Set(d, uint16_t{1}));
                   hn::StoreU(hn::Min(hn::LoadU(d, distances + x), further), d, distances + x);
               });
}

// Squares of a row's distances behind kReach far ones, and as many behind them.
HWY_INLINE void squareRow(const uint16_t* distances, uint32_t* squares, size_t width)
{
    const Squares d;
    const hn::Rebind<uint16_t, Squares> d16;
    coverRange(0, width, hn::Lanes(d),
               [&](size_t x) HWY_ATTR
               {
                   const auto g = hn::PromoteTo(d, hn::LoadU(d16, distances + x));
                   const auto none = hn::Eq(g, hn::Set(d, uint32_t{kNoneInColumn}));
                   hn::StoreU(hn::IfThenElse(none, hn::Set(d, kFar), hn::Mul(g, g)), d, squares + kReach + x);
               });
}

// The roots of a row's least squared distances, by looking outward; false where that takes too long.
HWY_INLINE bool rootRow(const uint32_t* squares, float* to, size_t width)
{
    const Squares d;
    const hn::RebindToSigned<Squares> dSigned;
    const hn::RebindToFloat<Squares> dFloat;
    const size_t lanes = hn::Lanes(d);
    for (size_t begin = 0; begin < width; begin += lanes)
    {
        const size_t x = std::min(begin, width - lanes);
        const uint32_t* centre = squares + kReach + x;
        auto least = hn::LoadU(d, centre);
        for (size_t k = 1; !hn::AllTrue(d, hn::Eq(hn::Min(least, hn::Set(d, static_cast<uint32_t>(k * k))), least));
             k += 2)
        {
            if (k + 1 > kReach)
            {
                return false;
            }
            for (const size_t far : {k, k + 1})
            {
                const auto square = hn::Set(d, static_cast<uint32_t>(far * far));
                const auto nearer = hn::Min(hn::LoadU(d, centre - far), hn::LoadU(d, centre + far));
                least = hn::Min(least, hn::Add(nearer, square));
            }
        }
        const auto root = hn::Sqrt(hn::ConvertTo(dFloat, hn::BitCast(dSigned, least)));
        const auto isFar = hn::RebindMask(dFloat, hn::Eq(hn::Max(least, hn::Set(d, kFar)), least));
        hn::StoreU(hn::IfThenElse(isFar, hn::Inf(dFloat), root), dFloat, to + x);
    }
    return true;
}

vsrStatus euclidean(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, float* dst,
                    uint32_t dstStride)
{
    if (uint64_t{srcWidth} * srcWidth + uint64_t{srcHeight} * srcHeight >= kFar || srcWidth < hn::Lanes(Columns()))
    {
        return vsrDistanceTransformL2u8f32C(src, srcWidth, srcHeight, srcStride, dst, dstStride);
    }
    const size_t pixels = size_t{srcWidth} * srcHeight;
    const size_t padded = srcWidth + 2 * kReach;
    const Scratch scratch(partBytes<uint16_t>(pixels) + partBytes<uint16_t>(srcWidth) + partBytes<uint32_t>(padded) +
                          Envelope::bytes(srcWidth));
    if (!scratch.data())
    {
        return VISORA_ENOMEM;
    }
    Parts parts(scratch);
    auto* const all = parts.take<uint16_t>(pixels);
    auto* const none = parts.take<uint16_t>(srcWidth);
    auto* const squares = parts.take<uint32_t>(padded);
    Envelope envelope(parts, srcWidth);
    std::fill_n(squares, padded, kFar);
    columnDistances(src, srcWidth, srcHeight, srcStride, all, none, down, up,
                    [&](uint32_t y, const uint16_t* distances) HWY_ATTR
                    {
                        float* to = imageRow(dst, dstStride, y);
                        squareRow(distances, squares, srcWidth);
                        if (!rootRow(squares, to, srcWidth))
                        {
                            envelope.row(distances, srcWidth,
                                         [to](uint32_t x, int64_t squared) {
                                             to[x] = squared == kNoneAtAll ? std::numeric_limits<float>::infinity()
                                                                           : std::sqrt(static_cast<float>(squared));
                                         });
                        }
                    });
    return VISORA_SUCCESS;
}

// ---- Chamfer matching ----

constexpr uint32_t kSideBySide = 16;

// Whether the next offsets lie side by side in a row.
HWY_INLINE bool areSideBySide(const int32_t* offsets, uint32_t count)
{
    if (count < kSideBySide)
    {
        return false;
    }
    for (uint32_t i = 1; i < kSideBySide; ++i)
    {
        if (int64_t{offsets[2 * i]} != int64_t{offsets[0]} + i || offsets[2 * i + 1] != offsets[1])
        {
            return false;
        }
    }
    return true;
}

// The sums of sixteen offsets side by side.
HWY_INLINE void sumSideBySide(const ChamferPicture& picture, const int32_t* points, uint32_t numPoints, int64_t offsetX,
                              int64_t offsetY, uint32_t* sums)
{
    const hn::FixedTag<uint8_t, 16> d8;
    const hn::FixedTag<uint16_t, 8> d16;
    const hn::FixedTag<uint32_t, 4> d32;
    const hn::Half<decltype(d8)> half8;
    const hn::Half<decltype(d16)> half16;
    constexpr uint32_t kAtOnce = 256;  // sums of bytes that 16 bits hold
    for (uint32_t p = 0; p < numPoints;)
    {
        auto low = hn::Zero(d16);
        auto high = hn::Zero(d16);
        for (const uint32_t end = p + std::min(numPoints - p, kAtOnce); p < end; ++p)
        {
            const int64_t x = points[2 * size_t{p}] + offsetX;
            const int64_t y = points[2 * size_t{p} + 1] + offsetY;
            auto pixels = hn::Set(d8, uint8_t{255});
            if (picture.holds(x, y) && picture.holds(x + kSideBySide - 1, y))
            {
                pixels = hn::LoadU(d8, picture.src + static_cast<size_t>(y) * picture.stride + x);
            }
            else if (picture.holds(x, y) || picture.holds(x + kSideBySide - 1, y) ||
                     (x < 0 && x + kSideBySide > picture.width))
            {
                HWY_ALIGN uint8_t each[kSideBySide];
                for (uint32_t i = 0; i < kSideBySide; ++i)
                {
                    each[i] = static_cast<uint8_t>(picture.at(x + i, y));
                }
                pixels = hn::Load(d8, each);
            }
            low = hn::Add(low, hn::PromoteTo(d16, hn::LowerHalf(half8, pixels)));
            high = hn::Add(high, hn::PromoteTo(d16, hn::UpperHalf(half8, pixels)));
        }
        const auto add = [&](auto part, uint32_t* to) HWY_ATTR
        { hn::StoreU(hn::Add(hn::LoadU(d32, to), hn::PromoteTo(d32, part)), d32, to); };
        add(hn::LowerHalf(half16, low), sums);
        add(hn::UpperHalf(half16, low), sums + 4);
        add(hn::LowerHalf(half16, high), sums + 8);
        add(hn::UpperHalf(half16, high), sums + 12);
    }
}

vsrStatus chamfer(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, const int32_t* points,
                  uint32_t numPoints, const int32_t* offsets, uint32_t numOffsets, float* scores, uint32_t* best)
{
    const ChamferPicture picture{src, srcWidth, srcHeight, srcStride};
    ChamferScores result(numPoints, scores);
    for (uint32_t i = 0; i < numOffsets;)
    {
        const int32_t* offset = offsets + 2 * size_t{i};
        if (areSideBySide(offset, numOffsets - i))
        {
            uint32_t sums[kSideBySide] = {};
            sumSideBySide(picture, points, numPoints, offset[0], offset[1], sums);
            for (const uint32_t sum : sums)
            {
                result.put(i++, sum);
            }
            continue;
        }
        uint32_t sum = 0;
        for (uint32_t p = 0; p < numPoints; ++p)
        {
            sum +=
                picture.at(int64_t{points[2 * size_t{p}]} + offset[0], int64_t{points[2 * size_t{p} + 1]} + offset[1]);
        }
        result.put(i++, sum);
    }
    *best = result.best();
    return VISORA_SUCCESS;
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

VSR_VECTOR(vsrDistanceTransformL1u8u16, cityBlock);
VSR_VECTOR(vsrDistanceTransformL2u8f32, euclidean);
VSR_VECTOR(vsrChamferMatchu8, chamfer);

#endif
