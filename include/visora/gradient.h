/**
 * @file
 * Gradients of u8 images.
 *
 * Common to all of them:
 * - `src` points at the top-left pixel; sizes are in pixels, strides in bytes, 0 means packed rows. `dx` and `dy` are
 *   planes of the image's size, apart from it and from each other; `gradients` holds pairs (dx, dy). `gradStride` is
 *   that of each plane, or of a row of pairs; entries without it take packed gradients. No pointer or stride has to be
 *   aligned; a gradient stride that is no multiple of the element size is cut to whole elements.
 * - dx is the right column minus the left one, dy the lower row minus the upper one. The nearest pixel stands for one
 *   outside the image.
 * - The gradients without a border type log and refuse null pointers, zero sizes and strides below a row: "Assertion
 *   failed @<function>: <condition>" goes to the log, nothing is written, and the result is what that returned (1 with
 * our log).
 */
#ifndef VISORA_GRADIENT_H
#define VISORA_GRADIENT_H

#include "visora/types.h"

VSR_BEGIN_DECLARATIONS

/* ---- Central differences: p(x + 1) - p(x - 1) and p(y + 1) - p(y - 1) ---- */

/**
 * Central differences as two s16 planes, packed.
 * @return 0
 */
VSR_API vsrStatus vsrImageGradientPlanars16(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                            uint32_t srcStride, int16_t* dx, int16_t* dy);

/** As vsrImageGradientPlanars16 with the stride of both planes. */
VSR_API vsrStatus vsrImageGradientPlanars16_v2(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                               uint32_t srcStride, int16_t* dx, int16_t* dy, uint32_t gradStride);

/**
 * Central differences shifted right by 1 (rounding down), which fits s8, as two planes, packed.
 * @return 0
 */
VSR_API vsrStatus vsrImageGradientPlanars8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                           uint32_t srcStride, int8_t* dx, int8_t* dy);

/** As vsrImageGradientPlanars8 with the stride of both planes. */
VSR_API vsrStatus vsrImageGradientPlanars8_v2(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                              uint32_t srcStride, int8_t* dx, int8_t* dy, uint32_t gradStride);

/**
 * Half the central differences, which is the slope per pixel, as two f32 planes, packed.
 * @return 0
 */
VSR_API vsrStatus vsrImageGradientPlanarf32(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                            uint32_t srcStride, float* dx, float* dy);

/** As vsrImageGradientPlanarf32 with the stride of both planes. */
VSR_API vsrStatus vsrImageGradientPlanarf32_v2(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                               uint32_t srcStride, float* dx, float* dy, uint32_t gradStride);

/**
 * Central differences as s16 pairs, packed.
 * @return 0
 */
VSR_API vsrStatus vsrImageGradientInterleaveds16(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                                 uint32_t srcStride, int16_t* gradients);

/** As vsrImageGradientInterleaveds16 with the stride of the pairs. */
VSR_API vsrStatus vsrImageGradientInterleaveds16_v2(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                                    uint32_t srcStride, int16_t* gradients, uint32_t gradStride);

/**
 * Half the central differences, which is the slope per pixel, as f32 pairs, packed.
 * @return 0
 */
VSR_API vsrStatus vsrImageGradientInterleavedf32(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                                 uint32_t srcStride, float* gradients);

/** As vsrImageGradientInterleavedf32 with the stride of the pairs. */
VSR_API vsrStatus vsrImageGradientInterleavedf32_v2(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                                    uint32_t srcStride, float* gradients, uint32_t gradStride);

/* ---- Sobel: differences smoothed by 1, 2, 1 across their direction ---- */

/**
 * 3x3 Sobel gradient as two s16 planes, packed. dx is weighted 1, 2, 1 down the window, dy along it.
 * @return 0
 */
VSR_API vsrStatus vsrImageGradientSobelPlanars16(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                                 uint32_t srcStride, int16_t* dx, int16_t* dy);

/** As vsrImageGradientSobelPlanars16 with the stride of both planes. */
VSR_API vsrStatus vsrImageGradientSobelPlanars16_v2(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                                    uint32_t srcStride, int16_t* dx, int16_t* dy, uint32_t gradStride);

/**
 * As vsrImageGradientSobelPlanars16, shifted right by 3 (rounding down), which fits s8.
 * @return 0
 */
VSR_API vsrStatus vsrImageGradientSobelPlanars8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                                uint32_t srcStride, int8_t* dx, int8_t* dy);

/** As vsrImageGradientSobelPlanars8 with the stride of both planes. */
VSR_API vsrStatus vsrImageGradientSobelPlanars8_v2(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                                   uint32_t srcStride, int8_t* dx, int8_t* dy, uint32_t gradStride);

/**
 * As vsrImageGradientSobelPlanars16 in f32, the same whole numbers.
 * @return 0
 */
VSR_API vsrStatus vsrImageGradientSobelPlanarf32(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                                 uint32_t srcStride, float* dx, float* dy);

/** As vsrImageGradientSobelPlanarf32 with the stride of both planes. */
VSR_API vsrStatus vsrImageGradientSobelPlanarf32_v2(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                                    uint32_t srcStride, float* dx, float* dy, uint32_t gradStride);

/**
 * 3x3 Sobel gradient as s16 pairs, packed.
 * @return 0
 */
VSR_API vsrStatus vsrImageGradientSobelInterleaveds16(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                                      uint32_t srcStride, int16_t* gradients);

/** As vsrImageGradientSobelInterleaveds16 with the stride of the pairs. */
VSR_API vsrStatus vsrImageGradientSobelInterleaveds16_v2(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                                         uint32_t srcStride, int16_t* gradients, uint32_t gradStride);

/**
 * 3x3 Sobel gradient shifted right by 3 (rounding down), which fits s8, as pairs, packed.
 * @return 0
 */
VSR_API vsrStatus vsrImageGradientSobelInterleaveds8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                                     uint32_t srcStride, int8_t* gradients);

/** As vsrImageGradientSobelInterleaveds8 with the stride of the pairs. */
VSR_API vsrStatus vsrImageGradientSobelInterleaveds8_v2(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                                        uint32_t srcStride, int8_t* gradients, uint32_t gradStride);

/**
 * 3x3 Sobel gradient as f32 pairs, whole numbers, packed.
 * @return 0
 */
VSR_API vsrStatus vsrImageGradientSobelInterleavedf32(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                                      uint32_t srcStride, float* gradients);

/** As vsrImageGradientSobelInterleavedf32 with the stride of the pairs. */
VSR_API vsrStatus vsrImageGradientSobelInterleavedf32_v2(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                                         uint32_t srcStride, float* gradients, uint32_t gradStride);

/* ---- Scharr: differences smoothed by 3, 10, 3, whose direction is truer than Sobel's ---- */

/**
 * 3x3 Scharr gradient as two s16 planes.
 * @return 0
 */
VSR_API vsrStatus vsrImageGradientScharrPlanars16(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                                  uint32_t srcStride, int16_t* dx, int16_t* dy, uint32_t gradStride);

/**
 * 3x3 Scharr gradient divided by 32, which is the slope per pixel, as two f32 planes. The division is exact.
 * @return 0
 */
VSR_API vsrStatus vsrImageGradientScharrPlanarf32(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                                  uint32_t srcStride, float* dx, float* dy, uint32_t gradStride);

/**
 * Not an entry point: the reference of the 3x3 Scharr gradient as s16 pairs, which the library itself calls. Strides
 * are never 0; nothing is checked.
 * @return 0
 */
VSR_API vsrStatus vsrImageGradientScharrInterleaveds16C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                                        uint32_t srcStride, int16_t* gradients, uint32_t gradStride);

/* ---- Derivatives with a border type ---- */

/*
 * dx is the sum of the window's pixels weighted by the derivative taps along x times the smoothing taps along y, dy the
 * other way round: dx is positive where the image brightens to the right, dy where it brightens downward. Outside the
 * image is `borderValue` with VISORA_BORDER_CONSTANT, else the nearest pixel. `gradStride` is the stride of both
 * planes. These functions return 0, VISORA_ENOMEM without scratch memory, and VISORA_EBADPARAM, without a log line, for
 * a null pointer, a zero size, a stride below a row, an unknown border type, or an output that begins where another
 * buffer does; nothing is written then.
 */

/** Derivative taps -1 0 1, smoothing taps 1 2 1; at most 1020 in size. */
VSR_API vsrStatus vsrFilterSobel3x3u8s16(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                         int16_t* dx, int16_t* dy, uint32_t gradStride, vsrBorderType borderType,
                                         uint8_t borderValue);

/** Derivative taps -1 -2 0 2 1, smoothing taps 1 4 6 4 1; at most 12240 in size. */
VSR_API vsrStatus vsrFilterSobel5x5u8s16(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                         int16_t* dx, int16_t* dy, uint32_t gradStride, vsrBorderType borderType,
                                         uint8_t borderValue);

/** Derivative taps -1 -4 -5 0 5 4 1, smoothing taps 1 6 15 20 15 6 1; (sum + 4) >> 3, at most 20400 in size. */
VSR_API vsrStatus vsrFilterSobel7x7u8s16(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                         int16_t* dx, int16_t* dy, uint32_t gradStride, vsrBorderType borderType,
                                         uint8_t borderValue);

/** Derivative taps -1 0 1, smoothing taps 3 10 3; at most 4080 in size. */
VSR_API vsrStatus vsrFilterScharr3x3u8s16(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                          int16_t* dx, int16_t* dy, uint32_t gradStride, vsrBorderType borderType,
                                          uint8_t borderValue);

/**
 * Laplacian: the sum of the 4 or 8 nearest pixels, as `neighbours` says, less as many times the pixel. Another number
 * of neighbours is refused. Borders and results as above.
 */
VSR_API vsrStatus vsrFilterLaplacian3x3u8s16(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                             uint32_t srcStride, uint32_t neighbours, int16_t* dst, uint32_t dstStride,
                                             vsrBorderType borderType, uint8_t borderValue);

/**
 * Edge strength: |dx| + |dy| of the 3x3 Sobel derivatives, at most 255. The first and the last row and column become 0.
 * Results as above.
 */
VSR_API vsrStatus vsrFilterSobel3x3u8(const uint8_t* src, uint32_t width, uint32_t height, uint8_t* dst);

/** As vsrFilterSobel3x3u8 with strides. */
VSR_API vsrStatus vsrFilterSobel3x3u8_v2(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                         uint8_t* dst, uint32_t dstStride);

VSR_END_DECLARATIONS

#endif
