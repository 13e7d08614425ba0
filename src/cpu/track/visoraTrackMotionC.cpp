// Block matching and motion history, reference variants.
#include <cstdlib>

#include "cpu/track/visoraTrackMotion.h"
#include "cpu/visoraPlane.h"
#include "visora/variants/track.h"

using visora::planeRow;

vsrStatus vsrTrackBlockMatchu8C(const uint8_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                                const uint8_t* src2, uint32_t src2Stride, uint32_t blockSize, uint32_t step,
                                uint32_t rangeX, uint32_t rangeY, int16_t* flow, uint32_t flowStride, uint32_t* sads,
                                uint32_t sadsStride)
{
    visora::matchBlocks({src1, width, height, src1Stride, src2, src2Stride, blockSize}, step, rangeX, rangeY, flow,
                        flowStride, sads, sadsStride,
                        [=](const uint8_t* a, size_t aStride, const uint8_t* b, size_t bStride, uint32_t /*limit*/)
                        {
                            uint32_t sum = 0;
                            for (size_t y = 0; y < blockSize; ++y)
                            {
                                for (size_t x = 0; x < blockSize; ++x)
                                {
                                    sum += static_cast<uint32_t>(std::abs(a[y * aStride + x] - b[y * bStride + x]));
                                }
                            }
                            return sum;
                        });
    return VISORA_SUCCESS;
}

vsrStatus vsrMotionHistoryu8f32C(const uint8_t* mask, uint32_t width, uint32_t height, uint32_t maskStride,
                                 float timestamp, float duration, float* history, uint32_t historyStride)
{
    const float bound = timestamp - duration;
    for (uint32_t y = 0; y < height; ++y)
    {
        const uint8_t* moved = planeRow(mask, maskStride, y);
        float* row = planeRow(history, historyStride, y);
        for (uint32_t x = 0; x < width; ++x)
        {
            if (moved[x] != 0)
            {
                row[x] = timestamp;
            }
            else if (row[x] < bound)
            {
                row[x] = 0;
            }
        }
    }
    return VISORA_SUCCESS;
}

vsrStatus vsrMotionGradientf32C(const float* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                float minDelta, float maxDelta, float* orientation, uint32_t orientationStride,
                                uint8_t* mask, uint32_t maskStride)
{
    for (uint32_t y = 0; y < srcHeight; ++y)
    {
        const float* above = planeRow(src, srcStride, y - std::min(y, 1u));
        const float* row = planeRow(src, srcStride, y);
        const float* below = planeRow(src, srcStride, std::min(y + 1, srcHeight - 1));
        for (uint32_t x = 0; x < srcWidth; ++x)
        {
            const visora::MotionDirection direction = visora::motionDirection(
                above, row, below, x - std::min(x, 1u), x, std::min(x + 1, srcWidth - 1), minDelta, maxDelta);
            planeRow(orientation, orientationStride, y)[x] = direction.orientation;
            planeRow(mask, maskStride, y)[x] = direction.mask;
        }
    }
    return VISORA_SUCCESS;
}
