// Entry points of the trackers.
#include "common/visoraCall.h"
#include "visora/variants/track.h"

using visora::aligned;
using visora::Call;
using visora::multiplesOf;
using visora::packedIfZero;
using visora::Row;
using visora::worthOffload;

namespace
{

constexpr const char* kCondition =
    "src1 && src2 && src1Pyr && src2Pyr && featureXY && featureXY_out && featureStatus && (windowWidth & 0x1) && "
    "(windowHeight & 0x1)";

bool fitsDsp(const void* src1, const void* src2, uint32_t width, uint32_t height, uint32_t stride)
{
    return worthOffload(stride, height) && multiplesOf<8>(width, stride) && aligned<8>(src1, src2);
}

template <class... Pointers>
bool areGiven(Pointers... pointers)
{
    return (pointers && ...);
}

bool haveCentre(int32_t windowWidth, int32_t windowHeight)
{
    return (windowWidth & 1) && (windowHeight & 1);
}

}  // namespace

vsrStatus vsrTrackLKOpticalFlowu8(const uint8_t* src1, const uint8_t* src2, uint32_t width, uint32_t height,
                                  const vsrPyramidLevel* src1Pyr, const vsrPyramidLevel* src2Pyr,
                                  const float* featureXY, float* featureXY_out, int32_t* featureStatus,
                                  int32_t nFeatures, int32_t windowWidth, int32_t windowHeight, int32_t maxIterations,
                                  int32_t nPyramidLevels)
{
    Call call(Row::vsrTrackLKOpticalFlowu8, "vsrTrackLKOpticalFlowu8");
    call.keepDspIf(fitsDsp(src1, src2, width, height, width));
    call.trace();
    VSR_REQUIRE_AS(call,
                   areGiven(src1, src2, src1Pyr, src2Pyr, featureXY, featureXY_out, featureStatus) &&
                       haveCentre(windowWidth, windowHeight),
                   kCondition);
    return call.run<vsrTrackLKOpticalFlowu8C>(src1, src2, width, height, src1Pyr, src2Pyr, featureXY, featureXY_out,
                                              featureStatus, nFeatures, windowWidth, windowHeight, maxIterations,
                                              nPyramidLevels);
}

vsrStatus vsrTrackLKOpticalFlowu8_v2(const uint8_t* src1, const uint8_t* src2, uint32_t width, uint32_t height,
                                     uint32_t stride, const vsrPyramidLevel_v2* src1Pyr,
                                     const vsrPyramidLevel_v2* src2Pyr, const float* featureXY, float* featureXY_out,
                                     int32_t* featureStatus, int32_t nFeatures, int32_t windowWidth,
                                     int32_t windowHeight, int32_t maxIterations, int32_t nPyramidLevels)
{
    stride = packedIfZero(stride, width);

    Call call(Row::vsrTrackLKOpticalFlowu8_v2, "vsrTrackLKOpticalFlowu8_v2");
    call.keepDspIf(fitsDsp(src1, src2, width, height, stride));
    call.trace();
    VSR_REQUIRE_AS(call,
                   areGiven(src1, src2, src1Pyr, src2Pyr, featureXY, featureXY_out, featureStatus) &&
                       haveCentre(windowWidth, windowHeight),
                   kCondition);
    return call.run<vsrTrackLKOpticalFlowu8_v2C>(src1, src2, width, height, stride, src1Pyr, src2Pyr, featureXY,
                                                 featureXY_out, featureStatus, nFeatures, windowWidth, windowHeight,
                                                 maxIterations, nPyramidLevels);
}

vsrStatus vsrTrackLKOpticalFlowu8_v3(const uint8_t* src1, const uint8_t* src2, uint32_t width, uint32_t height,
                                     uint32_t stride, const vsrPyramidLevel_v2* src1Pyr,
                                     const vsrPyramidLevel_v2* src2Pyr, const float* featureXY, float* featureXY_out,
                                     int32_t* featureStatus, int32_t nFeatures, int32_t windowWidth,
                                     int32_t windowHeight, int32_t maxIterations, int32_t nPyramidLevels,
                                     int32_t criteriaType, float epsilon, int32_t useInitialEstimate)
{
    stride = packedIfZero(stride, width);

    Call call(Row::vsrTrackLKOpticalFlowu8_v3, "vsrTrackLKOpticalFlowu8_v3");
    call.keepDspIf(fitsDsp(src1, src2, width, height, stride));
    call.trace();
    VSR_REQUIRE_AS(call,
                   areGiven(src1, src2, src1Pyr, src2Pyr, featureXY, featureXY_out, featureStatus) &&
                       haveCentre(windowWidth, windowHeight),
                   kCondition);
    return call.runOrFallBack<vsrTrackLKOpticalFlowu8_v3C>(
        src1, src2, width, height, stride, src1Pyr, src2Pyr, featureXY, featureXY_out, featureStatus, nFeatures,
        windowWidth, windowHeight, maxIterations, nPyramidLevels, criteriaType, epsilon, useInitialEstimate);
}

vsrStatus vsrTrackLKOpticalFlowf32(const float* src1, const float* src2, uint32_t width, uint32_t height,
                                   uint32_t stride, const vsrPyramidLevel_v2* src1Pyr,
                                   const vsrPyramidLevel_v2* src2Pyr, const float* featureXY, float* featureXY_out,
                                   int32_t* featureStatus, int32_t nFeatures, int32_t windowWidth, int32_t windowHeight,
                                   int32_t maxIterations, int32_t nPyramidLevels)
{
    stride = packedIfZero(stride, static_cast<uint32_t>(width * sizeof(float)));

    Call call(Row::vsrTrackLKOpticalFlowf32, "vsrTrackLKOpticalFlowf32");
    call.keepDspIf(fitsDsp(src1, src2, width, height, stride));
    call.trace();
    VSR_REQUIRE_AS(call,
                   areGiven(src1, src2, src1Pyr, src2Pyr, featureXY, featureXY_out, featureStatus) &&
                       haveCentre(windowWidth, windowHeight),
                   kCondition);
    return call.run<vsrTrackLKOpticalFlowf32C>(src1, src2, width, height, stride, src1Pyr, src2Pyr, featureXY,
                                               featureXY_out, featureStatus, nFeatures, windowWidth, windowHeight,
                                               maxIterations, nPyramidLevels);
}
