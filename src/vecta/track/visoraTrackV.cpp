// Optical flow, vector variants.
#include "cpu/track/visoraTrack.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/track/visoraTrackV.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/track/visoraTrack-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

template <class Pixel>
void track(const TrackArguments<Pixel>& t)
{
    // Windows of no imaginable memory would overflow the areas' sizes.
    constexpr size_t kMostBytes = std::numeric_limits<size_t>::max() / 64;
    if (refusesToTrack(t) ||
        trackScratchBytes(2 * int64_t{t.halfWidth} + 1, 2 * int64_t{t.halfHeight} + 1, t.nLevels) > kMostBytes)
    {
        return;
    }
    const typename VectorWork<Pixel>::Layout layout(t);
    constexpr size_t kAlignment = 64;
    const size_t table = hwy::RoundUpTo(static_cast<size_t>(t.nLevels) * 20, kAlignment);
    const Scratch scratch(table + layout.bytes(), kAlignment);
    if (!scratch.data())
    {
        return;
    }
    const LevelTable<Pixel> levels(t, scratch.data());
    VectorWork<Pixel> work(layout, reinterpret_cast<float*>(scratch.data() + table));
    trackFeatures(work, t, levels);
}

void trackBytes(const TrackArguments<uint8_t>& t)
{
    track(t);
}

void trackFloats(const TrackArguments<float>& t)
{
    track(t);
}

// False when a row has no room for a vector.
bool differentiate(const float* patch, float* ix, float* iy, size_t patchWidth, size_t patchHeight)
{
    const size_t lanes = hn::Lanes(Floats());
    if (patchWidth < lanes + 2)
    {
        return false;
    }
    const size_t width = patchWidth - 2;
    coverRange(0, width, lanes,
               [&](size_t column) HWY_ATTR
               {
                   float* toX = ix + column;
                   float* toY = iy + column;
                   differentiateRows(patch + column, patchWidth, patchHeight - 2,
                                     [&](Vector dx, Vector dy) HWY_ATTR
                                     {
                                         hn::StoreU(dx, Floats(), toX);
                                         hn::StoreU(dy, Floats(), toY);
                                         toX += width;
                                         toY += width;
                                     });
               });
    return true;
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace visora
{
HWY_EXPORT(trackBytes);
HWY_EXPORT(trackFloats);
HWY_EXPORT(differentiate);
}  // namespace visora

using namespace visora;

void calcIxIy_32fV(const float* patch, float* Ix, float* Iy, uint32_t patchWidth, uint32_t patchHeight)
{
    if (patchHeight < 3 || !HWY_DYNAMIC_DISPATCH(differentiate)(patch, Ix, Iy, patchWidth, patchHeight))
    {
        calcIxIy_32fC(patch, Ix, Iy, patchWidth, patchHeight);
    }
}

VSR_TRACK_UNTIL_ITERATIONS(V);

vsrStatus vsrTrackLKOpticalFlowu8_v3V(const uint8_t* src1, const uint8_t* src2, uint32_t /*width*/, uint32_t /*height*/,
                                      uint32_t /*stride*/, const vsrPyramidLevel_v2* src1Pyr,
                                      const vsrPyramidLevel_v2* src2Pyr, const float* featureXY, float* featureXY_out,
                                      int32_t* featureStatus, int32_t nFeatures, int32_t windowWidth,
                                      int32_t windowHeight, int32_t maxIterations, int32_t nPyramidLevels,
                                      int32_t criteriaType, float epsilon, int32_t useInitialEstimate)
{
    if (!useInitialEstimate)
    {
        startAtFeatures(featureXY, featureXY_out, nFeatures);
    }
    HWY_DYNAMIC_DISPATCH(trackBytes)
    ({src1, src2, src1Pyr, src2Pyr, featureXY, featureXY_out, featureStatus, nFeatures, windowWidth >> 1,
      windowHeight >> 1, maxIterations, nPyramidLevels, criteriaType, epsilon});
    return VISORA_SUCCESS;
}

vsrStatus vsrTrackLKOpticalFlowf32V(const float* src1, const float* src2, uint32_t /*width*/, uint32_t /*height*/,
                                    uint32_t /*stride*/, const vsrPyramidLevel_v2* src1Pyr,
                                    const vsrPyramidLevel_v2* src2Pyr, const float* featureXY, float* featureXY_out,
                                    int32_t* featureStatus, int32_t nFeatures, int32_t windowWidth,
                                    int32_t windowHeight, int32_t maxIterations, int32_t nPyramidLevels)
{
    startAtFeatures(featureXY, featureXY_out, nFeatures);
    HWY_DYNAMIC_DISPATCH(trackFloats)
    ({src1, src2, src1Pyr, src2Pyr, featureXY, featureXY_out, featureStatus, nFeatures, windowWidth >> 1,
      windowHeight >> 1, maxIterations, nPyramidLevels, VISORA_TRACK_UNTIL_ITERATIONS, 0});
    return VISORA_SUCCESS;
}

#endif
