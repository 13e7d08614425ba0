// Lists of pixels, components, contours and blobs, vector variants: rows are looked at 64 pixels at once; runs are
// joined and borders followed as the references do.
#include <cmath>

#include "cpu/shape/visoraShapeBlob.h"
#include "cpu/shape/visoraShapeComponent.h"
#include "cpu/shape/visoraShapeContour.h"
#include "cpu/shape/visoraShapeMeasure.h"
#include "visora/variants/shape.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/shape/visoraShapeRegionV.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/shape/visoraShapeRows-inl.h"
#include "vecta/visoraExport.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

vsrStatus findNonZero(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint32_t* xy,
                      uint32_t capacity, uint32_t* count)
{
    uint32_t found = 0;
    for (uint32_t y = 0; y < srcHeight && found < capacity; ++y)
    {
        forSetBits(imageRow(src, srcStride, y), srcWidth,
                   [&](size_t x, uint64_t bits) HWY_ATTR
                   {
                       uint32_t* to = xy + 2 * size_t{found};
                       const auto set = std::min(static_cast<uint32_t>(std::popcount(bits)), capacity - found);
                       found += set;
                       const auto put = [&](size_t pixel)
                       {
                           const uint32_t point[2] = {static_cast<uint32_t>(pixel), y};
                           std::memcpy(to, point, sizeof(point));
                           to += 2;
                       };
                       if (bits == ~uint64_t{0})
                       {
                           for (uint32_t i = 0; i < set; ++i)
                           {
                               put(x + i);
                           }
                           return;
                       }
                       for (uint32_t i = 0; i < set; ++i, bits &= bits - 1)
                       {
                           put(x + static_cast<size_t>(std::countr_zero(bits)));
                       }
                   });
    }
    *count = found;
    return VISORA_SUCCESS;
}

// The places where a row changes between 0 and not 0 are beginnings and ends in turn.
size_t findRuns(const uint8_t* row, uint32_t width, Run* runs)
{
    static_assert(sizeof(Run) == 2 * sizeof(uint16_t));
    auto* const changes = reinterpret_cast<uint16_t*>(runs);
    size_t count = 0;
    uint64_t before = 0;
    forSetBits(row, width,
               [&](size_t x, uint64_t bits) HWY_ATTR
               {
                   const uint64_t shifted = bits << 1 | before;
                   before = bits >> 63;
                   for (uint64_t changed = bits ^ shifted; changed != 0; changed &= changed - 1)
                   {
                       changes[count++] = static_cast<uint16_t>(x + static_cast<size_t>(std::countr_zero(changed)));
                   }
               });
    if (count % 2 != 0)
    {
        changes[count++] = static_cast<uint16_t>(width);
    }
    return count / 2;
}

vsrStatus components(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                     uint32_t connectivity, uint32_t* labels, uint32_t labelStride, vsrComponent* regions,
                     uint32_t capacity, uint32_t* numRegions)
{
    return labelComponents(src, srcWidth, srcHeight, srcStride, connectivity, labels, labelStride, regions, capacity,
                           numRegions, findRuns);
}

// ---- Contours ----

HWY_INLINE void setContourRow(const uint8_t* mask, uint8_t* row, uint32_t width)
{
    const MaskBytes d;
    const size_t lanes = hn::Lanes(d);
    const auto one = hn::Set(d, uint8_t{kUnmarked});
    size_t x = 0;
    for (; x + lanes <= width; x += lanes)
    {
        hn::StoreU(hn::Min(hn::LoadU(d, mask + x), one), d, row + x);
    }
    for (; x < width; ++x)
    {
        row[x] = mask[x] != 0 ? kUnmarked : kOutside;
    }
}

// As BorderImage::countRuns has it.
uint64_t runStarts(const uint8_t* pixels)
{
    return bitsOf(
        [pixels](auto d, size_t i) HWY_ATTR
        {
            const auto isNew = hn::Eq(hn::LoadU(d, pixels + i - 1), hn::Zero(d));
            return hn::And(isNew, hn::Eq(hn::LoadU(d, pixels + i), hn::Set(d, uint8_t{kUnmarked})));
        });
}

// Pixels behind the end are looked at and forgotten; there is room behind the image for that.
template <bool inside>
HWY_INLINE size_t nextBeginning(const uint8_t* pixels, size_t end)
{
    const MaskBytes d;
    const size_t lanes = hn::Lanes(d);
    const auto one = hn::Set(d, uint8_t{kUnmarked});
    for (size_t x = 0; x < end; x += lanes)
    {
        const auto at = hn::LoadU(d, pixels + x);
        const auto isAfterNothing = hn::Eq(hn::LoadU(d, pixels + x - 1), hn::Zero(d));
        auto begins = hn::And(hn::Eq(at, one), isAfterNothing);
        if constexpr (inside)
        {
            const auto isBeforeNothing = hn::Eq(hn::LoadU(d, pixels + x + 1), hn::Zero(d));
            const auto isFree = hn::Or(hn::Eq(at, one), hn::Eq(at, hn::Set(d, uint8_t{kMarked})));
            begins = hn::Or(begins, hn::And(isFree, isBeforeNothing));
        }
        if (!hn::AllFalse(d, begins))
        {
            return std::min(end, x + static_cast<size_t>(hn::FindFirstTrue(d, begins)));
        }
    }
    return end;
}

vsrStatus contours(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, vsrChainType chain,
                   uint32_t* lengths, vsrContourLinks* links, uint32_t maxContours, uint32_t* numContours, int32_t* xy,
                   uint32_t maxPoints, uint32_t* numPoints)
{
    return listContours(src, srcWidth, srcHeight, srcStride, {chain, lengths, links, maxContours, xy, maxPoints},
                        numContours, numPoints, setContourRow, runStarts, nextBeginning<true>);
}

vsrStatus outerContours(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                        vsrChainType chain, uint32_t* lengths, uint32_t maxContours, uint32_t* numContours, int32_t* xy,
                        uint32_t maxPoints, uint32_t* numPoints)
{
    return listContours(src, srcWidth, srcHeight, srcStride, {chain, lengths, nullptr, maxContours, xy, maxPoints},
                        numContours, numPoints, setContourRow, runStarts, nextBeginning<false>);
}

// ---- Blobs ----

HWY_INLINE void setBlobRow(const uint8_t* from, uint8_t level, bool isAbove, uint8_t* row, uint32_t width)
{
    const MaskBytes d;
    const size_t lanes = hn::Lanes(d);
    const auto limit = hn::Set(d, level);
    const auto one = hn::Set(d, uint8_t{kUnmarked});
    const auto others = hn::Set(d, uint8_t{isAbove ? kOutside : kUnmarked});
    size_t x = 0;
    for (; x + lanes <= width; x += lanes)
    {
        const auto above = hn::Min(hn::SaturatedSub(hn::LoadU(d, from + x), limit), one);
        hn::StoreU(hn::Xor(above, others), d, row + x);
    }
    for (; x < width; ++x)
    {
        row[x] = (from[x] > level) == isAbove ? kUnmarked : kOutside;
    }
}

vsrStatus blobs(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                const vsrBlobParameters* parameters, vsrBlob* list, uint32_t capacity, uint32_t* count)
{
    return findBlobs(src, srcWidth, srcHeight, srcStride, *parameters, list, capacity, count, setBlobRow,
                     nextBeginning<true>);
}

// ---- Measures of contours ----

using Doubles = hn::CappedTag<double, 8>;
using Whole = hn::Rebind<int32_t, Doubles>;
constexpr size_t kSums = PartialSums<double>::kCount;

// Sixteen sides at once, each to its own partial sums; the rest one by one.
vsrStatus measures(const int32_t* xy, uint32_t numPoints, vsrContourMeasure* measure)
{
    const Doubles d;
    const Whole dWhole;
    const size_t lanes = hn::Lanes(d);
    ContourSums sums;
    ContourBox box(xy);
    const auto originX = hn::Set(d, xy[0]);
    const auto originY = hn::Set(d, xy[1]);
    size_t i = 0;
    for (; i + kSums < numPoints; i += kSums)
    {
        for (size_t part = 0; part < kSums; part += lanes)
        {
            const int32_t* from = xy + 2 * (i + part);
            hn::Vec<Whole> x0;
            hn::Vec<Whole> y0;
            hn::Vec<Whole> x1;
            hn::Vec<Whole> y1;
            hn::LoadInterleaved2(dWhole, from, x0, y0);
            hn::LoadInterleaved2(dWhole, from + 2, x1, y1);
            const auto ax = hn::Sub(hn::PromoteTo(d, x0), originX);
            const auto ay = hn::Sub(hn::PromoteTo(d, y0), originY);
            const auto bx = hn::Sub(hn::PromoteTo(d, x1), originX);
            const auto by = hn::Sub(hn::PromoteTo(d, y1), originY);
            const auto c = hn::Sub(hn::Mul(ax, by), hn::Mul(bx, ay));
            const auto dx = hn::Sub(bx, ax);
            const auto dy = hn::Sub(by, ay);
            const auto add = [&](PartialSums<double>& to, auto v) HWY_ATTR
            {
                double* partial = to.partial.data() + part;
                hn::StoreU(hn::Add(hn::LoadU(d, partial), v), d, partial);
            };
            add(sums.area, c);
            add(sums.length, hn::Sqrt(hn::Add(hn::Mul(dx, dx), hn::Mul(dy, dy))));
            add(sums.momentX, hn::Mul(hn::Add(ax, bx), c));
            add(sums.momentY, hn::Mul(hn::Add(ay, by), c));
        }
    }
    for (; i < numPoints; ++i)
    {
        sums.add(xy, i, i + 1 == numPoints ? 0 : i + 1);
    }
    for (size_t p = 0; p < numPoints; ++p)
    {
        box.add(xy[2 * p], xy[2 * p + 1]);
    }
    *measure = contourMeasure(sums, box, xy, numPoints);
    return VISORA_SUCCESS;
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

VSR_VECTOR(vsrFindNonZerou8, findNonZero);
VSR_VECTOR(vsrFindConnectedComponentsu8, components);
VSR_VECTOR(vsrFindContoursu8, contours);
VSR_VECTOR(vsrFindOuterContoursu8, outerContours);
VSR_VECTOR(vsrFindBlobsu8, blobs);
VSR_VECTOR(vsrContourMeasures32, measures);

#endif
