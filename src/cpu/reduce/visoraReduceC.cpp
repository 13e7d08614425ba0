// Reductions of images and distances, reference variants.
#include <bit>
#include <cstdlib>

#include "cpu/reduce/visoraReduce.h"
#include "cpu/visoraDrivers.h"
#include "cpu/visoraPartialSums.h"
#include "visora/variants/arithmetic.h"

namespace visora
{
namespace
{

// *result = the sum of formula(element) over the elements that take part.
constexpr auto maskedSumInto = [](auto formula, const auto* src, uint32_t width, uint32_t height, uint32_t stride,
                                  const uint8_t* mask, uint32_t maskStride, auto* result) -> vsrStatus
{
    using Sum = std::remove_pointer_t<decltype(result)>;
    *result = 0;
    forEach(src, width, height, stride, mask, maskStride,
            [&](auto value, uint32_t /*x*/, uint32_t /*y*/) { *result += static_cast<Sum>(formula(value)); });
    return VISORA_SUCCESS;
};

constexpr auto sumInto =
    [](auto formula, const auto* src, uint32_t width, uint32_t height, uint32_t stride, auto* result)
{ return maskedSumInto(formula, src, width, height, stride, nullptr, 0, result); };

constexpr auto itself = [](auto value) { return value; };
constexpr auto square = [](auto value) { return int64_t{value} * value; };
constexpr auto isSet = [](auto value) { return value != 0; };
constexpr auto bits = [](auto value) { return std::popcount(value); };

constexpr auto maskedExtremes = [](const auto* src, uint32_t width, uint32_t height, uint32_t stride,
                                   const uint8_t* mask, uint32_t maskStride, auto* minValue, auto*... others)
{
    using T = std::remove_pointer_t<decltype(minValue)>;
    Extremes<T> found;
    forEach(src, width, height, stride, mask, maskStride,
            [&](T value, uint32_t x, uint32_t y) { found.add(value, x, y); });
    return found.store(minValue, others...);
};

constexpr auto extremes = [](const auto* src, uint32_t width, uint32_t height, uint32_t stride, auto*... results)
{ return maskedExtremes(src, width, height, stride, nullptr, 0, results...); };

// ---- Distances ----

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

VSR_REFERENCE(vsrSumu8, maskedSumInto, visora::itself);
VSR_REFERENCE(vsrSums16, sumInto, visora::itself);
VSR_REFERENCE(vsrSumOfSquaresu8, sumInto, visora::square);
VSR_REFERENCE(vsrSumOfSquaress16, sumInto, visora::square);
VSR_REFERENCE(vsrCountNonZerou8, sumInto, visora::isSet);
VSR_REFERENCE(vsrBitCountu8, sumInto, visora::bits);

vsrStatus vsrBitCountu32C(const uint32_t* src, uint32_t length, uint32_t* bitCount)
{
    return visora::sumInto(visora::bits, src, length, 1, 0, bitCount);
}

vsrStatus vsrSumf32C(const float* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, float* sum)
{
    visora::PartialSums<double> sums;
    visora::forEach(src, srcWidth, srcHeight, srcStride, nullptr, 0,
                    [&](float value, uint32_t x, uint32_t /*y*/) { sums.add(x, value); });
    *sum = visora::oneNan(static_cast<float>(sums.total()));
    return VISORA_SUCCESS;
}

vsrStatus vsrAverageu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                        const uint8_t* mask, uint32_t maskStride, float* average)
{
    uint64_t sum;
    uint64_t count;
    const auto one = [](uint8_t /*value*/) { return 1; };
    vsrSumu8C(src, srcWidth, srcHeight, srcStride, mask, maskStride, &sum);
    visora::maskedSumInto(one, src, srcWidth, srcHeight, srcStride, mask, maskStride, &count);
    *average = visora::mean(static_cast<double>(sum), count);
    return VISORA_SUCCESS;
}

vsrStatus vsrAverages32C(const int32_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, float* average)
{
    int64_t sum;
    visora::sumInto(visora::itself, src, srcWidth, srcHeight, srcStride, &sum);
    *average = visora::mean(static_cast<double>(sum), uint64_t{srcWidth} * srcHeight);
    return VISORA_SUCCESS;
}

VSR_REFERENCE(vsrMinMaxu8, maskedExtremes);
VSR_REFERENCE(vsrMinMaxs16, extremes);
VSR_REFERENCE(vsrMinMaxs32, extremes);
VSR_REFERENCE(vsrMinMaxf32, extremes);
VSR_REFERENCE(vsrMinMaxLocu8, extremes);
VSR_REFERENCE(vsrMinMaxLocs16, extremes);
VSR_REFERENCE(vsrMinMaxLocf32, extremes);

vsrStatus vsrReduceColumnsu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                              vsrReduction reduction, uint32_t* dst)
{
    for (uint32_t x = 0; x < srcWidth; ++x)
    {
        dst[x] = visora::projection(src + x, srcHeight, srcStride, reduction);
    }
    return VISORA_SUCCESS;
}

vsrStatus vsrReduceRowsu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                           vsrReduction reduction, uint32_t* dst)
{
    for (uint32_t y = 0; y < srcHeight; ++y)
    {
        dst[y] = visora::projection(visora::imageRow(src, srcStride, y), srcWidth, 1, reduction);
    }
    return VISORA_SUCCESS;
}

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
