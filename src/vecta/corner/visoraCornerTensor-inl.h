// Sums over windows of the products of gradients, row by row, for vectors. Included once per instruction set.
#if defined(VISORA_VECTA_CORNER_TENSOR_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VISORA_VECTA_CORNER_TENSOR_INL_H
#undef VISORA_VECTA_CORNER_TENSOR_INL_H
#else
#define VISORA_VECTA_CORNER_TENSOR_INL_H
#endif

#include <algorithm>
#include <cstring>

#include "cpu/corner/visoraCornerTensor.h"
#include "hwy/highway.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

using Gradients = hn::ScalableTag<int16_t>;
using Products = hn::RepartitionToWide<Gradients>;
constexpr size_t kGradientLanes = hn::MaxLanes(Gradients());
constexpr size_t kProductLanes = hn::MaxLanes(Products());

/** A vector of products of as many gradients. */
struct ProductPair
{
    hn::Vec<Products> low;
    hn::Vec<Products> high;
};

/** Adds a * b and takes c * d off, in order. */
HWY_INLINE void addDifference(ProductPair& sum, hn::Vec<Gradients> a, hn::Vec<Gradients> b, hn::Vec<Gradients> c,
                              hn::Vec<Gradients> e)
{
#if HWY_ARCH_ARM
    using V = hn::Vec<Products>;
    sum.low = V(vmlsl_s16(vmlal_s16(sum.low.raw, vget_low_s16(a.raw), vget_low_s16(b.raw)), vget_low_s16(c.raw),
                          vget_low_s16(e.raw)));
    sum.high = V(vmlsl_high_s16(vmlal_high_s16(sum.high.raw, a.raw, b.raw), c.raw, e.raw));
#else
    const Products d;
    const hn::RebindToUnsigned<Gradients> d16;
    const hn::RebindToUnsigned<Products> d32;
    const hn::Half<decltype(d16)> half;
    // Elements of both vectors side by side, which one instruction multiplies and adds.
    const auto lower = [&](auto one, auto other) HWY_ATTR
    {
        const auto first = hn::PromoteTo(d32, hn::LowerHalf(half, hn::BitCast(d16, one)));
        const auto second = hn::PromoteTo(d32, hn::LowerHalf(half, hn::BitCast(d16, other)));
        return hn::BitCast(Gradients(), hn::Or(first, hn::ShiftLeft<16>(second)));
    };
    const auto upper = [&](auto one, auto other) HWY_ATTR
    {
        const auto first = hn::PromoteTo(d32, hn::UpperHalf(half, hn::BitCast(d16, one)));
        const auto second = hn::PromoteTo(d32, hn::UpperHalf(half, hn::BitCast(d16, other)));
        return hn::BitCast(Gradients(), hn::Or(first, hn::ShiftLeft<16>(second)));
    };
    const auto minus = hn::Neg(e);
    sum.low = hn::Add(sum.low, sumsOfPairProducts(d, lower(a, c), lower(b, minus)));
    sum.high = hn::Add(sum.high, sumsOfPairProducts(d, upper(a, c), upper(b, minus)));
#endif
}

/**
 * Sums of products of gradients over columns of 2 * radius + 1 rows, which run down the image, for the pixels that are
 * looked at and `radius` columns to their left and right.
 */
template <size_t radius>
class TensorColumns
{
    static constexpr size_t kRows = 2 * radius + 1;

  public:
    static size_t paddedColumns(size_t columns) { return (columns + 2 * radius + kGradientLanes + 31) / 32 * 32; }
    static size_t bytes(size_t columns)
    {
        return paddedColumns(columns) * (kRows * 2 * sizeof(int16_t) + 3 * sizeof(int32_t));
    }

    /** Needs at least a vector's gradients in a row. */
    static bool takes(size_t columns) { return columns + 2 * radius >= kGradientLanes; }

    HWY_INLINE TensorColumns(uint8_t* memory, const uint8_t* src, size_t stride, const LookedAt& pixels)
        : padded_(paddedColumns(pixels.columns)),
          width_(pixels.columns + 2 * radius),
          xx_(reinterpret_cast<int32_t*>(memory)),
          yy_(xx_ + padded_),
          xy_(yy_ + padded_),
          ring_(reinterpret_cast<int16_t*>(xy_ + padded_)),
          src_(planeRow(src, stride, pixels.border - radius) + pixels.border - radius),
          stride_(stride)
    {
        std::memset(memory, 0, bytes(pixels.columns));
        for (size_t y = 0; y + 1 < kRows; ++y)
        {
            enter(y);
        }
    }

    /** Brings the sums to row y of the pixels looked at; rows come one after the other from 0 on. */
    HWY_INLINE void next(size_t y) { enter(y + 2 * radius); }

    const int32_t* xx() const { return xx_; }
    const int32_t* yy() const { return yy_; }
    const int32_t* xy() const { return xy_; }

  private:
    // Row `line` of gradients comes in, the one whose place it takes goes out.
    HWY_INLINE void enter(size_t line)
    {
        const Gradients d;
        const hn::Rebind<uint8_t, Gradients> d8;
        const uint8_t* HWY_RESTRICT here = src_ + line * stride_;
        const uint8_t* HWY_RESTRICT above = here - stride_;
        const uint8_t* HWY_RESTRICT below = here + stride_;
        int16_t* HWY_RESTRICT across = ring_ + line % kRows * 2 * padded_;
        int16_t* HWY_RESTRICT down = across + padded_;
        int32_t* HWY_RESTRICT xx = xx_;
        int32_t* HWY_RESTRICT yy = yy_;
        int32_t* HWY_RESTRICT xy = xy_;
        const auto load = [&](const uint8_t* from) HWY_ATTR { return hn::PromoteTo(d, hn::LoadU(d8, from)); };
        const Products d32;
        const auto update = [&](int32_t* sums, size_t x, auto a, auto b, auto c, auto e) HWY_ATTR
        {
            ProductPair pair = {hn::LoadU(d32, sums + x), hn::LoadU(d32, sums + x + kProductLanes)};
            addDifference(pair, a, b, c, e);
            hn::StoreU(pair.low, d32, sums + x);
            hn::StoreU(pair.high, d32, sums + x + kProductLanes);
        };
        const auto step = [&](size_t x) HWY_ATTR
        {
            const auto falling = hn::Sub(load(below + x + 1), load(above + x - 1));
            const auto rising = hn::Sub(load(above + x + 1), load(below + x - 1));
            const auto level = hn::Sub(load(here + x + 1), load(here + x - 1));
            const auto steep = hn::Sub(load(below + x), load(above + x));
            const auto gx = hn::Add(hn::Add(falling, rising), hn::Add(level, level));
            const auto gy = hn::Add(hn::Sub(falling, rising), hn::Add(steep, steep));
            const auto oldX = hn::LoadU(d, across + x);
            const auto oldY = hn::LoadU(d, down + x);
            hn::StoreU(gx, d, across + x);
            hn::StoreU(gy, d, down + x);
            update(xx, x, gx, gx, oldX, oldX);
            update(yy, x, gy, gy, oldY, oldY);
            update(xy, x, gx, gy, oldX, oldY);
        };
        size_t x = 0;
        for (; x + kGradientLanes <= width_; x += kGradientLanes)
        {
            step(x);
        }
        if (x < width_)
        {
            // What the last vector would do twice comes to no change: the ring holds the row by then.
            step(width_ - kGradientLanes);
        }
    }

    size_t padded_;
    size_t width_;
    int32_t* xx_;
    int32_t* yy_;
    int32_t* xy_;
    int16_t* ring_;
    const uint8_t* src_;
    size_t stride_;
};

/** The sum of 2 * radius + 1 neighbours, from `from` on. */
template <size_t radius>
HWY_INLINE hn::Vec<Products> sumAcross(const int32_t* from)
{
    const Products d;
    auto sum = hn::LoadU(d, from);
    for (size_t i = 1; i <= 2 * radius; ++i)
    {
        sum = hn::Add(sum, hn::LoadU(d, from + i));
    }
    return sum;
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#endif
