// What several vector kernels need. Included once per instruction set, like the kernels themselves.
#if defined(VISORA_VECTA_VECTOR_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VISORA_VECTA_VECTOR_INL_H
#undef VISORA_VECTA_VECTOR_INL_H
#else
#define VISORA_VECTA_VECTOR_INL_H
#endif

#include <cstddef>
#include <cstdint>

#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

namespace hn = hwy::HWY_NAMESPACE;

/**
 * Covers [begin, end) with steps of `lanes`: body(x) handles x .. x + lanes - 1. The last step overlaps the one before
 * it, so the body must give the same result when it runs twice on an element. Needs end - begin >= lanes.
 */
template <class Body>
HWY_INLINE void coverRange(size_t begin, size_t end, size_t lanes, Body body)
{
    size_t x = begin;
    for (; x + lanes <= end; x += lanes)
    {
        body(x);
    }
    if (x < end)
    {
        body(end - lanes);
    }
}

/**
 * Runs body(tag) with the widest vector of T that `count` elements fill: the machine's own, else 128 bits.
 * @return false when not even that fits, and the scalar reference should do the work
 */
template <class T, class Body>
HWY_INLINE bool withFittingVector(size_t count, Body body)
{
    const hn::ScalableTag<T> wide;
    if (count >= hn::Lanes(wide))
    {
        body(wide);
        return true;
    }
    const hn::CappedTag<T, 16 / sizeof(T)> narrow;
    if (count >= hn::Lanes(narrow))
    {
        body(narrow);
        return true;
    }
    return false;
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#endif
