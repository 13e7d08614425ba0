/**
 * @file
 * Measures of whole images: mean and variance, sharpness, likeness.
 *
 * Common to all of them:
 * - `src` points at the top-left pixel; sizes are in pixels, strides in bytes, 0 means packed rows. No pointer or
 * stride has to be aligned.
 * - They return 0, or VISORA_EBADPARAM, with nothing written, for a null pointer, a zero size, a stride below a row, a
 *   row of 2^32 bytes or more, a result that begins where another buffer does, or what a function names.
 */
#ifndef VISORA_STATISTICS_H
#define VISORA_STATISTICS_H

#include "visora/types.h"

VSR_BEGIN_DECLARATIONS

/**
 * Mean and population variance of a rectangle of a u8 image, from exact sums of the pixels and of their squares.
 * @return as above; VISORA_EBADPARAM for a rectangle that is empty or reaches outside the image too
 */
VSR_API vsrStatus vsrImageIntensityStatsu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                           uint32_t srcStride, uint32_t left, uint32_t top, uint32_t width,
                                           uint32_t height, float* mean, float* variance);

/**
 * Sharpness of the cells of a grid: the mean square of the Laplacian p(x - 1, y) + p(x + 1, y) + p(x, y - 1) +
 * p(x, y + 1) - 4 * p(x, y), which is in practice its variance. The nearest pixel stands for one outside the image.
 * @param gridX,gridY  columns and rows of cells, whose sizes may differ by a pixel
 * @param measures     gridX * gridY results, row by row
 * @return as above; VISORA_EBADPARAM unless gridX is 1 to srcWidth and gridY 1 to srcHeight
 */
VSR_API vsrStatus vsrFocusMeasureu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                    uint32_t gridX, uint32_t gridY, float* measures);

/**
 * Likeness of two u8 images of one size; `src1` may be `src2`. A result whose pointer is null is not worked out.
 * @param similarity  mean structural similarity over all windows of 11 x 11 pixels inside the image, Gaussian of
 *                    sigma 1.5; 1 for equal images, error below 5e-4 (Z. Wang, A. Bovik, H. Sheikh, E. Simoncelli, IEEE
 *                    Transactions on Image Processing 13(4), 2004)
 * @param psnr        peak signal-to-noise ratio in decibels, infinite for equal images
 * @return as above; VISORA_EBADPARAM when both results are null, or for `similarity` of an image below 11 x 11 pixels
 */
VSR_API vsrStatus vsrImageSimilarityu8(const uint8_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                                       const uint8_t* src2, uint32_t src2Stride, float* similarity, float* psnr);

VSR_END_DECLARATIONS

#endif
