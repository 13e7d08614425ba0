// Resizing, vector variant.
#include <algorithm>
#include <numeric>

#include "cpu/scale/visoraScaleResize.h"
#include "cpu/visoraScratch.h"
#include "vecta/scale/visoraScaleLinear.h"
#include "visora/variants/scale.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/scale/visoraScaleResizeV.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/scale/visoraScaleBoxes.h"
#include "vecta/scale/visoraScalePick-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

// What vsrScaleu8 is asked for, but the interpolation.
struct Resize
{
    const uint8_t* src;
    uint32_t srcWidth;
    uint32_t srcHeight;
    uint32_t srcStride;
    uint8_t* dst;
    uint32_t dstWidth;
    uint32_t dstHeight;
    uint32_t dstStride;
};

bool resizeNearest(const Resize& r)
{
    return pickPixels(
        r.src, r.srcStride, r.dst, r.dstWidth, r.dstHeight, r.dstStride,
        [&](uint32_t x) { return nearestIndex(x, r.srcWidth, r.dstWidth); },
        [&](uint32_t y) { return nearestIndex(y, r.srcHeight, r.dstHeight); });
}

// ---- Area ----

// The exact mean as weights of whole numbers, cut by their common divisors. Sums stay below 2^31.
struct AreaUnits
{
    AreaUnits(uint32_t srcSize, uint32_t dstSize)
        : src(srcSize / std::gcd(srcSize, dstSize)), dst(dstSize / std::gcd(srcSize, dstSize))
    {
    }

    AreaSpan span(uint32_t index) const { return {index, src, dst}; }

    uint32_t src;
    uint32_t dst;
};

constexpr uint32_t kMaxArea = (uint32_t{1} << 31) / 256;

// Source rows as weighted sums of what each output column covers.
class AreaRows
{
  public:
    AreaRows(const Resize& r, const AreaUnits& columns, uint32_t taps, uint8_t* scratch)
        : r_(r), taps_(taps), picker_([&](uint32_t x) { return firstTap(r, columns, taps, x); }, r.dstWidth, scratch)
    {
        pixels_ = scratch + roundUp(ColumnPicker::scratchBytes(r.dstWidth));
        weights_ = reinterpret_cast<int32_t*>(pixels_ + roundUp(r.dstWidth));
        sums_ = weights_ + size_t{taps} * r.dstWidth;
        totals_ = sums_ + r.dstWidth;
        for (uint32_t x = 0; x < r.dstWidth; ++x)
        {
            const AreaSpan span = columns.span(x);
            const uint32_t first = firstTap(r, columns, taps, x);
            for (uint32_t tap = 0; tap < taps; ++tap)
            {
                weights_[size_t{tap} * r.dstWidth + x] = static_cast<int32_t>(span.covered(first + tap));
            }
        }
    }

    static uint32_t tapsNeeded(const Resize& r, const AreaUnits& columns)
    {
        uint32_t taps = 1;
        for (uint32_t x = 0; x < r.dstWidth; ++x)
        {
            const AreaSpan span = columns.span(x);
            taps = std::max(taps, span.last() - span.first() + 1);
        }
        return taps;
    }

    static size_t scratchBytes(uint32_t dstWidth, uint32_t taps)
    {
        return roundUp(ColumnPicker::scratchBytes(dstWidth)) + roundUp(dstWidth) +
               (size_t{taps} + 2) * dstWidth * sizeof(int32_t);
    }

    template <class D>
    HWY_INLINE void begin(D d) const
    {
        coverRange(0, r_.dstWidth, hn::Lanes(d), [&](size_t x) HWY_ATTR { hn::StoreU(hn::Zero(d), d, totals_ + x); });
    }

    // Adds a source row to the totals. A row that two outputs share is summed once.
    template <class D>
    HWY_INLINE void add(D d, uint32_t y, uint32_t weight)
    {
        if (y != row_)
        {
            row_ = y;
            const uint32_t next = std::min(y + 1, r_.srcHeight - 1);
            sum(d, r_.src + size_t{y} * r_.srcStride, r_.src + size_t{next} * r_.srcStride);
        }
        // Not by overlapping vectors: a total must not be added to twice.
        const auto share = hn::Set(d, static_cast<int32_t>(weight));
        size_t x = 0;
        for (; x + hn::Lanes(d) <= r_.dstWidth; x += hn::Lanes(d))
        {
            const auto product = hn::Mul(hn::LoadU(d, sums_ + x), share);
            hn::StoreU(hn::Add(hn::LoadU(d, totals_ + x), product), d, totals_ + x);
        }
        for (; x < r_.dstWidth; ++x)
        {
            totals_[x] += sums_[x] * static_cast<int32_t>(weight);
        }
    }

    // Double precision rounds no quotient of such numbers up to a whole number that it does not reach.
    template <class D>
    HWY_INLINE void divide(D /*d*/, uint32_t area, uint8_t* out) const
    {
        const hn::Half<D> dHalf;
        const hn::Rebind<double, decltype(dHalf)> dDouble;
        const hn::Rebind<uint8_t, decltype(dHalf)> d8;
        const auto rounding = hn::Set(dHalf, static_cast<int32_t>(area / 2));
        const auto divisor = hn::Set(dDouble, static_cast<double>(area));
        coverRange(0, r_.dstWidth, hn::Lanes(dHalf),
                   [&](size_t x) HWY_ATTR
                   {
                       const auto sum = hn::PromoteTo(dDouble, hn::Add(hn::LoadU(dHalf, totals_ + x), rounding));
                       hn::StoreU(hn::DemoteTo(d8, hn::DemoteTo(dHalf, hn::Div(sum, divisor))), d8, out + x);
                   });
    }

  private:
    static size_t roundUp(size_t bytes) { return (bytes + 63) / 64 * 64; }

    // No tap lies behind the row.
    static uint32_t firstTap(const Resize& r, const AreaUnits& columns, uint32_t taps, uint32_t x)
    {
        return std::min(columns.span(x).first(), r.srcWidth - taps);
    }

    template <class D>
    HWY_INLINE void sum(D d, const uint8_t* row, const uint8_t* next) const
    {
        const hn::Rebind<uint8_t, D> d8;
        for (uint32_t tap = 0; tap < taps_; ++tap)
        {
            picker_.pick(row + tap, next, pixels_);
            const int32_t* weights = weights_ + size_t{tap} * r_.dstWidth;
            size_t x = 0;
            for (; x + hn::Lanes(d) <= r_.dstWidth; x += hn::Lanes(d))
            {
                const auto product = hn::Mul(hn::PromoteTo(d, hn::LoadU(d8, pixels_ + x)), hn::LoadU(d, weights + x));
                hn::StoreU(tap == 0 ? product : hn::Add(hn::LoadU(d, sums_ + x), product), d, sums_ + x);
            }
            for (; x < r_.dstWidth; ++x)
            {
                sums_[x] = (tap == 0 ? 0 : sums_[x]) + pixels_[x] * weights[x];
            }
        }
    }

    const Resize& r_;
    uint32_t taps_;
    ColumnPicker picker_;
    uint8_t* pixels_;
    int32_t* weights_;  // per tap and output
    int32_t* sums_;     // of the row at hand
    int32_t* totals_;   // of the rows of an output
    uint32_t row_ = UINT32_MAX;
};

bool resizeArea(const Resize& r)
{
    if (r.srcWidth % r.dstWidth == 0 && r.srcHeight % r.dstHeight == 0)
    {
        return roundedAverageBoxes(r.src, r.srcWidth, r.srcHeight, r.srcStride, r.dst, r.dstWidth, r.dstHeight,
                                   r.dstStride);
    }
    const AreaUnits columns(r.srcWidth, r.dstWidth);
    const AreaUnits rows(r.srcHeight, r.dstHeight);
    if (uint64_t{columns.src} * rows.src > kMaxArea)
    {
        return false;
    }
    const uint32_t taps = AreaRows::tapsNeeded(r, columns);
    const Scratch scratch(AreaRows::scratchBytes(r.dstWidth, taps));
    if (!scratch.data())
    {
        return false;
    }
    return withFittingVector<int32_t>(r.dstWidth,
                                      [&](auto d) HWY_ATTR
                                      {
                                          AreaRows sums(r, columns, taps, scratch.data());
                                          for (uint32_t y = 0; y < r.dstHeight; ++y)
                                          {
                                              const AreaSpan span = rows.span(y);
                                              sums.begin(d);
                                              for (uint32_t row = span.first(); row <= span.last(); ++row)
                                              {
                                                  sums.add(d, row, span.covered(row));
                                              }
                                              sums.divide(d, columns.src * rows.src, r.dst + size_t{y} * r.dstStride);
                                          }
                                      });
}

// Not bilinear.
bool resize(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
            uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride, vsrInterpolation interpolation)
{
    const Resize r = {src, srcWidth, srcHeight, srcStride, dst, dstWidth, dstHeight, dstStride};
    return interpolation == VISORA_INTERPOLATION_NEAREST ? resizeNearest(r) : resizeArea(r);
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace visora
{
HWY_EXPORT(resize);
}  // namespace visora

vsrStatus vsrScaleu8V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                      uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride, vsrInterpolation interpolation)
{
    using namespace visora;
    const bool done =
        interpolation == VISORA_INTERPOLATION_BILINEAR
            ? resizeLinear({src, srcWidth, srcHeight, srcStride, 1, dst, dstWidth, dstHeight, dstStride, nullptr})
            : HWY_DYNAMIC_DISPATCH(resize)(src, srcWidth, srcHeight, srcStride, dst, dstWidth, dstHeight, dstStride,
                                           interpolation);
    return done ? vsrStatus{VISORA_SUCCESS}
                : vsrScaleu8C(src, srcWidth, srcHeight, srcStride, dst, dstWidth, dstHeight, dstStride, interpolation);
}

#endif
