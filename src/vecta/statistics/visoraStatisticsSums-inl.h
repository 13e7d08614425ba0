// Sums over rows of bytes, for vectors. Included once per instruction set.
#if defined(VISORA_VECTA_STATISTICS_SUMS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VISORA_VECTA_STATISTICS_SUMS_INL_H
#undef VISORA_VECTA_STATISTICS_SUMS_INL_H
#else
#define VISORA_VECTA_STATISTICS_SUMS_INL_H
#endif

#include <algorithm>

#include "hwy/highway.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

/** Sum of the squares of s16 values up to 1020, in 64 bits. */
template <class D>
class SquareSum
{
  public:
    HWY_INLINE SquareSum() : even_(hn::Zero(D32())), odd_(hn::Zero(D32())) {}

    template <class V>
    HWY_INLINE void add(V values)
    {
        even_ = hn::ReorderWidenMulAccumulate(D32(), values, values, even_, odd_);
        if (++added_ == kFlush)
        {
            flush();
        }
    }

    HWY_INLINE uint64_t total()
    {
        flush();
        return total_;
    }

  private:
    // Twice the square of 1020 so many times fits 32 bits.
    static constexpr uint32_t kFlush = 2048;

    HWY_INLINE void flush()
    {
        const hn::RebindToUnsigned<D32> dU;
        HWY_ALIGN uint32_t lanes[hn::MaxLanes(dU)];
        hn::Store(hn::BitCast(dU, hn::Add(even_, odd_)), dU, lanes);
        for (size_t i = 0; i < hn::Lanes(dU); ++i)
        {
            total_ += lanes[i];
        }
        even_ = odd_ = hn::Zero(D32());
        added_ = 0;
    }

    using D32 = hn::RepartitionToWide<D>;
    hn::Vec<D32> even_;
    hn::Vec<D32> odd_;
    uint64_t total_ = 0;
    uint32_t added_ = 0;
};

/** Sum of the squares of bytes. */
template <class D>
class ByteSquareSum
{
  public:
    // Written out, as it has to be compiled for the instruction set.
    HWY_INLINE ByteSquareSum() {}

    template <class V>
    HWY_INLINE void add(V bytes)
    {
        const hn::Half<D> half;
        const hn::Rebind<int16_t, decltype(half)> d16;
        squares_.add(hn::PromoteTo(d16, hn::LowerHalf(half, bytes)));
        squares_.add(hn::PromoteTo(d16, hn::UpperHalf(half, bytes)));
    }

    HWY_INLINE uint64_t total() { return squares_.total(); }

  private:
    SquareSum<hn::Repartition<int16_t, D>> squares_;
};

/** Sums of bytes and of their squares. */
template <class D>
class ByteSums
{
  public:
    HWY_INLINE ByteSums() : sums_(hn::Zero(D64())) {}

    template <class V>
    HWY_INLINE void add(V bytes)
    {
        sums_ = hn::Add(sums_, hn::SumsOf8(bytes));
        squares_.add(bytes);
    }

    HWY_INLINE uint64_t sum() const { return hn::GetLane(hn::SumOfLanes(D64(), sums_)); }
    HWY_INLINE uint64_t squares() { return squares_.total(); }

  private:
    using D64 = hn::Repartition<uint64_t, D>;
    hn::Vec<D64> sums_;
    ByteSquareSum<D> squares_;
};

/**
 * Covers `count` elements with vectors: body(x, mask) for elements x .. x + lanes - 1, of which those of the mask (all
 * ones) have not been seen before. Needs count >= lanes.
 */
template <class D, class Body>
HWY_INLINE void coverOnce(D d, size_t count, Body body)
{
    const size_t lanes = hn::Lanes(d);
    const auto all = hn::Set(d, static_cast<hn::TFromD<D>>(-1));
    size_t x = 0;
    for (; x + lanes <= count; x += lanes)
    {
        body(x, all);
    }
    if (x < count)
    {
        const auto seen = hn::VecFromMask(d, hn::FirstN(d, x + lanes - count));
        body(count - lanes, hn::AndNot(seen, all));
    }
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#endif
