// Mean shift, reference variants.
#include "cpu/track/visoraTrackMeanShift.h"
#include "cpu/visoraDrivers.h"
#include "cpu/visoraPartialSums.h"
#include "visora/variants/track.h"

namespace visora
{
namespace
{

template <class T>
RowSums sumRow(const T* row, uint32_t width)
{
    uint64_t r0 = 0;
    uint64_t r1 = 0;
    uint64_t r2 = 0;
    for (uint64_t x = 0; x < width; ++x)
    {
        r0 += row[x];
        r1 += x * row[x];
        r2 += x * x * row[x];
    }
    return {static_cast<double>(r0), static_cast<double>(r1), static_cast<double>(r2)};
}

RowSums sumRow(const float* row, uint32_t width)
{
    PartialSums<double> r0;
    PartialSums<double> r1;
    PartialSums<double> r2;
    for (uint32_t x = 0; x < width; ++x)
    {
        const double p = row[x];
        const double place = x;
        r0.add(x, p);
        r1.add(x, place * p);
        r2.add(x, (place * place) * p);
    }
    return {r0.total(), r1.total(), r2.total()};
}

constexpr auto kSumRow = [](const auto* row, uint32_t width) { return sumRow(row, width); };

template <class Sum, class T>
vsrStatus meanShift(Sum sum, const T* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                    uint32_t maxIterations, float epsilon, vsrRectangle* window, uint32_t* iterations)
{
    *iterations = shiftWindow(Likelihood<T>{src, srcWidth, srcHeight, srcStride}, maxIterations, epsilon, *window, sum);
    return VISORA_SUCCESS;
}

template <class Sum, class T>
vsrStatus adaptiveTrack(Sum sum, const T* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                        uint32_t maxIterations, float epsilon, vsrRectangle* window, vsrRotatedBox* box)
{
    const Likelihood<T> image{src, srcWidth, srcHeight, srcStride};
    shiftWindow(image, maxIterations, epsilon, *window, sum);
    adaptWindow(image, *window, *box, sum);
    return VISORA_SUCCESS;
}

}  // namespace
}  // namespace visora

VSR_REFERENCE(vsrMeanShiftu8, meanShift, visora::kSumRow);
VSR_REFERENCE(vsrMeanShiftu16, meanShift, visora::kSumRow);
VSR_REFERENCE(vsrMeanShiftf32, meanShift, visora::kSumRow);
VSR_REFERENCE(vsrConAdaTracku8, adaptiveTrack, visora::kSumRow);
VSR_REFERENCE(vsrConAdaTracku16, adaptiveTrack, visora::kSumRow);
VSR_REFERENCE(vsrConAdaTrackf32, adaptiveTrack, visora::kSumRow);
