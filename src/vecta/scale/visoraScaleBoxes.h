// Box averages of whole factors that round, which the public ones do not.
#ifndef VISORA_VECTA_SCALE_BOXES_H
#define VISORA_VECTA_SCALE_BOXES_H

#include <cstdint>

namespace visora
{

/** As vsrScaleDownBy2u8V and vsrScaleDownBy4u8V, rounded half up. @return false where the image is too narrow for it */
bool roundedAverageBy2(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, uint8_t* dst,
                       uint32_t dstStride);
bool roundedAverageBy4(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, uint8_t* dst,
                       uint32_t dstStride);

/** As vsrScaleDownu8V, rounded half up. @return false where it is too narrow, or there is no scratch memory */
bool roundedAverageBoxes(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                         uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride);

}  // namespace visora

#endif
