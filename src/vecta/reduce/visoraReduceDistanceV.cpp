// Distances between images, blocks and vectors, vector variants.
#include "visora/variants/arithmetic.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/reduce/visoraReduceDistanceV.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/reduce/visoraReduce-inl.h"
#include "vecta/visoraExport.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{
namespace
{

using D8 = hn::ScalableTag<uint8_t>;
using DU32 = hn::ScalableTag<uint32_t>;

// ---- Images ----

struct AbsoluteDiffSum : ByteSum
{
    HWY_INLINE AbsoluteDiffSum() {}

    template <size_t... i>
    HWY_INLINE void add(std::index_sequence<i...> /*steps*/, const uint8_t* src1, const uint8_t* src2)
    {
        (addDifference(hn::LoadU(D(), src1 + i * kLanes), hn::LoadU(D(), src2 + i * kLanes)), ...);
    }

    HWY_INLINE void addDifference(hn::Vec<D> a, hn::Vec<D> b)
    {
#if HWY_ARCH_X86
        sums = hn::Add(sums, sumsOfAbsDiff(D(), a, b));
#else
        addBytes(absDiff(D(), a, b));
#endif
    }
};

// ---- Vectors ----

// Bytes without a sign, or with one: those are moved up by 128, which leaves their differences.
template <class T>
struct SquaredDiffSum
{
    static constexpr size_t kLanes = hn::MaxLanes(D8());
    static constexpr size_t kSteps = SIZE_MAX;  // the result has no more bits than a lane

    HWY_INLINE SquaredDiffSum() : sums(hn::Zero(DU32())) {}

    template <size_t... i>
    HWY_INLINE void add(std::index_sequence<i...> /*steps*/, const T* a, const T* b)
    {
        ((sums = addSquares(absDiff(D8(), load(a + i * kLanes), load(b + i * kLanes)), sums)), ...);
    }

    static HWY_INLINE hn::Vec<D8> load(const T* p)
    {
        const auto v = hn::LoadU(D8(), reinterpret_cast<const uint8_t*>(p));
        return std::is_signed_v<T> ? hn::Xor(v, hn::Set(D8(), uint8_t{128})) : v;
    }

    HWY_INLINE void flush() {}
    HWY_INLINE uint32_t total() const { return hn::GetLane(hn::SumOfLanes(DU32(), sums)); }

    hn::Vec<DU32> sums;
};

constexpr auto squaredDistances = [](const auto* query, uint32_t length, const auto* set, uint32_t numVectors,
                                     uint32_t setStride, auto* dst) HWY_ATTR -> vsrStatus
{
    using T = std::remove_const_t<std::remove_pointer_t<decltype(query)>>;
    for (uint32_t i = 0; i < numVectors; ++i)
    {
        SquaredDiffSum<T> sum;
        sumRows(length, 1, sum, source(query, 0), source(imageRow(set, setStride, i), 0));
        dst[i] = static_cast<std::remove_reference_t<decltype(*dst)>>(sum.total());
    }
    return VISORA_SUCCESS;
};

// The distances of kCount vectors at once: their sums do not wait for each other.
template <size_t kCount>
struct FloatDistances
{
    using D = hn::CappedTag<float, 16>;
    static constexpr size_t kVector = hn::MaxLanes(D());
    static constexpr size_t kVectors = 16 / kVector;

    HWY_INLINE FloatDistances()
    {
        for (auto& of : parts)
        {
            std::fill_n(of, kVectors, hn::Zero(D()));
        }
    }

    // 16 elements of each.
    HWY_INLINE void add(const float* query, const float* const (&vectors)[kCount], size_t begin)
    {
        const D d;
        for (size_t k = 0; k < kVectors; ++k)
        {
            const auto q = hn::LoadU(d, query + begin + k * kVector);
            for (size_t i = 0; i < kCount; ++i)
            {
                const auto diff = hn::Sub(q, hn::LoadU(d, vectors[i] + begin + k * kVector));
                parts[i][k] = hn::Add(parts[i][k], hn::Mul(diff, diff));
            }
        }
    }

    hn::Vec<D> parts[kCount][kVectors];
};

template <size_t kCount>
HWY_INLINE void floatDistances(const float* query, size_t length, const float* const (&vectors)[kCount], float* dst)
{
    FloatDistances<kCount> distances;
    size_t k = 0;
    for (; k + 16 <= length; k += 16)
    {
        distances.add(query, vectors, k);
    }
    if (k < length)
    {
        // Zeros behind the ends add +0.
        float queryEnd[16] = {};
        float ends[kCount][16] = {};
        const float* rows[kCount];
        std::copy(query + k, query + length, queryEnd);
        for (size_t i = 0; i < kCount; ++i)
        {
            std::copy(vectors[i] + k, vectors[i] + length, ends[i]);
            rows[i] = ends[i];
        }
        distances.add(queryEnd, rows, 0);
    }
    for (size_t i = 0; i < kCount; ++i)
    {
        Sum16<float> sum;
        for (size_t j = 0; j < distances.kVectors; ++j)
        {
            hn::StoreU(distances.parts[i][j], hn::CappedTag<float, 16>(), sum.parts + j * distances.kVector);
        }
        dst[i] = visora::oneNan(sum.total());
    }
}

// ---- Blocks ----

// Block matching for the lanes of d: places beside each other. Sums of 16 bits hold 257 pixels.
template <class D>
HWY_INLINE void matchPlaces(D d, const uint8_t* src, uint32_t srcStride, const uint8_t* patch, uint32_t M, uint32_t N,
                            uint32_t patchStride, uint32_t* dst)
{
    const hn::Repartition<uint16_t, D> d16;
    constexpr size_t lanes = hn::MaxLanes(d);
    auto low = hn::Zero(d16);
    auto high = hn::Zero(d16);
    uint32_t totals[lanes] = {};
    uint32_t left = 257;
    const auto flush = [&]() HWY_ATTR
    {
        uint16_t parts[lanes];
        hn::StoreU(low, d16, parts);
        hn::StoreU(high, d16, parts + lanes / 2);
        for (size_t i = 0; i < lanes; ++i)
        {
            totals[i] += parts[i];
        }
        low = hn::Zero(d16);
        high = hn::Zero(d16);
        left = 257;
    };
    for (uint32_t j = 0; j < N; ++j, src += srcStride, patch += patchStride)
    {
        for (uint32_t i = 0; i < M;)
        {
            const uint32_t end = M - i > left ? i + left : M;
            left -= end - i;
            for (; i < end; ++i)
            {
                const auto pixels = hn::LoadU(d, src + i);
                const auto pixel = hn::Set(d, patch[i]);
#if HWY_ARCH_ARM_A64
                low = decltype(low)(vabal_u8(low.raw, vget_low_u8(pixels.raw), vget_low_u8(pixel.raw)));
                high = decltype(high)(vabal_high_u8(high.raw, pixels.raw, pixel.raw));
#else
                const auto difference = absDiff(d, pixels, pixel);
                const hn::Half<D> half;
                low = hn::Add(low, hn::PromoteTo(d16, hn::LowerHalf(half, difference)));
                high = hn::Add(high, hn::PromoteTo(d16, hn::UpperHalf(half, difference)));
#endif
            }
            if (left == 0)
            {
                flush();
            }
        }
    }
    flush();
    std::copy_n(totals, lanes, dst);
}

// The sum of |a - b| over kRows rows of the lanes of d, 8 or 16.
template <uint32_t kRows, class D>
HWY_INLINE uint32_t blockDistance(D d, const uint8_t* a, uint32_t aStride, const uint8_t* b, uint32_t bStride)
{
#if HWY_ARCH_ARM_A64
    uint16x8_t sums = vdupq_n_u16(0);
    for (uint32_t y = 0; y < kRows; ++y, a += aStride, b += bStride)
    {
        if constexpr (hn::MaxLanes(d) == 16)
        {
            sums = vpadalq_u8(sums, vabdq_u8(vld1q_u8(a), vld1q_u8(b)));
        }
        else
        {
            sums = vabal_u8(sums, vld1_u8(a), vld1_u8(b));
        }
    }
    return vaddlvq_u16(sums);
#else
    const hn::Repartition<uint64_t, D> d64;
    auto sums = hn::Zero(d64);
    for (uint32_t y = 0; y < kRows; ++y, a += aStride, b += bStride)
    {
        sums = hn::Add(sums, sumsOfAbsDiff(d, hn::LoadU(d, a), hn::LoadU(d, b)));
    }
    return static_cast<uint32_t>(sumOf64(d64, sums));
#endif
}

}  // namespace

VSR_KERNEL(vsrSumOfSquaredDiffu8, squaredDistancesU8, squaredDistances);
VSR_KERNEL(vsrSumOfSquaredDiffs8, squaredDistancesS8, squaredDistances);

vsrStatus squaredDistancesF32(const float* query, uint32_t length, const float* set, uint32_t numVectors,
                              uint32_t setStride, float* dst)
{
    uint32_t i = 0;
    for (; i + 4 <= numVectors; i += 4)
    {
        const float* const four[] = {imageRow(set, setStride, i), imageRow(set, setStride, i + 1),
                                     imageRow(set, setStride, i + 2), imageRow(set, setStride, i + 3)};
        floatDistances(query, length, four, dst + i);
    }
    for (; i < numVectors; ++i)
    {
        const float* const one[] = {imageRow(set, setStride, i)};
        floatDistances(query, length, one, dst + i);
    }
    return VISORA_SUCCESS;
}

vsrStatus sumOfAbsoluteDiff(const uint8_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                            const uint8_t* src2, uint32_t src2Stride, uint64_t* sum)
{
    AbsoluteDiffSum all;
    sumRows(width, height, all, source(src1, src1Stride), source(src2, src2Stride));
    *sum = all.total();
    return VISORA_SUCCESS;
}

bool matchBlocks(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, const uint8_t* patch,
                 uint32_t M, uint32_t N, uint32_t patchStride, uint32_t* dst, uint32_t dstStride, uint32_t* bestXY)
{
    const uint32_t places = srcWidth - M + 1;
    return withFittingVector<uint8_t>(
        places,
        [&](auto d) HWY_ATTR
        {
            uint32_t best = UINT32_MAX;
            for (uint32_t y = 0; y <= srcHeight - N; ++y)
            {
                const uint8_t* const from = imageRow(src, srcStride, y);
                uint32_t* const sums = imageRow(dst, dstStride, y);
                coverRange(0, places, hn::Lanes(d),
                           [&](size_t x) HWY_ATTR
                           { matchPlaces(d, from + x, srcStride, patch, M, N, patchStride, sums + x); });
                const uint32_t* const smallest = std::min_element(sums, sums + places);
                if (*smallest < best)
                {
                    best = *smallest;
                    bestXY[0] = static_cast<uint32_t>(smallest - sums);
                    bestXY[1] = y;
                }
            }
        });
}

vsrStatus blockDistance16(const uint8_t* src1, uint32_t src1Stride, const uint8_t* src2, uint32_t src2Stride,
                          uint32_t* sum)
{
    *sum = blockDistance<16>(hn::FixedTag<uint8_t, 16>(), src1, src1Stride, src2, src2Stride);
    return VISORA_SUCCESS;
}

vsrStatus blockDistance8(const uint8_t* src1, uint32_t src1Stride, const uint8_t* src2, uint32_t src2Stride,
                         uint32_t* sum)
{
    *sum = blockDistance<8>(hn::FixedTag<uint8_t, 8>(), src1, src1Stride, src2, src2Stride);
    return VISORA_SUCCESS;
}

vsrStatus blockDistances16(const uint8_t* src1, uint32_t src1Stride, const uint8_t* src2, uint32_t src2Stride,
                           const int32_t* offsets, uint32_t count, uint32_t* sums)
{
    for (uint32_t i = 0; i < count; ++i)
    {
        sums[i] = blockDistance<16>(hn::FixedTag<uint8_t, 16>(), src1, src1Stride, src2 + offsets[i], src2Stride);
    }
    return VISORA_SUCCESS;
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

VSR_VECTOR(vsrSumOfSquaredDiffu8, squaredDistancesU8);
VSR_VECTOR(vsrSumOfSquaredDiffs8, squaredDistancesS8);
VSR_VECTOR(vsrSumOfSquaredDifff32, squaredDistancesF32);
VSR_VECTOR(vsrSumOfAbsoluteDiffu8, sumOfAbsoluteDiff);
VSR_VECTOR(vsrSumOfAbsoluteDiffMxNu8, matchBlocks);
VSR_VECTOR(vsrSumOfAbsoluteDiff16x16u8, blockDistance16);
VSR_VECTOR(vsrSumOfAbsoluteDiff8x8u8, blockDistance8);
VSR_VECTOR(vsrSumOfAbsoluteDiffs16x16u8, blockDistances16);

#endif
