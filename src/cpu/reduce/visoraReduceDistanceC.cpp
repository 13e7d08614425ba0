// Distances between images, blocks and vectors, reference variants.
#include <cstdlib>

#include "cpu/reduce/visoraReduce.h"
#include "cpu/visoraDrivers.h"
#include "cpu/visoraPartialSums.h"
#include "visora/variants/arithmetic.h"

namespace visora
{
namespace
{

uint64_t sumOfAbsoluteDiff(const uint8_t* a, size_t aStride, const uint8_t* b, size_t bStride, size_t width,
                           size_t height)
{
    uint64_t sum = 0;
    for (size_t y = 0; y < height; ++y)
    {
        for (size_t x = 0; x < width; ++x)
        {
            sum += static_cast<uint64_t>(std::abs(a[y * aStride + x] - b[y * bStride + x]));
        }
    }
    return sum;
}

template <uint32_t side>
constexpr auto blockDistance =
    [](const uint8_t* src1, uint32_t src1Stride, const uint8_t* src2, uint32_t src2Stride, uint32_t* sum) -> vsrStatus {
    *sum = static_cast<uint32_t>(sumOfAbsoluteDiff(src1, src1Stride, src2, src2Stride, side, side));
    return VISORA_SUCCESS;
};

constexpr auto squaredDistances = [](const auto* query, uint32_t length, const auto* set, uint32_t numVectors,
                                     uint32_t setStride, auto* dst) -> vsrStatus
{
    for (uint32_t i = 0; i < numVectors; ++i)
    {
        const auto* vector = imageRow(set, setStride, i);
        int64_t sum = 0;
        for (uint32_t k = 0; k < length; ++k)
        {
            const int d = query[k] - vector[k];
            sum += d * d;
        }
        dst[i] = static_cast<std::remove_reference_t<decltype(*dst)>>(sum);
    }
    return VISORA_SUCCESS;
};

}  // namespace
}  // namespace visora

VSR_REFERENCE(vsrSumOfSquaredDiffu8, squaredDistances);
VSR_REFERENCE(vsrSumOfSquaredDiffs8, squaredDistances);

vsrStatus vsrSumOfSquaredDifff32C(const float* query, uint32_t length, const float* set, uint32_t numVectors,
                                  uint32_t setStride, float* dst)
{
    for (uint32_t i = 0; i < numVectors; ++i)
    {
        const float* vector = visora::imageRow(set, setStride, i);
        visora::PartialSums<float> sum;
        for (uint32_t k = 0; k < length; ++k)
        {
            const float d = query[k] - vector[k];
            sum.add(k, d * d);
        }
        dst[i] = visora::oneNan(sum.total());
    }
    return VISORA_SUCCESS;
}

vsrStatus vsrSumOfAbsoluteDiffu8C(const uint8_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                                  const uint8_t* src2, uint32_t src2Stride, uint64_t* sum)
{
    *sum = visora::sumOfAbsoluteDiff(src1, src1Stride, src2, src2Stride, width, height);
    return VISORA_SUCCESS;
}

vsrStatus vsrSumOfAbsoluteDiffMxNu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                     const uint8_t* patch, uint32_t M, uint32_t N, uint32_t patchStride, uint32_t* dst,
                                     uint32_t dstStride, uint32_t* bestXY)
{
    uint32_t best = UINT32_MAX;
    for (uint32_t y = 0; y <= srcHeight - N; ++y)
    {
        for (uint32_t x = 0; x <= srcWidth - M; ++x)
        {
            const auto sum = static_cast<uint32_t>(visora::sumOfAbsoluteDiff(visora::imageRow(src, srcStride, y) + x,
                                                                             srcStride, patch, patchStride, M, N));
            visora::imageRow(dst, dstStride, y)[x] = sum;
            if (sum < best)
            {
                best = sum;
                bestXY[0] = x;
                bestXY[1] = y;
            }
        }
    }
    return VISORA_SUCCESS;
}

VSR_REFERENCE(vsrSumOfAbsoluteDiff16x16u8, blockDistance<16>);
VSR_REFERENCE(vsrSumOfAbsoluteDiff8x8u8, blockDistance<8>);

vsrStatus vsrSumOfAbsoluteDiffs16x16u8C(const uint8_t* src1, uint32_t src1Stride, const uint8_t* src2,
                                        uint32_t src2Stride, const int32_t* offsets, uint32_t count, uint32_t* sums)
{
    for (uint32_t i = 0; i < count; ++i)
    {
        vsrSumOfAbsoluteDiff16x16u8C(src1, src1Stride, src2 + offsets[i], src2Stride, sums + i);
    }
    return VISORA_SUCCESS;
}
