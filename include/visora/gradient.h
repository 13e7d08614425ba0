/**
 * @file
 * Gradients of u8 images.
 *
 * Common to all of them:
 * - `src` points at the top-left pixel; sizes are in pixels, strides in bytes, 0 means packed rows. `dx` and `dy` are
 *   planes of the image's size, apart from it and from each other. No pointer or stride has to be aligned; a gradient
 *   stride that is no multiple of the element size is cut to whole elements.
 * - They log and refuse null pointers, zero sizes and strides below a row: "Assertion failed @<function>: <condition>"
 *   goes to the log, nothing is written, and the result is what the log call returned (not 0).
 */
#ifndef VISORA_GRADIENT_H
#define VISORA_GRADIENT_H

#include "visora/types.h"

VSR_BEGIN_DECLARATIONS

/**
 * 3x3 Sobel gradient as two s16 planes, packed. dx is the right column minus the left one, weighted 1, 2, 1 down the
 * window; dy is the lower row minus the upper one, weighted 1, 2, 1 along it. Outside the image the nearest pixel
 * counts.
 * @return 0
 */
VSR_API vsrStatus vsrImageGradientSobelPlanars16(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                                 uint32_t srcStride, int16_t* dx, int16_t* dy);

/** As vsrImageGradientSobelPlanars16 with the stride of both planes. */
VSR_API vsrStatus vsrImageGradientSobelPlanars16_v2(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                                    uint32_t srcStride, int16_t* dx, int16_t* dy, uint32_t gradStride);

/** As vsrImageGradientSobelPlanars16, shifted right by 3 (rounding down), which fits s8. */
VSR_API vsrStatus vsrImageGradientSobelPlanars8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                                uint32_t srcStride, int8_t* dx, int8_t* dy);

/** As vsrImageGradientSobelPlanars8 with the stride of both planes. */
VSR_API vsrStatus vsrImageGradientSobelPlanars8_v2(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                                   uint32_t srcStride, int8_t* dx, int8_t* dy, uint32_t gradStride);

/** As vsrImageGradientSobelPlanars16 in f32, the same whole numbers. */
VSR_API vsrStatus vsrImageGradientSobelPlanarf32(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                                 uint32_t srcStride, float* dx, float* dy);

/** As vsrImageGradientSobelPlanarf32 with the stride of both planes. */
VSR_API vsrStatus vsrImageGradientSobelPlanarf32_v2(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                                    uint32_t srcStride, float* dx, float* dy, uint32_t gradStride);

VSR_END_DECLARATIONS

#endif
