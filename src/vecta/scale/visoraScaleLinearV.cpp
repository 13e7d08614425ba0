// Bilinear resizing of u8 images, vector variants.
#include <algorithm>
#include <cstring>
#include <utility>

#include "cpu/scale/visoraScaleResize.h"
#include "cpu/visoraScratch.h"
#include "vecta/scale/visoraScaleLinear.h"
#include "visora/variants/scale.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/scale/visoraScaleLinearV.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/scale/visoraScalePick-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

// Source rows stretched to the destination's width, the last two of them kept. What lies outside the image is in a copy
// of a row with one pixel of border at either end.
class StretchedRows
{
  public:
    static size_t scratchBytes(const LinearResize& r)
    {
        const size_t elements = size_t{r.dstWidth} * r.channels;
        return roundUp(ColumnPicker::scratchBytes(static_cast<uint32_t>(2 * elements))) + roundUp(2 * elements) +
               roundUp(2 * elements * sizeof(int16_t)) + 2 * roundUp(elements * sizeof(int32_t)) +
               (r.border ? borderedRowBytes(r) : 0);
    }

    StretchedRows(const LinearResize& r, uint8_t* scratch)
        : r_(r),
          elements_(size_t{r.dstWidth} * r.channels),
          picker_([&](uint32_t tap) { return columnOfTap(r, tap); }, static_cast<uint32_t>(2 * elements_), scratch)
    {
        const auto take = [&scratch](size_t bytes) { return std::exchange(scratch, scratch + roundUp(bytes)); };
        take(ColumnPicker::scratchBytes(static_cast<uint32_t>(2 * elements_)));
        taps_ = take(2 * elements_);
        weights_ = reinterpret_cast<int16_t*>(take(2 * elements_ * sizeof(int16_t)));
        rows_[0].sums = reinterpret_cast<int32_t*>(take(elements_ * sizeof(int32_t)));
        rows_[1].sums = reinterpret_cast<int32_t*>(take(elements_ * sizeof(int32_t)));
        bordered_ = scratch;
        for (size_t e = 0; e < elements_; ++e)
        {
            const LinearTaps taps(static_cast<uint32_t>(e / r.channels), r.srcWidth, r.dstWidth);
            weights_[2 * e] = static_cast<int16_t>(kLinearTotal - taps.weight);
            weights_[2 * e + 1] = static_cast<int16_t>(taps.weight);
        }
    }

    template <class D>
    HWY_INLINE void resize(D d)
    {
        for (uint32_t y = 0; y < r_.dstHeight; ++y)
        {
            const LinearTaps taps(y, r_.srcHeight, r_.dstHeight);
            const int64_t lower = r_.border ? taps.outerLower : taps.lower;
            if (rows_[1].row == lower)
            {
                std::swap(rows_[0], rows_[1]);
            }
            provide(d, rows_[0], lower);
            provide(d, rows_[1], r_.border ? lower + 1 : taps.upper);
            blend(d, taps.weight, r_.dst + size_t{y} * r_.dstStride);
        }
    }

  private:
    struct Row
    {
        int32_t* sums = nullptr;
        int64_t row = INT64_MIN;
    };

    static size_t roundUp(size_t bytes) { return (bytes + 63) / 64 * 64; }

    static size_t borderedRowBytes(const LinearResize& r) { return (size_t{r.srcWidth} + 2) * r.channels; }

    // Taps come in turn, the lower one of an element and the upper one.
    static uint32_t columnOfTap(const LinearResize& r, uint32_t tap)
    {
        const uint32_t element = tap / 2;
        const LinearTaps taps(element / r.channels, r.srcWidth, r.dstWidth);
        const bool isUpper = tap % 2 != 0;
        const uint32_t column =
            r.border ? static_cast<uint32_t>(taps.outerLower + 1 + isUpper) : (isUpper ? taps.upper : taps.lower);
        return column * r.channels + element % r.channels;
    }

    const uint8_t* sourceRow(int64_t row)
    {
        const bool inside = row >= 0 && row < r_.srcHeight;
        const uint8_t* pixels = inside ? r_.src + static_cast<size_t>(row) * r_.srcStride : nullptr;
        if (!r_.border)
        {
            return pixels;
        }
        std::memset(bordered_, *r_.border, borderedRowBytes(r_));
        if (inside)
        {
            std::memcpy(bordered_ + r_.channels, pixels, size_t{r_.srcWidth} * r_.channels);
        }
        return bordered_;
    }

    template <class D>
    HWY_INLINE void provide(D d, Row& row, int64_t wanted)
    {
        if (row.row == wanted)
        {
            return;
        }
        row.row = wanted;
        const uint8_t* pixels = sourceRow(wanted);
        picker_.pick(pixels, pixels, taps_);
        const hn::Repartition<int16_t, D> d16;
        const hn::Rebind<uint8_t, decltype(d16)> d8;
        // Locals: what is stored could be the members.
        const uint8_t* taps = taps_;
        const int16_t* weights = weights_;
        int32_t* sums = row.sums;
        const auto stretch = [=](size_t x) HWY_ATTR
        {
            const auto pairs = hn::PromoteTo(d16, hn::LoadU(d8, taps + 2 * x));
            hn::StoreU(sumsOfPairProducts(d, pairs, hn::LoadU(d16, weights + 2 * x)), d, sums + x);
        };
        coverByTwo(0, elements_, hn::Lanes(d), stretch);
    }

    // One destination row between the two.
    template <class D>
    HWY_INLINE void blend(D d, uint32_t weight, uint8_t* out) const
    {
        const hn::Rebind<uint8_t, D> d8;
        constexpr int32_t kTotal = kLinearTotal * kLinearTotal;
        const int32_t* lower = rows_[0].sums;
        const int32_t* upper = rows_[1].sums;
#if HWY_ARCH_ARM
        const auto rounding = vdupq_n_s32(kTotal / 2);
        const auto weightBelow = static_cast<int32_t>(kLinearTotal - weight);
        const auto weightAbove = static_cast<int32_t>(weight);
        const auto four = [=](size_t x) HWY_ATTR
        {
            const auto below = vmlaq_n_s32(rounding, vld1q_s32(lower + x), weightBelow);
            return vreinterpretq_u32_s32(vmlaq_n_s32(below, vld1q_s32(upper + x), weightAbove));
        };
        const auto eight = [=](size_t x) HWY_ATTR
        { return vshrn_n_u16(vshrn_high_n_u32(vshrn_n_u32(four(x), 16), four(x + 4), 16), 6); };
        if (elements_ >= 16)
        {
            coverRange(0, elements_, 16,
                       [&](size_t x) HWY_ATTR { vst1q_u8(out + x, vcombine_u8(eight(x), eight(x + 8))); });
            return;
        }
#endif
        const auto share = hn::Set(d, static_cast<int32_t>(weight));
        const auto half = hn::Set(d, kTotal / 2);
        coverRange(0, elements_, hn::Lanes(d),
                   [&](size_t x) HWY_ATTR
                   {
                       const auto low = hn::LoadU(d, lower + x);
                       const auto difference = hn::Sub(hn::LoadU(d, upper + x), low);
                       const auto sum = hn::Add(hn::ShiftLeft<11>(low), hn::Mul(difference, share));
                       hn::StoreU(hn::DemoteTo(d8, hn::ShiftRight<22>(hn::Add(sum, half))), d8, out + x);
                   });
    }

    const LinearResize& r_;
    size_t elements_;
    ColumnPicker picker_;
    uint8_t* taps_;
    int16_t* weights_;  // of the taps
    uint8_t* bordered_;
    Row rows_[2];
};

bool resizeLinearRows(const LinearResize& r)
{
    if (2 * uint64_t{r.dstWidth} * r.channels > UINT32_MAX)
    {
        return false;
    }
    const Scratch scratch(StretchedRows::scratchBytes(r));
    return scratch.data() && withFittingVector<int32_t>(size_t{r.dstWidth} * r.channels, [&](auto d) HWY_ATTR
                                                        { StretchedRows(r, scratch.data()).resize(d); });
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace visora
{
HWY_EXPORT(resizeLinearRows);

bool resizeLinear(const LinearResize& resize)
{
    return HWY_DYNAMIC_DISPATCH(resizeLinearRows)(resize);
}
}  // namespace visora

vsrStatus vsrScaleBilinearu8V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                              uint32_t channels, uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight,
                              uint32_t dstStride)
{
    const bool isDone = visora::resizeLinear(
        {src, srcWidth, srcHeight, srcStride, channels, dst, dstWidth, dstHeight, dstStride, nullptr});
    return isDone ? vsrStatus{VISORA_SUCCESS}
                  : vsrScaleBilinearu8C(src, srcWidth, srcHeight, srcStride, channels, dst, dstWidth, dstHeight,
                                        dstStride);
}

vsrStatus vsrScaleu8_v2V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                         uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride, vsrInterpolation interpolation,
                         vsrBorderType borderType, uint8_t borderValue)
{
    if (interpolation != VISORA_INTERPOLATION_BILINEAR || borderType != VISORA_BORDER_CONSTANT)
    {
        return vsrScaleu8V(src, srcWidth, srcHeight, srcStride, dst, dstWidth, dstHeight, dstStride, interpolation);
    }
    const bool isDone = visora::resizeLinear(
        {src, srcWidth, srcHeight, srcStride, 1, dst, dstWidth, dstHeight, dstStride, &borderValue});
    return isDone ? vsrStatus{VISORA_SUCCESS}
                  : vsrScaleu8_v2C(src, srcWidth, srcHeight, srcStride, dst, dstWidth, dstHeight, dstStride,
                                   interpolation, borderType, borderValue);
}

#endif
