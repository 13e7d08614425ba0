// Extremes over small windows, whose columns stay in registers. Included once per instruction set.
#if defined(VISORA_VECTA_FILTER_MORPHOLOGY_SMALL_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VISORA_VECTA_FILTER_MORPHOLOGY_SMALL_INL_H
#undef VISORA_VECTA_FILTER_MORPHOLOGY_SMALL_INL_H
#else
#define VISORA_VECTA_FILTER_MORPHOLOGY_SMALL_INL_H
#endif

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "vecta/visoraUnroll.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

constexpr size_t kMostSmallLanes = 32;

// Windows of the last rows but one (upper) and of the last rows (lower) among rows[0 .. 2 * radius + 1], for all
// columns. Their columns stay in registers: what stands further right is shifted in from the next vector. finish(x,
// upper, lower) takes the results. `width` must be at least two vectors.
template <class Extreme, size_t radius, class D, class Finish>
HWY_INLINE void smallWindows(D d, const uint8_t* const* rows, size_t width, Finish finish)
{
    using V = hn::Vec<D>;
    const Extreme extreme;
    const size_t lanes = hn::Lanes(d);
    const auto columns = [&](size_t x, V& upper, V& lower) HWY_ATTR
    {
        V shared = hn::LoadU(d, rows[1] + x);
        for (size_t i = 2; i <= 2 * radius; ++i)
        {
            shared = extreme(shared, hn::LoadU(d, rows[i] + x));
        }
        upper = extreme(shared, hn::LoadU(d, rows[0] + x));
        lower = extreme(shared, hn::LoadU(d, rows[2 * radius + 1] + x));
    };
    const auto along = [&](V v, V next) HWY_ATTR
    {
        V result = extreme(v, shiftedIn<1>(d, v, next));
        result = extreme(result, shiftedIn<2>(d, v, next));
        if constexpr (radius >= 2)
        {
            result = extreme(result, extreme(shiftedIn<3>(d, v, next), shiftedIn<4>(d, v, next)));
        }
        if constexpr (radius >= 3)
        {
            result = extreme(result, extreme(shiftedIn<5>(d, v, next), shiftedIn<6>(d, v, next)));
        }
        return result;
    };
    // Columns at an edge, up to three vectors of them with nothing on the other side.
    uint8_t edge[2][4 * hn::MaxLanes(D())];
    const auto toEdge = [&](size_t begin, size_t end, size_t at) HWY_ATTR
    {
        std::fill_n(edge[0], 2 * sizeof(edge[0]), Extreme::kNeutral);
        coverRange(begin, end, lanes,
                   [&](size_t x) HWY_ATTR
                   {
                       V upper, lower;
                       columns(x, upper, lower);
                       hn::StoreU(upper, d, edge[0] + at + x - begin);
                       hn::StoreU(lower, d, edge[1] + at + x - begin);
                   });
    };
    const auto fromEdge = [&](size_t at, size_t x) HWY_ATTR
    {
        const auto row = [&](const uint8_t* of) HWY_ATTR
        { return along(hn::LoadU(d, of + at), hn::LoadU(d, of + at + lanes)); };
        finish(x, row(edge[0]), row(edge[1]));
    };

    toEdge(0, 2 * lanes, radius);
    fromEdge(0, 0);
    size_t x = lanes;
    V upper, lower, nextUpper, nextLower;
    columns(x - radius, upper, lower);
    for (; x - radius + 2 * lanes <= width; x += lanes)
    {
        columns(x - radius + lanes, nextUpper, nextLower);
        finish(x, along(upper, nextUpper), along(lower, nextLower));
        upper = nextUpper;
        lower = nextLower;
    }
    // Fewer than two vectors are left.
    const size_t begin = width - 2 * lanes;
    toEdge(begin, width, 0);
    coverRange(std::min(x, width - lanes), width, lanes,
               [&](size_t at) HWY_ATTR { fromEdge(at - radius - begin, at); });
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#endif
