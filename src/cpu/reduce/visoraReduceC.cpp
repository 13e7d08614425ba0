// Reductions of one image, reference variants.
#include <bit>

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
