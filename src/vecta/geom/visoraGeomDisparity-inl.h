// The choice of a disparity from its costs, which are a pixel's row of u16; lanes are disparities. Included once per
// instruction set.
#if defined(VISORA_VECTA_GEOM_DISPARITY_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VISORA_VECTA_GEOM_DISPARITY_INL_H
#undef VISORA_VECTA_GEOM_DISPARITY_INL_H
#else
#define VISORA_VECTA_GEOM_DISPARITY_INL_H
#endif

#include "cpu/geom/visoraGeomDisparity.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

using Costs = hn::CappedTag<uint16_t, 32>;
using CostVector = hn::Vec<Costs>;

/** The cost of what is no disparity; it is above all others. */
constexpr uint16_t kNoCost = 0xffff;

constexpr size_t wholeVectors(size_t count, size_t lanes)
{
    return (count + lanes - 1) / lanes * lanes;
}

template <class D>
HWY_INLINE uint16_t leastOfLanes([[maybe_unused]] D d, hn::Vec<D> v)
{
    if constexpr (hn::MaxLanes(D()) > 8)
    {
        const hn::Half<D> half;
        return leastOfLanes(half, hn::Min(hn::LowerHalf(half, v), hn::UpperHalf(half, v)));
    }
    else
    {
#if HWY_ARCH_X86 && HWY_TARGET <= HWY_SSE4
        return static_cast<uint16_t>(_mm_cvtsi128_si32(_mm_minpos_epu16(v.raw)));
#elif HWY_ARCH_ARM
        return vminvq_u16(v.raw);
#else
        return hn::GetLane(hn::MinOfLanes(d, v));
#endif
    }
}

template <class D>
HWY_INLINE uint32_t sumOfLanes([[maybe_unused]] D d, hn::Vec<D> v)
{
#if HWY_ARCH_ARM
    return vaddvq_u16(v.raw);
#else
    const hn::Repartition<uint64_t, D> wide;
    if constexpr (hn::MaxLanes(D()) > 8)
    {
        const hn::Half<D> half;
        return sumOfLanes(half, hn::Add(hn::LowerHalf(half, v), hn::UpperHalf(half, v)));
    }
    else
    {
        return static_cast<uint32_t>(
            hn::GetLane(hn::SumOfLanes(wide, hn::SumsOf8(hn::BitCast(hn::Repartition<uint8_t, D>(), v)))));
    }
#endif
}

/** All bits set in the lanes that are no disparities of the last vector of `count`. */
HWY_INLINE CostVector beyondLast(size_t count)
{
    const Costs d;
    const size_t used = count - (wholeVectors(count, hn::Lanes(d)) - hn::Lanes(d));
    return hn::Not(hn::VecFromMask(d, hn::FirstN(d, used)));
}

struct Choice
{
    int16_t disparity;  // 16 times
    uint32_t best;
};

// kPartial: some disparities are not possible. Lanes beyond the last disparity hold kNoCost.
template <bool kPartial>
HWY_INLINE Choice chooseAmong(const Disparities& disparities, const uint16_t* costs, Disparities::Range range,
                              uint32_t uniqueness)
{
    const Costs d;
    const size_t lanes = hn::Lanes(d);
    const size_t size = wholeVectors(disparities.count, lanes);
    const auto iota = hn::Iota(d, 0);
    const auto costsAt = [&](size_t k, CostVector index) HWY_ATTR
    {
        const auto values = hn::LoadU(d, costs + k);
        if constexpr (kPartial)
        {
            const hn::RebindToSigned<Costs> ds;
            const auto at = hn::BitCast(ds, index);
            const auto isOut = hn::Or(hn::Lt(at, hn::Set(ds, static_cast<int16_t>(range.first))),
                                      hn::Gt(at, hn::Set(ds, static_cast<int16_t>(range.end - 1))));
            return hn::Or(values, hn::BitCast(d, hn::VecFromMask(ds, isOut)));
        }
        else
        {
            return values;
        }
    };
    auto least = costsAt(0, iota);
    auto where = iota;
    auto index = iota;
    for (size_t k = lanes; k < size; k += lanes)
    {
        index = hn::Add(index, hn::Set(d, static_cast<uint16_t>(lanes)));
        const auto lesser = hn::Min(least, costsAt(k, index));
        where = hn::IfThenElse(hn::Eq(lesser, least), where, index);
        least = lesser;
    }
    const uint16_t cost = leastOfLanes(d, least);
    const auto isLeast = hn::Eq(least, hn::Set(d, cost));
    const uint32_t best = leastOfLanes(d, hn::IfThenElse(isLeast, where, hn::Set(d, kNoCost)));
    const int32_t rival = uniqueness == 0 ? -1 : rivalCost(cost, uniqueness);
    if (rival >= 0)
    {
        // All rivals, the best disparity and its neighbours among them, are more than those three.
        const uint16_t limit = static_cast<uint16_t>(std::min<int32_t>(rival, kNoCost - 1));
        auto rivals = hn::Zero(d);
        index = iota;
        for (size_t k = 0; k < size; k += lanes)
        {
            const auto values = costsAt(k, index);
            const auto isRival = hn::Eq(hn::Min(values, hn::Set(d, limit)), values);
            rivals = hn::Sub(rivals, hn::VecFromMask(d, isRival));
            index = hn::Add(index, hn::Set(d, static_cast<uint16_t>(lanes)));
        }
        const auto near = [&](uint32_t k) { return k >= range.first && k < range.end && costs[k] <= limit ? 1u : 0u; };
        if (sumOfLanes(d, rivals) > near(best - 1) + near(best) + near(best + 1))
        {
            return {VISORA_DISPARITY_NONE, best};
        }
    }
    return {refined(disparities, costs, best, range), best};
}

HWY_INLINE Choice choose(const Disparities& disparities, const uint16_t* costs, Disparities::Range range,
                         uint32_t uniqueness)
{
    if (range.isEmpty())
    {
        return {VISORA_DISPARITY_NONE, 0};
    }
    return range.first == 0 && range.end == disparities.count
               ? chooseAmong<false>(disparities, costs, range, uniqueness)
               : chooseAmong<true>(disparities, costs, range, uniqueness);
}

/**
 * A row backwards, of which column x is at width - 1 - x, with `margin` more elements at both ends: those of the
 * nearest column.
 */
HWY_INLINE void reverseRow(const uint8_t* row, size_t width, size_t margin, uint8_t* to)
{
    std::fill_n(to, margin, row[width - 1]);
    std::reverse_copy(row, row + width, to + margin);
    std::fill_n(to + margin + width, margin, row[0]);
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#endif
