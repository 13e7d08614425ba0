// Entry points of the window trackers, block matching and the motion history.
#include <cmath>

#include "common/visoraEntry.h"
#include "common/visoraRectangle.h"
#include "visora/variants/track.h"

using visora::In;
using visora::InPlace;
using visora::liesInside;
using visora::Out;
using visora::Result;

namespace
{

constexpr uint32_t kLargestSide = 65535;

// What mean shift asks of its arguments.
bool canShift(uint32_t width, uint32_t height, uint32_t maxIterations, float epsilon, const vsrRectangle* window)
{
    return width <= kLargestSide && height <= kLargestSide && maxIterations >= 1 && std::isfinite(epsilon) &&
           epsilon >= 0 && window != nullptr && window->width != 0 && window->height != 0 &&
           liesInside(window->x, window->y, window->width, window->height, width, height);
}

// `result` is the count of iterations or the box.
constexpr auto follow = [](auto open, const auto* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                           uint32_t maxIterations, float epsilon, vsrRectangle* window, auto* result)
{
    const In in(src, srcWidth, srcHeight, srcStride);
    const Result windowRecord(window);
    const Result resultRecord(result);
    return open(in, windowRecord, resultRecord)
        .require(canShift(srcWidth, srcHeight, maxIterations, epsilon, window))
        .run(src, srcWidth, srcHeight, in.stride(), maxIterations, epsilon, window, result);
};

constexpr auto matchBlocks = [](auto open, const uint8_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                                const uint8_t* src2, uint32_t src2Stride, uint32_t blockSize, uint32_t step,
                                uint32_t rangeX, uint32_t rangeY, int16_t* flow, uint32_t flowStride, uint32_t* sads,
                                uint32_t sadsStride)
{
    constexpr uint32_t kLargestBlock = 256;
    constexpr uint32_t kFarthest = 32767;
    const bool fits = blockSize >= 1 && blockSize <= kLargestBlock && step >= 1 && rangeX <= kFarthest &&
                      rangeY <= kFarthest && blockSize <= width && blockSize <= height;
    const uint32_t columns = fits ? (width - blockSize) / step + 1 : 1;
    const uint32_t rows = fits ? (height - blockSize) / step + 1 : 1;
    const In in1(src1, width, height, src1Stride);
    const In in2(src2, width, height, src2Stride);
    const Out flowOut(flow, columns, rows, flowStride, InPlace::No, 2);
    if (sads == nullptr)
    {
        return open(in1, in2, flowOut)
            .require(fits)
            .run(src1, width, height, in1.stride(), src2, in2.stride(), blockSize, step, rangeX, rangeY, flow,
                 flowOut.stride(), sads, 0u);
    }
    const Out sadsOut(sads, columns, rows, sadsStride);
    return open(in1, in2, flowOut, sadsOut)
        .require(fits)
        .run(src1, width, height, in1.stride(), src2, in2.stride(), blockSize, step, rangeX, rangeY, flow,
             flowOut.stride(), sads, sadsOut.stride());
};

}  // namespace

VSR_ENTRY(vsrMeanShiftu8, vsrMeanShiftu8, follow);
VSR_ENTRY(vsrMeanShiftu16, vsrMeanShiftu16, follow);
VSR_ENTRY(vsrMeanShiftf32, vsrMeanShiftf32, follow);
VSR_ENTRY(vsrConAdaTracku8, vsrConAdaTracku8, follow);
VSR_ENTRY(vsrConAdaTracku16, vsrConAdaTracku16, follow);
VSR_ENTRY(vsrConAdaTrackf32, vsrConAdaTrackf32, follow);
VSR_ENTRY(vsrTrackBlockMatchu8, vsrTrackBlockMatchu8, matchBlocks);

vsrStatus vsrMotionHistoryu8f32(const uint8_t* mask, uint32_t width, uint32_t height, uint32_t maskStride,
                                float timestamp, float duration, float* history, uint32_t historyStride)
{
    const In in(mask, width, height, maskStride);
    const Out out(history, width, height, historyStride);
    return VSR_CALL(vsrMotionHistoryu8f32, in, out)
        .require(std::isfinite(timestamp) && std::isfinite(duration) && duration >= 0)
        .run(mask, width, height, in.stride(), timestamp, duration, history, out.stride());
}

vsrStatus vsrMotionGradientf32(const float* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                               float minDelta, float maxDelta, float* orientation, uint32_t orientationStride,
                               uint8_t* mask, uint32_t maskStride)
{
    const In in(src, srcWidth, srcHeight, srcStride);
    const Out angles(orientation, srcWidth, srcHeight, orientationStride);
    const Out valid(mask, srcWidth, srcHeight, maskStride);
    return VSR_CALL(vsrMotionGradientf32, in, angles, valid)
        .require(minDelta >= 0 && minDelta <= maxDelta)
        .run(src, srcWidth, srcHeight, in.stride(), minDelta, maxDelta, orientation, angles.stride(), mask,
             valid.stride());
}
