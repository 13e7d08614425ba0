/**
 * @file
 * Edges of u8 images (J. Canny, IEEE PAMI 8(6), 1986).
 *
 * 255 on edge pixels, 0 elsewhere:
 * 1. gx and gy are the 3x3 Sobel derivatives, the nearest pixel standing for those outside the image. The strength m is
 *    |gx| + |gy|, or gx^2 + gy^2 with both thresholds squared (VISORA_CANNY_L2). Outside the image m is 0.
 * 2. A pixel is a candidate when m > lowThreshold and it is a maximum across the edge. With a = |gx|, b = |gy| and
 *    t = (a * 13573) >> 15: where a > 0 and b <= t, m exceeds that of the left neighbour and is not below that of the
 *    right one; else, where b > 2 a + t, the same with the upper and the lower neighbour; else, with d = -1 where one
 * of gx and gy is negative and the other not, and 1 elsewhere, m exceeds those at (x - d, y - 1) and (x + d, y + 1).
 * 3. Edges are the candidates that are joined to one with m > highThreshold through candidates, over 8 neighbours.
 */
#ifndef VISORA_EDGE_H
#define VISORA_EDGE_H

#include "visora/types.h"

VSR_BEGIN_DECLARATIONS

/** Length of a gradient. */
typedef uint32_t vsrCannyNorm;

enum
{
    VISORA_CANNY_L1 = 0, /**< |gx| + |gy| */
    VISORA_CANNY_L2 = 1  /**< gx^2 + gy^2, against squared thresholds */
};

/**
 * Edges of a packed image by the L1 strength. Thresholds above 255, or a low one above the high one, are refused
 * whatever else is wrong: "Error at <function>" goes to the log, and the result is what the log call returned (not 0).
 * Logs and refuses ("Assertion failed @<function>: <condition>") null pointers, zero sizes and a destination that is
 * the source.
 * @return 0; VISORA_ENOMEM without scratch memory, with nothing written
 */
VSR_API vsrStatus vsrFilterCanny3x3u8(const uint8_t* src, uint32_t width, uint32_t height, uint32_t lowThreshold,
                                      uint32_t highThreshold, uint8_t* dst);

/** As vsrFilterCanny3x3u8 with strides, 0 for packed rows; logs and refuses strides below a row too. */
VSR_API vsrStatus vsrFilterCanny3x3u8_v2(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                         uint32_t lowThreshold, uint32_t highThreshold, uint8_t* dst,
                                         uint32_t dstStride);

/**
 * As vsrFilterCanny3x3u8_v2 with a choice of the strength; stores gx and gy in `dx` and `dy`, whose stride is
 * `gradStride`. Thresholds are refused as above.
 * @return 0; VISORA_ENOMEM without scratch memory; VISORA_EBADPARAM, without a log line, for a null pointer, a zero
 * size, a stride below a row, an unknown norm, or an output that begins where another buffer does; nothing is written
 *         then
 */
VSR_API vsrStatus vsrFilterCanny3x3u8_v3(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                         uint32_t lowThreshold, uint32_t highThreshold, vsrCannyNorm norm, uint8_t* dst,
                                         uint32_t dstStride, int16_t* dx, int16_t* dy, uint32_t gradStride);

VSR_END_DECLARATIONS

#endif
