// Distances between images, blocks and vectors, vector variants.
#include <functional>

#include "visora/variants/arithmetic.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/reduce/visoraReduceDistanceV.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/reduce/visoraReduce-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{
namespace
{

// ---- Images ----

constexpr auto addDifferences = [](auto part, const uint8_t* src1, const uint8_t* src2) HWY_ATTR
{
    const D8 d;
    const auto a = hn::LoadU(d, src1);
    const auto b = hn::LoadU(d, src2);
#if HWY_ARCH_X86
    return hn::Add(part, sumsOfAbsDiff(d, a, b));
#else
    return addBytes(part, absDiff(d, a, b));
#endif
};

HWY_INLINE vsrStatus sumOfAbsoluteDiff(const uint8_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                                       const uint8_t* src2, uint32_t src2Stride, uint64_t* sum)
{
    ByteSum<decltype(addDifferences)> all;
    foldRows(width, height, all, source(src1, src1Stride), source(src2, src2Stride));
    *sum = all.total();
    return VISORA_SUCCESS;
}

// ---- Vectors ----

// Bytes with a sign are moved up by 128, which leaves their differences.
constexpr auto addSquaredDifferences = [](auto part, const auto* a, const auto* b) HWY_ATTR
{
    const D8 d;
    const auto load = [=](const auto* p) HWY_ATTR
    {
        const auto v = hn::LoadU(d, reinterpret_cast<const uint8_t*>(p));
        return std::is_signed_v<std::remove_reference_t<decltype(*p)>> ? hn::Xor(v, hn::Set(d, uint8_t{128})) : v;
    };
    return addSquares(absDiff(d, load(a), load(b)), part);
};

constexpr auto squaredDistances = [](const auto* query, uint32_t length, const auto* set, uint32_t numVectors,
                                     uint32_t setStride, auto* dst) HWY_ATTR -> vsrStatus
{
    for (uint32_t i = 0; i < numVectors; ++i)
    {
        // The result has no more bits than a lane.
        Sum<uint32_t, hn::MaxLanes(D8()), SIZE_MAX, decltype(addSquaredDifferences)> sum;
        foldRows(length, 1, sum, source(query, 0), source(imageRow(set, setStride, i), 0));
        dst[i] = static_cast<std::remove_reference_t<decltype(*dst)>>(sum.total());
    }
    return VISORA_SUCCESS;
};

// The distances of kCount vectors at once, the first `stride` apart: their sums do not wait for each other.
template <size_t kCount>
HWY_INLINE void distancesOf(const float* query, size_t length, const float* first, size_t stride, float* dst)
{
    using D = hn::CappedTag<float, 16>;
    const D d;
    constexpr size_t kVector = hn::MaxLanes(D());
    constexpr size_t kVectors = 16 / kVector;
    hn::Vec<D> parts[kCount][kVectors];
    std::fill_n(&parts[0][0], kCount * kVectors, hn::Zero(d));
    const auto add16 = [&](const float* q, const float* vectors, size_t apart) HWY_ATTR
    {
        for (size_t k = 0; k < kVectors; ++k)
        {
            for (size_t i = 0; i < kCount; ++i)
            {
                const auto element = hn::LoadU(d, vectors + i * apart + k * kVector);
                const auto diff = hn::Sub(hn::LoadU(d, q + k * kVector), element);
                parts[i][k] = hn::Add(parts[i][k], hn::Mul(diff, diff));
            }
        }
    };
    const size_t whole = length - length % 16;
    for (size_t k = 0; k < whole; k += 16)
    {
        add16(query + k, first + k, stride);
    }
    if (whole < length)
    {
        // Zeros behind the ends add +0.
        float ends[1 + kCount][16] = {};
        std::copy(query + whole, query + length, ends[0]);
        for (size_t i = 0; i < kCount; ++i)
        {
            std::copy(first + i * stride + whole, first + i * stride + length, ends[1 + i]);
        }
        add16(ends[0], ends[1], 16);
    }
    for (size_t i = 0; i < kCount; ++i)
    {
        PartialSums<float> sum;
        for (size_t k = 0; k < kVectors; ++k)
        {
            hn::StoreU(parts[i][k], d, sum.partial.data() + k * kVector);
        }
        dst[i] = visora::oneNan(sum.total());
    }
}

HWY_INLINE vsrStatus floatDistances(const float* query, uint32_t length, const float* set, uint32_t numVectors,
                                    uint32_t setStride, float* dst)
{
    const size_t stride = setStride / sizeof(float);
    uint32_t i = 0;
    for (; i + 4 <= numVectors; i += 4)
    {
        distancesOf<4>(query, length, set + i * stride, stride, dst + i);
    }
    for (; i < numVectors; ++i)
    {
        distancesOf<1>(query, length, set + i * stride, stride, dst + i);
    }
    return VISORA_SUCCESS;
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
    uint32_t left = 257;
    std::fill_n(dst, lanes, 0U);
    const auto flush = [&]() HWY_ATTR
    {
        uint16_t parts[lanes];
        hn::StoreU(low, d16, parts);
        hn::StoreU(high, d16, parts + lanes / 2);
        std::transform(dst, dst + lanes, parts, dst, std::plus<uint32_t>());
        low = high = hn::Zero(d16);
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
}

HWY_INLINE vsrStatus matchBlocks(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                 const uint8_t* patch, uint32_t M, uint32_t N, uint32_t patchStride, uint32_t* dst,
                                 uint32_t dstStride, uint32_t* bestXY)
{
    const uint32_t places = srcWidth - M + 1;
    const bool isWide = withFittingVector<uint8_t>(
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
    return isWide ? vsrStatus{VISORA_SUCCESS}
                  : vsrSumOfAbsoluteDiffMxNu8C(src, srcWidth, srcHeight, srcStride, patch, M, N, patchStride, dst,
                                               dstStride, bestXY);
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
    return static_cast<uint32_t>(hn::GetLane(hn::SumOfLanes(d64, sums)));
#endif
}

template <uint32_t side>
constexpr auto blockDistanceInto = [](const uint8_t* src1, uint32_t src1Stride, const uint8_t* src2,
                                      uint32_t src2Stride, uint32_t* sum) HWY_ATTR -> vsrStatus {
    *sum = blockDistance<side>(hn::FixedTag<uint8_t, side>(), src1, src1Stride, src2, src2Stride);
    return VISORA_SUCCESS;
};

HWY_INLINE vsrStatus blockDistances(const uint8_t* src1, uint32_t src1Stride, const uint8_t* src2, uint32_t src2Stride,
                                    const int32_t* offsets, uint32_t count, uint32_t* sums)
{
    for (uint32_t i = 0; i < count; ++i)
    {
        blockDistanceInto<16>(src1, src1Stride, src2 + offsets[i], src2Stride, sums + i);
    }
    return VISORA_SUCCESS;
}

}  // namespace

VSR_VARIANT(vsrSumOfSquaredDiffu8, squaredDistances);
VSR_VARIANT(vsrSumOfSquaredDiffs8, squaredDistances);
VSR_VARIANT(vsrSumOfSquaredDifff32, floatDistances);
VSR_VARIANT(vsrSumOfAbsoluteDiffu8, sumOfAbsoluteDiff);
VSR_VARIANT(vsrSumOfAbsoluteDiffMxNu8, matchBlocks);
VSR_VARIANT(vsrSumOfAbsoluteDiff16x16u8, blockDistanceInto<16>);
VSR_VARIANT(vsrSumOfAbsoluteDiff8x8u8, blockDistanceInto<8>);
VSR_VARIANT(vsrSumOfAbsoluteDiffs16x16u8, blockDistances);

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();
