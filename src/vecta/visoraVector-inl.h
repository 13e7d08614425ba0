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
    // Where whole steps end is compared with the index itself: compilers then keep no second one.
    const size_t stop = end - (end - begin) % lanes;
    for (size_t x = begin; x != stop; x += lanes)
    {
        body(x);
    }
    if (stop != end)
    {
        body(end - lanes);
    }
}

/**
 * As coverRange, with a second step that begins where `out + x` is aligned to a vector: stores that cross cache lines
 * cost twice as much.
 */
template <class T, class Body>
HWY_INLINE void coverAligned(size_t begin, size_t end, size_t lanes, const T* out, Body body)
{
    body(begin);
    const size_t beyond = reinterpret_cast<uintptr_t>(out + begin) / sizeof(T) % lanes;
    if (const size_t next = begin + lanes - beyond; next + lanes <= end)
    {
        return coverRange(next, end, lanes, body);
    }
    if (begin + lanes < end)
    {
        body(end - lanes);
    }
}

/**
 * Runs body(tag) with the widest vector of T that `count` elements fill: the machine's own, up to kMaxBytes, else 128
 * bits.
 * @return false when not even that fits, and the scalar reference should do the work
 */
template <class T, size_t kMaxBytes = 64, class Body>
HWY_INLINE bool withFittingVector(size_t count, Body body)
{
    const hn::CappedTag<T, kMaxBytes / sizeof(T)> wide;
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

/**
 * The elements `count` places further on in two vectors that follow one another, as many as one vector has. Takes
 * vectors of at most 32 bytes.
 */
template <int count, class D, class V>
HWY_INLINE V shiftedIn(D d, V v, V next)
{
    constexpr int kBytes = count * static_cast<int>(sizeof(hn::TFromD<D>));
    if constexpr (hn::MaxLanes(D()) * sizeof(hn::TFromD<D>) <= 16)
    {
        return hn::CombineShiftRightBytes<kBytes>(d, next, v);
    }
    else
    {
        static_assert(hn::MaxLanes(D()) * sizeof(hn::TFromD<D>) == 32);
        return hn::CombineShiftRightBytes<kBytes>(d, hn::ConcatLowerUpper(d, next, v), v);
    }
}

/**
 * Narrows two vectors to one of half as wide elements, in order. The values must fit; what happens to others differs
 * between instruction sets. Highway's way, Combine of two DemoteTo, costs five instructions on AVX2 where this takes
 * two.
 */
template <class D, class V>
HWY_INLINE hn::Vec<D> narrowInOrder([[maybe_unused]] D d, V low, V high)
{
    [[maybe_unused]] constexpr bool toBytes = sizeof(hn::TFromD<D>) == 1;
#if HWY_TARGET <= HWY_AVX2
    if constexpr (hn::MaxLanes(D()) * sizeof(hn::TFromD<D>) == 32)
    {
        const __m256i packed =
            toBytes ? _mm256_packus_epi16(low.raw, high.raw) : _mm256_packus_epi32(low.raw, high.raw);
        return hn::Vec<D>{_mm256_permute4x64_epi64(packed, 0xd8)};
    }
#endif
#if HWY_TARGET <= HWY_AVX3
    if constexpr (hn::MaxLanes(D()) * sizeof(hn::TFromD<D>) == 64)
    {
        const __m512i packed =
            toBytes ? _mm512_packus_epi16(low.raw, high.raw) : _mm512_packus_epi32(low.raw, high.raw);
        return hn::Vec<D>{_mm512_permutexvar_epi64(_mm512_setr_epi64(0, 2, 4, 6, 1, 3, 5, 7), packed)};
    }
#endif
#if HWY_ARCH_X86
    if constexpr (hn::MaxLanes(D()) * sizeof(hn::TFromD<D>) == 16)
    {
        return hn::Vec<D>{toBytes ? _mm_packus_epi16(low.raw, high.raw) : _mm_packus_epi32(low.raw, high.raw)};
    }
#else
    return hn::ConcatEven(d, hn::BitCast(d, high), hn::BitCast(d, low));
#endif
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#endif
