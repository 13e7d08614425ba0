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

/** As coverRange by two vectors a step, where there are two: what a step costs beside its work counts half. */
template <class Body>
HWY_INLINE void coverByTwo(size_t begin, size_t end, size_t lanes, Body body)
{
    if (end - begin < 2 * lanes)
    {
        return coverRange(begin, end, lanes, body);
    }
    coverRange(begin, end, 2 * lanes,
               [&](size_t x) HWY_ATTR
               {
                   body(x);
                   body(x + lanes);
               });
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

/** Two vectors of elements of one or two bytes: those at even places, and those between them. */
template <class D>
HWY_INLINE void loadEvenOdd(D d, const hn::TFromD<D>* from, hn::Vec<D>& even, hn::Vec<D>& odd)
{
#if HWY_ARCH_ARM
    hn::LoadInterleaved2(d, from, even, odd);
#else
    constexpr int kBits = static_cast<int>(sizeof(hn::TFromD<D>)) * 8;
    const hn::RepartitionToWide<D> dWide;
    const auto low = hn::BitCast(dWide, hn::LoadU(d, from));
    const auto high = hn::BitCast(dWide, hn::LoadU(d, from + hn::Lanes(d)));
    const auto mask = hn::Set(dWide, static_cast<hn::TFromD<D>>(~hn::TFromD<D>{0}));
    even = narrowInOrder(d, hn::And(low, mask), hn::And(high, mask));
    odd = narrowInOrder(d, hn::ShiftRight<kBits>(low), hn::ShiftRight<kBits>(high));
#endif
}

/** Bytes that alternate between two vectors of 16-bit numbers below 256. */
template <class D, class V>
HWY_INLINE V bytesInTurn(D /*d*/, V even, V odd)
{
#if HWY_ARCH_ARM
    if constexpr (hn::MaxLanes(D()) == 8)
    {
        return V(vsliq_n_u16(even.raw, odd.raw, 8));
    }
#endif
    return hn::Or(even, hn::ShiftLeft<8>(odd));
}

/** Products of 16-bit numbers, each pair of neighbours added to one 32-bit number. */
template <class D, class V>
HWY_INLINE hn::Vec<D> sumsOfPairProducts([[maybe_unused]] D d, V a, V b)
{
#if HWY_ARCH_ARM
    if constexpr (hn::MaxLanes(D()) == 4)
    {
        return hn::Vec<D>(
            vpaddq_s32(vmull_s16(vget_low_s16(a.raw), vget_low_s16(b.raw)), vmull_high_s16(a.raw, b.raw)));
    }
    else
    {
        const int32x4_t products = vmull_s16(a.raw, b.raw);
        return hn::Vec<D>(vpadd_s32(vget_low_s32(products), vget_high_s32(products)));
    }
#else
    auto unused = hn::Zero(d);
    return hn::ReorderWidenMulAccumulate(d, a, b, hn::Zero(d), unused);
#endif
}

/** Sums of neighbours of two vectors, in order. */
template <class D, class V>
HWY_INLINE V sumsOfNeighbours(D d, V low, V high)
{
#if HWY_ARCH_ARM
    if constexpr (hn::MaxLanes(D()) == 4)
    {
        return V(vpaddq_s32(low.raw, high.raw));
    }
#endif
    return hn::Add(hn::ConcatEven(d, high, low), hn::ConcatOdd(d, high, low));
}

/** From p to q; p itself, whatever q is, where the weight is 0. */
template <class D, class V>
HWY_INLINE V lerpLanes(D d, V p, V q, V weight)
{
    const auto mixed = hn::Add(p, hn::Mul(weight, hn::Sub(q, p)));
    return hn::IfThenElse(hn::Eq(weight, hn::Zero(d)), p, mixed);
}

/** Where there are floats that are no NaN. */
template <class V>
HWY_INLINE auto isNumber(V v)
{
#if HWY_ARCH_ARM_A64
    // Compilers make three instructions of what they know to be a test for NaN.
    if constexpr (sizeof(v.raw) == 16)
    {
        uint32x4_t equal;
        asm("fcmeq %0.4s, %1.4s, %1.4s" : "=w"(equal) : "w"(v.raw));
        return decltype(hn::Eq(v, v))(equal);
    }
    else
#endif
    {
        return hn::Eq(v, v);
    }
}

/** Every NaN as 0x7fc00000. */
template <class D, class V>
HWY_INLINE V withOneNan(D d, V v)
{
    const hn::RebindToUnsigned<D> bits;
    return hn::IfThenElse(isNumber(v), v, hn::BitCast(d, hn::Set(bits, 0x7fc00000)));
}

/** The same for results of arithmetic, whose NaNs do not signal. */
template <class D, class V>
HWY_INLINE V resultWithOneNan(D d, V v)
{
#if HWY_ARCH_ARM_A64
    // Of a number and a quiet NaN this takes the number, of two the first. Compilers would take the second one.
    if constexpr (sizeof(v.raw) == 16)
    {
        const float32x4_t nan = vreinterpretq_f32_u32(vdupq_n_u32(0x7fc00000));
        float32x4_t result;
        asm("fmaxnm %0.4s, %1.4s, %2.4s" : "=w"(result) : "w"(nan), "w"(v.raw));
        (void)d;
        return V(result);
    }
#endif
    return withOneNan(d, v);
}

/** The elements of a vector in reverse. */
template <class D, class V>
HWY_INLINE V reversed(D d, V v)
{
#if HWY_ARCH_ARM
    if constexpr (sizeof(hn::TFromD<D>) == 2 && hn::MaxLanes(D()) == 8)
    {
        const uint16x8_t inHalves = vrev64q_u16(v.raw);
        return V(vextq_u16(inHalves, inHalves, 4));
    }
#endif
    if constexpr (sizeof(hn::TFromD<D>) > 1)
    {
        return hn::Reverse(d, v);
    }
    else
    {
        alignas(16) static constexpr uint8_t kBackwards[16] = {15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0};
        const auto inBlocks = hn::TableLookupBytes(v, hn::LoadDup128(d, kBackwards));
        if constexpr (hn::MaxLanes(D()) > 16)
        {
            return hn::ReverseBlocks(d, inBlocks);
        }
        return inBlocks;
    }
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#endif
