// Lines and circles by voting, reference variants.
#include "cpu/shape/visoraShapeCircle.h"
#include "cpu/shape/visoraShapeHough.h"
#include "visora/variants/shape.h"

vsrStatus vsrHoughLinesu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, float rhoStep,
                           float thetaStep, uint32_t threshold, float* rhoTheta, uint32_t* votes, uint32_t capacity,
                           uint32_t* count)
{
    return visora::houghLines(src, srcWidth, srcHeight, srcStride, rhoStep, thetaStep, threshold, rhoTheta, votes,
                              capacity, count,
                              [](const visora::VotingPixels& pixels, float c, float s, uint32_t* row)
                              {
                                  for (size_t i = 0; i < pixels.count; ++i)
                                  {
                                      ++row[visora::votedDistance(pixels.x[i], pixels.y[i], c, s)];
                                  }
                              });
}

vsrStatus vsrHoughCirclesu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                             uint32_t cellShift, uint32_t edgeThreshold, uint32_t threshold, uint32_t minRadius,
                             uint32_t maxRadius, float minDistance, float* circles, uint32_t* votes, uint32_t capacity,
                             uint32_t* count)
{
    return visora::houghCircles(src, srcWidth, srcHeight, srcStride, edgeThreshold,
                                {cellShift, threshold, minRadius, maxRadius, minDistance}, circles, votes, capacity,
                                count, vsrImageGradientSobelPlanars16C, vsrEdgeThins16C, visora::distancesFrom);
}
