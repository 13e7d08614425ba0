// Sorting of eight scores, vector variant: each score is compared with all others, and how many come before it is its
// place.
#include "vecta/visoraExport.h"
#include "visora/variants/corner.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/match/visoraMatchSortV.cpp"
#include <cstring>

#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

vsrStatus sortEight(float* scores, float* values)
{
    constexpr size_t kCount = 8;
    using D = hn::CappedTag<float, kCount>;
    const D d;
    const hn::RebindToSigned<D> d32;
    constexpr size_t kLanes = hn::MaxLanes(D());
    uint32_t bits[2][kCount];
    std::memcpy(bits[0], scores, sizeof(bits[0]));
    std::memcpy(bits[1], values, sizeof(bits[1]));
    alignas(64) int32_t places[kCount];
    for (size_t i = 0; i < kCount; i += kLanes)
    {
        const auto own = hn::LoadU(d, scores + i);
        // Not by Ne, which AVX-512 does as an ordered comparison.
        const auto isNan = hn::Not(hn::Eq(own, own));
        const auto index = hn::Iota(d32, static_cast<int32_t>(i));
        auto before = hn::Zero(d32);
        for (size_t k = 0; k < kCount; ++k)
        {
            const auto other = hn::Set(d, scores[k]);
            const auto isOtherNan = hn::Not(hn::Eq(other, other));
            // Equal ones, NaNs among themselves too, come in their order.
            const auto isEarlier = hn::Lt(hn::Set(d32, static_cast<int32_t>(k)), index);
            const auto isEqual = hn::Or(hn::Eq(own, other), hn::And(isNan, isOtherNan));
            const auto isGreater = hn::Or(hn::Gt(other, own), hn::AndNot(isOtherNan, isNan));
            const auto comesBefore = hn::Or(isGreater, hn::And(isEqual, hn::RebindMask(d, isEarlier)));
            // A mask is -1 where it is set.
            before = hn::Sub(before, hn::BitCast(d32, hn::VecFromMask(d, comesBefore)));
        }
        hn::Store(before, d32, places + i);
    }
    for (size_t i = 0; i < kCount; ++i)
    {
        std::memcpy(scores + places[i], &bits[0][i], sizeof(bits[0][i]));
        std::memcpy(values + places[i], &bits[1][i], sizeof(bits[1][i]));
    }
    return VISORA_SUCCESS;
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
VSR_VECTOR(vsrSort8Scoresf32, sortEight);
#endif
