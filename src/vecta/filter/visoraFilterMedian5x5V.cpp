// 5x5 median of bytes with a border rule, vector variant.
#include "visora/variants/filter.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/filter/visoraFilterMedian5x5V.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/filter/visoraFilterMedian5x5-inl.h"
#include "vecta/filter/visoraFilterWindow-inl.h"
#include "vecta/visoraExport.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

vsrStatus median5x5(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                    uint32_t dstStride, vsrBorderType borderType, uint8_t borderValue)
{
    const WindowSource source(src, srcWidth, srcHeight, srcStride, Surround(borderType, borderValue));
    vsrStatus status = VISORA_SUCCESS;
    const bool done = withFittingVector<uint8_t>(
        srcWidth,
        [&](auto d) HWY_ATTR
        {
            const size_t lanes = hn::Lanes(d);
            status = columnsThenRows<uint8_t, 5>(
                source, squareReach(2), lanes,
                [&](const uint8_t* const* rows, size_t x, const auto& sorted) HWY_ATTR
                {
                    sortColumnsOfFive(
                        d, [&](size_t row) { return rows[row]; }, x, sorted.data());
                },
                [&](size_t y, const auto& sorted, size_t begin, size_t end) HWY_ATTR
                {
                    uint8_t* out = dst + y * dstStride;
                    coverRange(begin, end, lanes,
                               [&](size_t x) HWY_ATTR
                               { hn::StoreU(medianFromSorted(d, sorted.data(), x), d, out + x); });
                });
        });
    return done ? status
                : vsrFilterMedian5x5u8C(src, srcWidth, srcHeight, srcStride, dst, dstStride, borderType, borderValue);
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

VSR_VECTOR(vsrFilterMedian5x5u8, median5x5);

#endif
