// Vector kernels that are a function of single elements: one loop, many formulas. A formula gets a tag of the result's
// type and one vector of each source's type, with as many lanes as the tag: `formula(d, a)` or `formula(d, a, b)`. A
// vector has 16 bytes or more of the widest type; lanes whose results are not stored hold 0.
#if defined(VISORA_VECTA_DRIVERS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VISORA_VECTA_DRIVERS_INL_H
#undef VISORA_VECTA_DRIVERS_INL_H
#else
#define VISORA_VECTA_DRIVERS_INL_H
#endif

#include <algorithm>
#include <type_traits>

#include "cpu/visoraDrivers.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

/** The widest of some types, as an unsigned integer. */
template <class... T>
using Widest = hwy::UnsignedFromSize<std::max({sizeof(T)...})>;

/** `count` elements, at least a vector of tag d. */
template <class Formula, class Tag, class D, class... S>
HWY_INLINE void mapVectors(const Formula& formula, Tag d, size_t count, D* dst, const S*... in)
{
    const size_t lanes = hn::Lanes(d);
    const auto compute = [&](size_t x) HWY_ATTR { return formula(d, hn::LoadU(hn::Rebind<S, Tag>(), in + x)...); };
    // Pointers that move leave less to do per step than an index.
    size_t left = count;
    for (; left >= 5 * lanes; left -= 4 * lanes)
    {
        const auto first = compute(0);
        const auto second = compute(lanes);
        const auto third = compute(2 * lanes);
        const auto fourth = compute(3 * lanes);
        hn::StoreU(first, d, dst);
        hn::StoreU(second, d, dst + lanes);
        hn::StoreU(third, d, dst + 2 * lanes);
        hn::StoreU(fourth, d, dst + 3 * lanes);
        ((in += 4 * lanes), ...);
        dst += 4 * lanes;
    }
    const auto last = compute(left - lanes);
    D* const lastOut = dst + left - lanes;
    for (; left > lanes; left -= lanes)
    {
        hn::StoreU(compute(0), d, dst);
        ((in += lanes), ...);
        dst += lanes;
    }
    hn::StoreU(last, d, lastOut);
}

/**
 * dst[x] = formula(in[x] ...) for x < count. In place is allowed: what the last vector shares with the one before it is
 * read before it is written.
 */
template <class Formula, class D, class... S>
HWY_INLINE void mapRow(const Formula& formula, size_t count, D* dst, const S*... in)
{
    using Wide = Widest<D, S...>;
    const hn::Rebind<D, hn::ScalableTag<Wide>> wide;
    constexpr size_t kNarrow = 16 / sizeof(Wide);
    const hn::Rebind<D, hn::CappedTag<Wide, kNarrow>> narrow;
    if (count >= hn::Lanes(wide))
    {
        return mapVectors(formula, wide, count, dst, in...);
    }
    if (hn::MaxLanes(wide) > kNarrow && count >= kNarrow)
    {
        return mapVectors(formula, narrow, count, dst, in...);
    }
    // Less than a vector: by way of a whole one.
    const auto padded = [&](const auto* from) HWY_ATTR
    {
        using T = std::remove_const_t<std::remove_reference_t<decltype(*from)>>;
        const hn::Rebind<T, decltype(narrow)> d;
        HWY_ALIGN T whole[kNarrow] = {};
        std::copy_n(from, count, whole);
        return hn::Load(d, whole);
    };
    HWY_ALIGN D result[kNarrow];
    hn::Store(formula(narrow, padded(in)...), narrow, result);
    std::copy_n(result, count, dst);
}

/** dst = formula(src), element by element. */
template <class Formula, class S, class D>
HWY_INLINE vsrStatus unary(const Formula& formula, const S* src, uint32_t width, uint32_t height, uint32_t srcStride,
                           D* dst, uint32_t dstStride)
{
    for (uint32_t y = 0; y < height; ++y)
    {
        mapRow(formula, width, imageRow(dst, dstStride, y), imageRow(src, srcStride, y));
    }
    return VISORA_SUCCESS;
}

/** dst = formula(src1, src2), element by element. */
template <class Formula, class S1, class S2, class D>
HWY_INLINE vsrStatus binary(const Formula& formula, const S1* src1, uint32_t width, uint32_t height,
                            uint32_t src1Stride, const S2* src2, uint32_t src2Stride, D* dst, uint32_t dstStride)
{
    for (uint32_t y = 0; y < height; ++y)
    {
        mapRow(formula, width, imageRow(dst, dstStride, y), imageRow(src1, src1Stride, y),
               imageRow(src2, src2Stride, y));
    }
    return VISORA_SUCCESS;
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#endif
