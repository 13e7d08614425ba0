// Median over M x N windows of s16 pixels, vector variant.
#include <algorithm>
#include <bit>

#include "visora/filter.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/visoraMedianMxNV.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

// Calls visit(pixels) for each of the M * N neighbours, one vector of neighbours of adjacent outputs at a time.
template <class D, class Visit>
HWY_INLINE void forEachNeighbour(D d, const int16_t* corner, size_t step, size_t M, size_t N, Visit visit)
{
    for (size_t row = 0; row < N; ++row, corner += step)
    {
        for (size_t column = 0; column < M; ++column)
        {
            visit(hn::LoadU(d, corner + column));
        }
    }
}

// The value of rank (M * N - 1) / 2 of each lane's window, by bisection: it is the largest v that no more than that
// many values lie below of. All lanes begin at the smallest value of all their windows, and only as many bits are tried
// as the values spread over.
template <class D>
HWY_INLINE hn::Vec<D> medianByBisection(D d, const int16_t* corner, size_t step, size_t M, size_t N)
{
    using V = hn::Vec<D>;
    const hn::RebindToUnsigned<D> du;
    V smallest = hn::Set(d, INT16_MAX);
    V largest = hn::Set(d, INT16_MIN);
    forEachNeighbour(d, corner, step, M, N,
                     [&](V pixels) HWY_ATTR
                     {
                         smallest = hn::Min(smallest, pixels);
                         largest = hn::Max(largest, pixels);
                     });
    const int low = hn::GetLane(hn::MinOfLanes(d, smallest));
    const int high = hn::GetLane(hn::MaxOfLanes(d, largest));

    // Counts go up to M * N - 1, which 16 bits hold.
    const auto rank = hn::Set(du, static_cast<uint16_t>((M * N - 1) / 2));
    V median = hn::Set(d, static_cast<int16_t>(low));
    for (int bit = static_cast<int>(std::bit_width(static_cast<uint32_t>(high - low))) - 1; bit >= 0; --bit)
    {
        // Saturation is harmless: a limit above all values is never accepted, and 32767 itself may be.
        // A step of 32768 is the first one if there is one, and low + 32768 does not exceed high then.
        const V limit = bit == 15 ? hn::Set(d, static_cast<int16_t>(low + 32768))
                                  : hn::SaturatedAdd(median, hn::Set(d, static_cast<int16_t>(1 << bit)));
        auto below = hn::Zero(d);
        forEachNeighbour(d, corner, step, M, N,
                         [&](V pixels) HWY_ATTR { below = hn::Sub(below, hn::VecFromMask(d, hn::Lt(pixels, limit))); });
        const auto accepted = hn::Eq(hn::Max(hn::BitCast(du, below), rank), rank);
        median = hn::IfThenElse(hn::RebindMask(d, accepted), limit, median);
    }
    return median;
}

vsrStatus medianMxN(const int16_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint32_t M,
                    uint32_t N, int16_t* dst, uint32_t dstStride)
{
    const size_t halfWidth = M / 2;
    const size_t halfHeight = N / 2;
    const size_t inner = srcWidth > 2 * halfWidth ? srcWidth - 2 * halfWidth : 0;
    const size_t srcStep = srcStride / sizeof(int16_t);
    const size_t dstStep = dstStride / sizeof(int16_t);
    // Neighbours are counted in 16 bits.
    const bool done =
        M != 0 && N != 0 && uint64_t{M} * N <= UINT16_MAX && N <= UINT8_MAX &&
        withFittingVector<int16_t>(
            inner,
            [&](auto d) HWY_ATTR
            {
                for (size_t y = halfHeight; y + halfHeight < srcHeight; ++y)
                {
                    const int16_t* corner = src + (y - halfHeight) * srcStep;
                    int16_t* out = dst + y * dstStep + halfWidth;
                    coverRange(0, inner, hn::Lanes(d),
                               [&](size_t x) HWY_ATTR
                               { hn::StoreU(medianByBisection(d, corner + x, srcStep, M, N), d, out + x); });
                }
            });
    return done ? vsrStatus{VISORA_SUCCESS}
                : vsrFilterMedianMxNs16C(src, srcWidth, srcHeight, srcStride, M, N, dst, dstStride);
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace visora
{
HWY_EXPORT(medianMxN);
}

vsrStatus vsrFilterMedianMxNs16V(const int16_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                 uint32_t M, uint32_t N, int16_t* dst, uint32_t dstStride)
{
    using namespace visora;
    return HWY_DYNAMIC_DISPATCH(medianMxN)(src, srcWidth, srcHeight, srcStride, M, N, dst, dstStride);
}

#endif
