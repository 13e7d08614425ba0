/**
 * @file
 * Codebook background model: for every pixel boxes in brightness and colour that the background has been seen in
 * (K. Kim, T. Chalidabhongse, D. Harwood, L. Davis, "Real-time foreground-background segmentation using codebook
 * model", Real-Time Imaging 11(3), 2005, in the form of G. Bradski and A. Kaehler, "Learning OpenCV", 2008, chapter 9).
 *
 * The model is in three packed buffers of the caller's. For frames of W x H pixels and up to maxWords codewords (1 to
 * 255) a pixel, pixel i = y * W + x:
 * - `counts`, W * H bytes: codewords of each pixel. All 0 is an empty model; more than maxWords counts as maxWords;
 * - `bounds`, maxWords * 12 planes of W * H bytes: plane 12 * j + 4 * c + k has bound k of channel c of codeword j.
 *   Channels are Y, Cb, Cr; bounds 0 and 1 are the lower and upper one for learning, 2 and 3 the lowest and highest
 * value seen;
 * - `lastSeen`, maxWords planes of W * H 32-bit times: when codeword j was last seen.
 * What is beyond a pixel's count means nothing.
 *
 * Frames are RGB888, rows of 3 * srcWidth bytes, R first, strides in bytes, 0 = packed. A pixel counts as
 * Y = (77 R + 150 G + 29 B + 128) >> 8, Cb = min(255, ((-43 R - 85 G + 128 B + 128) >> 8) + 128) and
 * Cr = min(255, ((128 R - 107 G - 21 B + 128) >> 8) + 128). Triples of levels below are for Y, Cb, Cr.
 *
 * They return 0, or VISORA_EBADPARAM, with nothing written, for a null pointer, a zero size, a stride below a row, a
 * row of 2^32 bytes or more, maxWords beyond its range, or a buffer that is written and begins where another one does.
 */
#ifndef VISORA_BACKGROUND_H
#define VISORA_BACKGROUND_H

#include "visora/types.h"

VSR_BEGIN_DECLARATIONS

/**
 * Teaches the model a frame. The first codeword whose learning bounds hold the pixel notes the time and the values
 * seen, and its bounds move by 1 toward the pixel's reach; without one there is a new codeword, in place of the one not
 * seen longest when there are maxWords.
 * @param reach  three levels: how far from a pixel the bounds of a codeword may grow
 * @param time   usually the number of the frame
 */
VSR_API vsrStatus vsrBGCodeLearnu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                   const uint8_t* reach, uint32_t time, uint32_t maxWords, uint8_t* counts,
                                   uint8_t* bounds, uint32_t* lastSeen);

/**
 * Foreground mask of a frame: 0 where a codeword has lowest - below <= value <= highest + above in all three channels
 * (cut to 0 .. 255), else 255.
 * @param below,above  three levels each; they may be the same buffer
 */
VSR_API vsrStatus vsrBGCodeClassifyu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                      uint32_t maxWords, const uint8_t* counts, const uint8_t* bounds,
                                      const uint8_t* below, const uint8_t* above, uint8_t* dst, uint32_t dstStride);

/**
 * Removes every codeword with time - lastSeen (modulo 2^32) > maxAge. The others of a pixel keep their order and close
 * the gaps.
 */
VSR_API vsrStatus vsrBGCodePruneu8(uint32_t width, uint32_t height, uint32_t time, uint32_t maxAge, uint32_t maxWords,
                                   uint8_t* counts, uint8_t* bounds, uint32_t* lastSeen);

VSR_END_DECLARATIONS

#endif
