// Weighted sums over pairs of vectors of s16, in s32. Included once per instruction set.
#if defined(VISORA_VECTA_PAIR_SUMS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VISORA_VECTA_PAIR_SUMS_INL_H
#undef VISORA_VECTA_PAIR_SUMS_INL_H
#else
#define VISORA_VECTA_PAIR_SUMS_INL_H
#endif

#include "hwy/highway.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

/**
 * Two vectors whose elements at the same place are weighted and added up. x86 multiplies and adds neighbours and has
 * them in turn; ARM multiplies and accumulates one after the other.
 */
template <class D>
struct Pair
{
    hn::Vec<D> first;
    hn::Vec<D> second;
};

template <class D, class V>
HWY_INLINE Pair<D> pairUp([[maybe_unused]] D d, V a, V b)
{
#if HWY_ARCH_X86
    return {hn::InterleaveLower(d, a, b), hn::InterleaveUpper(d, a, b)};
#else
    return {a, b};
#endif
}

/**
 * The sums. Of each eight places `lower` has the first four and `upper` the others; ReorderDemote2To(d, lower, upper)
 * puts them in order.
 */
template <class D>
struct PairSums
{
    using D32 = hn::RepartitionToWide<D>;
    using Sum = hn::Vec<D32>;

    HWY_INLINE PairSums() : lower(hn::Zero(D32())), upper(hn::Zero(D32())) {}
    HWY_INLINE PairSums(Sum low, Sum up) : lower(low), upper(up) {}

    /** Adds firstWeight * a + secondWeight * b for a pair (a, b). */
    HWY_INLINE void add(const Pair<D>& pair, int16_t firstWeight, int16_t secondWeight)
    {
        const D32 d32;
#if HWY_ARCH_X86
        const auto weights =
            hn::BitCast(D(), hn::Set(d32, static_cast<int32_t>(uint32_t{static_cast<uint16_t>(secondWeight)} << 16 |
                                                               static_cast<uint16_t>(firstWeight))));
        Sum none = lower;
        lower = hn::ReorderWidenMulAccumulate(d32, pair.first, weights, lower, none);
        upper = hn::ReorderWidenMulAccumulate(d32, pair.second, weights, upper, none);
#else
        lower = hn::ReorderWidenMulAccumulate(d32, pair.first, hn::Set(D(), firstWeight), lower, upper);
        lower = hn::ReorderWidenMulAccumulate(d32, pair.second, hn::Set(D(), secondWeight), lower, upper);
#endif
    }

    Sum lower;
    Sum upper;
};

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#endif
