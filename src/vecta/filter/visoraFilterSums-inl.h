// Sums along rows. Included once per instruction set.
#if defined(VISORA_VECTA_FILTER_SUMS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VISORA_VECTA_FILTER_SUMS_INL_H
#undef VISORA_VECTA_FILTER_SUMS_INL_H
#else
#define VISORA_VECTA_FILTER_SUMS_INL_H
#endif

#include <cstddef>
#include <cstdint>

#include "hwy/highway.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

/** before[x] = sum of in[0 .. x - 1] modulo 2^32, for x up to `count`; both have room for four more. */
HWY_INLINE void sumBefore(const uint32_t* in, size_t count, uint32_t* before)
{
    const hn::FixedTag<uint32_t, 4> d;
    auto carry = hn::Zero(d);
    before[0] = 0;
    for (size_t x = 0; x < count; x += 4)
    {
        auto sum = hn::LoadU(d, in + x);
        sum = hn::Add(sum, hn::ShiftLeftLanes<1>(d, sum));
        sum = hn::Add(sum, hn::ShiftLeftLanes<2>(d, sum));
        hn::StoreU(hn::Add(sum, carry), d, before + x + 1);
        carry = hn::Add(carry, hn::Broadcast<3>(sum));
    }
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#endif
