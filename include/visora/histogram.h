/**
 * @file
 * Histograms, and what is made of them: equalisation, back projection, distances.
 *
 * Common to all of them:
 * - `src` points at the top-left pixel; sizes are in pixels, strides in bytes, 0 means packed rows. No pointer or
 * stride has to be aligned; a stride that is no multiple of the element size is cut to whole elements.
 * - Counts are u32 and wrap; a histogram is overwritten, not added to. A mask pixel counts when it is not 0; a mask may
 *   be null, and its stride is ignored then.
 * - Where it says in place, source and destination may be the same buffer when their strides are equal.
 * - They return 0, or VISORA_EBADPARAM, with nothing written, for a null pointer, a zero size, a stride below a row, a
 *   row of 2^32 bytes or more, a result that begins where another buffer does, or what a function names; VISORA_ENOMEM
 *   where scratch memory could not be had.
 */
#ifndef VISORA_HISTOGRAM_H
#define VISORA_HISTOGRAM_H

#include "visora/types.h"

VSR_BEGIN_DECLARATIONS

/**
 * Histogram of a rectangle of a u8 image; nothing outside the rectangle is read.
 * @param histogram  256 counts
 * @return as above; VISORA_EBADPARAM for a rectangle that is empty or reaches outside the image too
 */
VSR_API vsrStatus vsrImageIntensityHistogram(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                             uint32_t srcStride, uint32_t left, uint32_t top, uint32_t width,
                                             uint32_t height, uint32_t* histogram);

/**
 * Histogram of a u8 image under an optional mask: pixels v with lower <= v < upper count in bin
 * (v - lower) * bins / (upper - lower).
 * @param histogram  `bins` counts
 * @return as above; VISORA_EBADPARAM unless lower < upper <= 256 and bins is 1 to 256
 */
VSR_API vsrStatus vsrImageIntensityHistogram_v2(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                                uint32_t srcStride, const uint8_t* mask, uint32_t maskStride,
                                                uint32_t lower, uint32_t upper, uint32_t bins, uint32_t* histogram);

/**
 * Histogram of the pairs of two u8 images under an optional mask: (a, b) counts in
 * histogram[(a * bins1 >> 8) * bins2 + (b * bins2 >> 8)]. `src1` may be `src2`.
 * @param histogram  bins1 * bins2 counts
 * @return as above; VISORA_EBADPARAM unless bins1 and bins2 are 1 to 256
 */
VSR_API vsrStatus vsrHistogram2Du8(const uint8_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                                   const uint8_t* src2, uint32_t src2Stride, const uint8_t* mask, uint32_t maskStride,
                                   uint32_t bins1, uint32_t bins2, uint32_t* histogram);

/** How histograms are compared. */
enum
{
    VISORA_HISTOGRAM_CORRELATION = 0,  /**< 1 for equal shapes, -1 for opposite ones */
    VISORA_HISTOGRAM_CHI_SQUARE = 1,   /**< 0 for equal histograms */
    VISORA_HISTOGRAM_INTERSECTION = 2, /**< the common mass */
    VISORA_HISTOGRAM_BHATTACHARYYA = 3 /**< 0 for equal shapes, 1 for disjoint ones */
};

/**
 * Distance of two histograms of `count` bins, worked out in f64 and rounded to f32. A flat histogram correlates with
 * everything (1). `histogram1` may be `histogram2`.
 * @return as above; VISORA_EBADPARAM for another method
 */
VSR_API vsrStatus vsrHistogramDistancef32(const float* histogram1, const float* histogram2, uint32_t count,
                                          uint32_t method, float* distance);

/**
 * Histogram equalisation of a packed u8 image: a level becomes its share of the pixels, without those of the lowest
 * level that occurs, times 255. An image of one level is copied. In place.
 * @return as above; VISORA_EBADPARAM for 2^32 pixels or more
 */
VSR_API vsrStatus vsrEqualizeHistogramu8(const uint8_t* src, uint32_t width, uint32_t height, uint8_t* dst);

/** As vsrEqualizeHistogramu8 with strides. */
VSR_API vsrStatus vsrEqualizeHistogramu8_v2(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                            uint32_t srcStride, uint8_t* dst, uint32_t dstStride);

/**
 * Contrast-limited adaptive histogram equalisation: each of tilesX x tilesY tiles has a map from the levels to
 * equalised ones, whose slope is limited by clipping the tile's histogram; a pixel is the blend of the maps of the four
 * nearest tiles. K. Zuiderveld, "Contrast limited adaptive histogram equalization", Graphics Gems IV, 1994. In place.
 * @param clipLimit  times the mean count that a bin may hold, finite and not negative; 0 is no limit
 * @return as above; VISORA_EBADPARAM unless tilesX is 1 to srcWidth and tilesY 1 to srcHeight, and for 2^32 pixels or
 *         more
 */
VSR_API vsrStatus vsrClaheu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                             uint32_t tilesX, uint32_t tilesY, float clipLimit, uint8_t* dst, uint32_t dstStride);

/**
 * As vsrClaheu8 for u16 images, whose histograms have `bins` bins, a power of two from 16 to 65536. Within a bin the
 * map rises evenly, so that few bins lose no grey levels.
 */
VSR_API vsrStatus vsrClaheu16(const uint16_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                              uint32_t tilesX, uint32_t tilesY, float clipLimit, uint32_t bins, uint16_t* dst,
                              uint32_t dstStride);

/**
 * Back projection onto a packed u8 image: every pixel p becomes weights[p * bins >> 8], the likelihood of its bin.
 * `weights` has `bins` elements. In place.
 * @return as above; VISORA_EBADPARAM unless bins is 1 to 256
 */
VSR_API vsrStatus vsrBackProjectu8(const uint8_t* src, uint32_t width, uint32_t height, const uint8_t* weights,
                                   uint32_t bins, uint8_t* dst);

/** As vsrBackProjectu8 with strides. */
VSR_API vsrStatus vsrBackProjectu8_v2(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                      const uint8_t* weights, uint32_t bins, uint8_t* dst, uint32_t dstStride);

VSR_END_DECLARATIONS

#endif
