/**
 * @file
 * The integer Haar wavelet (S-transform) of s16 images, one level, which gives every image back whole: all arithmetic
 * is modulo 2^16. A pair (e, o) of an even and the next odd sample becomes high = o - e and low = e + (high >> 1),
 * which is floor((e + o) / 2) where nothing wraps; an even sample without partner is its own low.
 *
 * Of an image of W x H there are four bands: ll, low along x and y, of ceil(W / 2) x ceil(H / 2) elements; hl, high
 * along x, of floor(W / 2) columns; lh, high along y, of floor(H / 2) rows; hh, high along both. With a side of 1 some
 * are empty; their pointers must not be null all the same. They share a stride and may be the quadrants of one image.
 * Strides are in bytes, 0 = packed, for bands packed rows of ll.
 *
 * They return 0, or VISORA_EBADPARAM, with nothing written, for a null pointer, a zero size, a stride below a row (for
 * bands below a row of ll), a row of 2^32 bytes or more, or two equal pointers among image and bands; VISORA_ENOMEM,
 * with nothing written, for want of scratch memory.
 */
#ifndef VISORA_WAVELET_H
#define VISORA_WAVELET_H

#include "visora/types.h"

VSR_BEGIN_DECLARATIONS

/** From an image to its bands: rows first, then the columns of both halves. */
VSR_API vsrStatus vsrHaarForwards16(const int16_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                    int16_t* ll, int16_t* hl, int16_t* lh, int16_t* hh, uint32_t bandStride);

/** From the bands of an image of dstWidth x dstHeight to the image: columns first, then rows. */
VSR_API vsrStatus vsrHaarInverses16(const int16_t* ll, const int16_t* hl, const int16_t* lh, const int16_t* hh,
                                    uint32_t dstWidth, uint32_t dstHeight, uint32_t bandStride, int16_t* dst,
                                    uint32_t dstStride);

VSR_END_DECLARATIONS

#endif
