/**
 * @file
 * Operations that move pixels: turns, mirrors, transposes, warps by matrices and maps; and the same maps for points.
 */
#ifndef VISORA_WARP_H
#define VISORA_WARP_H

#include "visora/types.h"

VSR_BEGIN_DECLARATIONS

/**
 * Turns an image of two bytes per pixel (chroma pairs, for instance) clockwise.
 * @param src        top-left pixel, srcWidth x srcHeight pixels; a stride of 0 means 2 * srcWidth
 * @param dst        srcHeight x srcWidth pixels for 90 and 270 degrees; a stride of 0 means packed. It may be `src`
 *                   with the same stride, but pixels that were written already are then read as they are now: rows are
 *                   moved from the top down, each from the left
 * @param rotation   1 turns by 90, 2 by 180, 3 by 270 degrees
 * @return 0; VISORA_EBADPARAM for a null pointer, a zero size, a stride below a row (of the turned image for `dst`),
 *         another rotation, or `src` equal to `dst` with another stride
 */
VSR_API vsrStatus vsrRotateImageInterleavedu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                              uint32_t srcStride, uint8_t* dst, uint32_t dstStride, uint32_t rotation);

/**
 * Turns a plane clockwise, rotation 1 by 90, 2 by 180, 3 by 270 degrees; `dst` is another buffer.
 * @return 0; VISORA_EBADPARAM for a null pointer, a zero size, a stride below a row (of the turned image for `dst`),
 *         another rotation, or `src` equal to `dst`
 */
VSR_API vsrStatus vsrRotatePlaneu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                   uint8_t* dst, uint32_t dstStride, uint32_t rotation);

/** How an image is mirrored. */
typedef uint32_t vsrFlipDirection;

enum
{
    VISORA_FLIP_HORIZONTAL = 1, /**< left and right change places */
    VISORA_FLIP_VERTICAL = 2,   /**< top and bottom change places */
    VISORA_FLIP_BOTH = 3        /**< both, which turns by 180 degrees */
};

/**
 * Mirrors an image of 1 to 4 interleaved channels. `dst` may be `src` if the strides are equal.
 * @return 0; VISORA_EBADPARAM for a null pointer, a zero size, a stride below a row, another number of channels or
 *         direction, or `src` equal to `dst` with another stride
 */
VSR_API vsrStatus vsrFlipu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                            uint32_t channels, vsrFlipDirection direction, uint8_t* dst, uint32_t dstStride);

/** As vsrFlipu8 for pixels of one u16; strides are in bytes. */
VSR_API vsrStatus vsrFlipu16(const uint16_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                             vsrFlipDirection direction, uint16_t* dst, uint32_t dstStride);

/**
 * Exchanges rows and columns: `dst`, another buffer of srcHeight x srcWidth pixels, gets at (x, y) the pixel (y, x).
 * @return 0; VISORA_EBADPARAM for a null pointer, a zero size, a stride below a row, or `src` equal to `dst`
 */
VSR_API vsrStatus vsrTransposeu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                 uint8_t* dst, uint32_t dstStride);

/** As vsrTransposeu8 for floats, whose bits stay as they are; strides are in bytes. */
VSR_API vsrStatus vsrTransposef32(const float* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                  float* dst, uint32_t dstStride);

/* ---- Warps ----
 *
 * All of them have one rule for positions. The centre of pixel (x, y) has the coordinates x and y, and matrices lead
 * from the destination to the source. In f32, in this order, x and y being those of the destination pixel:
 *
 *     X = m[0] * x + (m[1] * y + m[2])    Y = m[3] * x + (m[4] * y + m[5])    w = m[6] * x + (m[7] * y + m[8])
 *     u = X / w                           v = Y / w
 *
 * `matrix` has all nine elements. `affine` has the first six; u is X and v is Y, the same bits as with a last row of
 * 0, 0, 1. The position is rounded to 1/256 pixel, ties to even; one more than a pixel outside the image, or a NaN,
 * counts as a pixel outside. A sample is the nearest pixel, or lies between the four around the position with weights
 * of 8 bits, rounded once at the end.
 *
 * Each pixel of the source that lies outside the image is the border's: with VISORA_BORDER_CONSTANT the value given, so
 * that an edge fades into it over one pixel; with _REPLICATE the nearest pixel of the image; with _UNDEFINED 0.
 * Functions without a border type have a constant border, of the value or colour given, else 0.
 *
 * Source and destination are different buffers. All return 0, or VISORA_EBADPARAM for a null pointer, a zero size, a
 * side above 65535, a stride below a row, an interpolation that is not named, another border type, or a destination
 * that begins where a source or another destination does. */

/** Warps an image by six floats, bilinearly, on a border of 0. Packed images. */
VSR_API vsrStatus vsrTransformAffineu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, const float* affine,
                                       uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight);

/** As vsrTransformAffineu8 with strides. */
VSR_API vsrStatus vsrTransformAffineu8_v2(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                          const float* affine, uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight,
                                          uint32_t dstStride);

/** The same for RGBA8888, alpha too. @param borderColor four bytes, in the order of memory */
VSR_API vsrStatus vsrTransformAffineRGBA8888u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                               uint32_t srcStride, const float* affine, uint8_t* dst, uint32_t dstWidth,
                                               uint32_t dstHeight, uint32_t dstStride, const uint8_t* borderColor);

/**
 * The same for f32, with the positions' fractions as floats: p + a * (q - p) along the rows, then between them, p
 * itself where the fraction is 0. Strides are cut to whole elements; a NaN result is stored as 0x7fc00000. A NaN as
 * border marks the pixels that touch the outside.
 */
VSR_API vsrStatus vsrTransformAffinef32(const float* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                        const float* affine, float* dst, uint32_t dstWidth, uint32_t dstHeight,
                                        uint32_t dstStride, float borderValue);

/**
 * As vsrTransformAffineu8_v2 for the pixels whose position lies inside the image, between the centres of its outermost
 * pixels; the others stay as they are. Inside pixels of a row are one run.
 * @param insideRanges 2 * dstHeight numbers: for each row the first column that is inside and the one behind the last,
 *        0 and 0 where none is
 */
VSR_API vsrStatus vsrTransformAffineClippedu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                              uint32_t srcStride, const float* affine, uint8_t* dst, uint32_t dstWidth,
                                              uint32_t dstHeight, uint32_t dstStride, uint32_t* insideRanges);

/**
 * As vsrTransformAffineClippedu8 for three planes of one size and stride each side, bicubic: Catmull-Rom over 4x4
 * pixels with weights of 11 bits, the edge repeated, rounded half up and saturated. Sources may be equal.
 */
VSR_API vsrStatus vsr3ChannelTransformAffineClippedBCu8(const uint8_t* src0, const uint8_t* src1, const uint8_t* src2,
                                                        uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                                        const float* affine, uint8_t* dst0, uint8_t* dst1,
                                                        uint8_t* dst2, uint32_t dstWidth, uint32_t dstHeight,
                                                        uint32_t dstStride, uint32_t* insideRanges);

/** Warps an image by nine floats, bilinearly, on a border of 0. Packed images. */
VSR_API vsrStatus vsrWarpPerspectiveu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, const float* matrix,
                                       uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight);

/** As vsrWarpPerspectiveu8 with strides. */
VSR_API vsrStatus vsrWarpPerspectiveu8_v2(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                          const float* matrix, uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight,
                                          uint32_t dstStride);

/** As vsrWarpPerspectiveu8_v2 with the interpolation, nearest or bilinear, and the border. */
VSR_API vsrStatus vsrWarpPerspectiveu8_v3(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                          const float* matrix, vsrInterpolation interpolation, uint8_t* dst,
                                          uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride,
                                          vsrBorderType borderType, uint8_t borderValue);

/**
 * As vsrWarpPerspectiveu8_v3 for a tile: `dst` points at pixel (dstX, dstY) of a larger destination, whose tiles put
 * together are the bits of the whole. Also VISORA_INTERPOLATION_AREA, against aliasing where the image shrinks: the
 * mean of n x n bilinear samples spread over the pixel, n from 1 to 8 by how far apart the neighbours of the pixel lie
 * in the source. dstX + dstWidth and dstY + dstHeight are 65535 at the most.
 */
VSR_API vsrStatus vsrWarpPerspectiveu8_v4(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                          const float* matrix, vsrInterpolation interpolation, uint8_t* dst,
                                          uint32_t dstX, uint32_t dstY, uint32_t dstWidth, uint32_t dstHeight,
                                          uint32_t dstStride, vsrBorderType borderType, uint8_t borderValue);

/** Warps three planes of one size and stride each side, each as vsrWarpPerspectiveu8_v2 does. */
VSR_API vsrStatus vsr3ChannelWarpPerspectiveu8(const uint8_t* src0, const uint8_t* src1, const uint8_t* src2,
                                               uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                               const float* matrix, uint8_t* dst0, uint8_t* dst1, uint8_t* dst2,
                                               uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride);

/** The same, each as vsrWarpPerspectiveu8_v3 does. @param borderColor a byte for each plane, never null */
VSR_API vsrStatus vsr3ChannelWarpPerspectiveu8_v2(const uint8_t* src0, const uint8_t* src1, const uint8_t* src2,
                                                  uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                                  const float* matrix, vsrInterpolation interpolation, uint8_t* dst0,
                                                  uint8_t* dst1, uint8_t* dst2, uint32_t dstWidth, uint32_t dstHeight,
                                                  uint32_t dstStride, vsrBorderType borderType,
                                                  const uint8_t* borderColor);

/**
 * Looks each destination pixel up at u = mapX(x, y), v = mapY(x, y), nearest or bilinear. Maps of a matrix's positions
 * give the bits of the warp.
 * @param mapStride bytes between rows of either map, which has the destination's size; 0 means packed
 */
VSR_API vsrStatus vsrRemapu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                             const float* mapX, const float* mapY, uint32_t mapStride, vsrInterpolation interpolation,
                             uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride,
                             vsrBorderType borderType, uint8_t borderValue);

/** The same for RGBA8888 on a border of the four bytes of `borderColor`. */
VSR_API vsrStatus vsrRemapRGBA8888u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                     const float* mapX, const float* mapY, uint32_t mapStride,
                                     vsrInterpolation interpolation, uint8_t* dst, uint32_t dstWidth,
                                     uint32_t dstHeight, uint32_t dstStride, const uint8_t* borderColor);

/* ---- Maps of a lens ---- */

/**
 * The maps that correct one camera of a pair: where each pixel of the corrected image lies in the camera's own, by lens
 * model, rotation and the corrected image's camera. In double precision, stored as floats.
 * @param cameraMatrix    3x3, row by row, of the camera: elements 0, 2, 4 and 5 are fx, cx, fy and cy; not looked at
 *                        otherwise
 * @param distortion      k1, k2, p1, p2, k3
 * @param rotation        3x3, row by row, from the camera's frame to the corrected one
 * @param newCameraMatrix as `cameraMatrix`, of the corrected image
 * @param mapStride       bytes between rows of either map; 0 means packed
 * @return 0; VISORA_EBADPARAM for a null pointer, a zero size, a stride below a row, an fx or fy of 0, or equal maps
 */
VSR_API vsrStatus vsrBuildRectifyMapf32(const float* cameraMatrix, const float* distortion, const float* rotation,
                                        const float* newCameraMatrix, float* mapX, float* mapY, uint32_t mapWidth,
                                        uint32_t mapHeight, uint32_t mapStride);

/** The same without a rotation, for the same camera: takes out the distortion alone. */
VSR_API vsrStatus vsrBuildUndistortMapf32(const float* cameraMatrix, const float* distortion, float* mapX, float* mapY,
                                          uint32_t mapWidth, uint32_t mapHeight, uint32_t mapStride);

/* ---- Points ----
 * Points lie one after another; `dst` may be `src`. A NaN is stored as 0x7fc00000. Both return 0, or VISORA_EBADPARAM
 * for a null pointer or no points. */

/** Points of x and y go where `matrix`, nine floats, leads them, by the rule of the warps. */
VSR_API vsrStatus vsrTransformPoint2xNf32(const float* src, uint32_t numPoints, const float* matrix, float* dst);

/** Points of x, y and z, by three rows of four floats: (m[0] * x + m[1] * y) + (m[2] * z + m[3]). */
VSR_API vsrStatus vsrTransformPoint3xNf32(const float* src, uint32_t numPoints, const float* matrix, float* dst);

VSR_END_DECLARATIONS

#endif
