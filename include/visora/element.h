/**
 * @file
 * Operations on single elements: each output pixel depends on the input pixels at the same place. Fills and frames too.
 *
 * What they share, unless a function's comment says otherwise:
 * - Sizes are in pixels, strides in bytes, 0 = packed. A function without strides takes packed images.
 * - A destination may be the same buffer as a source whose elements have the same size, with equal strides.
 * - `mask` is a u8 image with one element per pixel: the pixel takes part where it is not 0; elsewhere the destination
 *   keeps what it held. An optional mask may be null: every pixel takes part.
 * - Integer formulas are exact until they are limited ("saturated") to the range of the destination. rshift(v, n) is
 *   (v + 2^n / 2) >> n, which rounds half up.
 * - Formulas of f32 are rounded after each operation, in the order written; a NaN result is 0x7FC00000.
 * - The result is 0, or VISORA_EBADPARAM, with nothing written, for a null pointer, a zero size, a stride below a row,
 * a row of 2^32 bytes or more, an argument outside its range, or a destination that begins where another buffer does
 *   and may not.
 */
#ifndef VISORA_ELEMENT_H
#define VISORA_ELEMENT_H

#include "visora/types.h"

VSR_BEGIN_DECLARATIONS

/** What becomes of an integer outside the destination's range. */
typedef uint32_t vsrOverflowPolicy;
enum
{
    VISORA_OVERFLOW_WRAP = 0,    /**< its low bits */
    VISORA_OVERFLOW_SATURATE = 1 /**< the nearest value of the range */
};

/* ---- Sums and differences ---- */

/** dst = |src1 - src2| of two u8 images. Packed. */
VSR_API vsrStatus vsrAbsDiffu8(const uint8_t* src1, uint32_t width, uint32_t height, const uint8_t* src2, uint8_t* dst);

/** vsrAbsDiffu8 with strides. */
VSR_API vsrStatus vsrAbsDiffu8_v2(const uint8_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                                  const uint8_t* src2, uint32_t src2Stride, uint8_t* dst, uint32_t dstStride);

/** dst = |src1 - src2| of two s16 images, saturated: at most 32767. Packed. */
VSR_API vsrStatus vsrAbsDiffs16(const int16_t* src1, uint32_t width, uint32_t height, const int16_t* src2,
                                int16_t* dst);

/** vsrAbsDiffs16 with strides. */
VSR_API vsrStatus vsrAbsDiffs16_v2(const int16_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                                   const int16_t* src2, uint32_t src2Stride, int16_t* dst, uint32_t dstStride);

/** dst = |src1 - src2| of two f32 images: the difference with its sign bit cleared. Packed. */
VSR_API vsrStatus vsrAbsDifff32(const float* src1, uint32_t width, uint32_t height, const float* src2, float* dst);

/** vsrAbsDifff32 with strides. */
VSR_API vsrStatus vsrAbsDifff32_v2(const float* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                                   const float* src2, uint32_t src2Stride, float* dst, uint32_t dstStride);

/** dst = |src1 - src2| of two u16 images. */
VSR_API vsrStatus vsrAbsDiffu16(const uint16_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                                const uint16_t* src2, uint32_t src2Stride, uint16_t* dst, uint32_t dstStride);

/** dst = |src1 - src2| of two s32 images, saturated: at most 2147483647. */
VSR_API vsrStatus vsrAbsDiffs32(const int32_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                                const int32_t* src2, uint32_t src2Stride, int32_t* dst, uint32_t dstStride);

/** dst = |src - values[c]| for channel c of an interleaved u8 image of 1 to 4 channels. */
VSR_API vsrStatus vsrAbsDiffScalaru8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                     uint32_t channels, const uint8_t* values, uint8_t* dst, uint32_t dstStride);

/** dst = |src - values[c]| for channel c of an interleaved f32 image of 1 to 4 channels. */
VSR_API vsrStatus vsrAbsDiffScalarf32(const float* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                      uint32_t channels, const float* values, float* dst, uint32_t dstStride);

/** dst = src - values[c], saturated, for channel c of an interleaved u8 image of 1 to 4 channels. */
VSR_API vsrStatus vsrSubtractu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                uint32_t channels, const uint8_t* values, uint8_t* dst, uint32_t dstStride);

/** dst = src - values[c], saturated, for channel c of an interleaved s16 image of 1 to 4 channels. */
VSR_API vsrStatus vsrSubtracts16(const int16_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                 uint32_t channels, const int16_t* values, int16_t* dst, uint32_t dstStride);

/** dst = |src| of an s16 image, saturated: -32768 becomes 32767. */
VSR_API vsrStatus vsrAbss16(const int16_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, int16_t* dst,
                            uint32_t dstStride);

/** Clears the sign bit of every element of an f32 image; all other bits stay as they are, those of a NaN too. */
VSR_API vsrStatus vsrAbsf32(const float* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, float* dst,
                            uint32_t dstStride);

/** dst = src1 + src2 of two u8 images, saturated. */
VSR_API vsrStatus vsrAddu8(const uint8_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                           const uint8_t* src2, uint32_t src2Stride, uint8_t* dst, uint32_t dstStride);

/** Adds a u8 frame to a u16 accumulator: dst = src1 + src2, saturated. dst may be src2, not src1. */
VSR_API vsrStatus vsrAddu8u16(const uint8_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                              const uint16_t* src2, uint32_t src2Stride, uint16_t* dst, uint32_t dstStride);

/** dst = src1 + src2 of two s16 images, saturated or modulo 2^16 as the policy says. */
VSR_API vsrStatus vsrAdds16(const int16_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                            const int16_t* src2, uint32_t src2Stride, vsrOverflowPolicy policy, int16_t* dst,
                            uint32_t dstStride);

/** dst = src1 + src2 of two f32 images. */
VSR_API vsrStatus vsrAddf32(const float* src1, uint32_t width, uint32_t height, uint32_t src1Stride, const float* src2,
                            uint32_t src2Stride, float* dst, uint32_t dstStride);

/**
 * Running average: dst = (beta * dst) + (alpha * src) with beta = 1 - alpha, where the optional mask is not 0. alpha
 * is from 0 to 1; dst is read and written.
 */
VSR_API vsrStatus vsrAccumulateWeightedu8f32(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                             uint32_t srcStride, const uint8_t* mask, uint32_t maskStride, float alpha,
                                             float* dst, uint32_t dstStride);

/* ---- Products and quotients ---- */

/** dst = src1 * src2 of two u8 images, exact. */
VSR_API vsrStatus vsrElementMulu8u16(const uint8_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                                     const uint8_t* src2, uint32_t src2Stride, uint16_t* dst, uint32_t dstStride);

/**
 * dst = rshift(src1 * src2, shift) of two s16 images, saturated. shift is from 0 to 30; 15 multiplies Q15 fractions.
 */
VSR_API vsrStatus vsrElementMuls16(const int16_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                                   const int16_t* src2, uint32_t src2Stride, uint32_t shift, int16_t* dst,
                                   uint32_t dstStride);

/** dst = (scale * src1) * src2 of two f32 images. */
VSR_API vsrStatus vsrElementMulf32(const float* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                                   const float* src2, uint32_t src2Stride, float scale, float* dst, uint32_t dstStride);

/**
 * dst = (scale * src1) / src2 of two u8 images, computed in f32, limited to 0 .. 255 and rounded to nearest, ties to
 * even. 0 where src2 is 0 and where the quotient is a NaN.
 */
VSR_API vsrStatus vsrElementDivu8(const uint8_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                                  const uint8_t* src2, uint32_t src2Stride, float scale, uint8_t* dst,
                                  uint32_t dstStride);

/** dst = (scale * src1) / src2 of two f32 images, +0 where src2 is 0. */
VSR_API vsrStatus vsrElementDivf32(const float* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                                   const float* src2, uint32_t src2Stride, float scale, float* dst, uint32_t dstStride);

/* ---- Smaller, larger, limits ---- */

/** dst = the smaller of src1 and src2, two u8 images. */
VSR_API vsrStatus vsrMinu8(const uint8_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                           const uint8_t* src2, uint32_t src2Stride, uint8_t* dst, uint32_t dstStride);

/** dst = the larger of src1 and src2, two u8 images. */
VSR_API vsrStatus vsrMaxu8(const uint8_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                           const uint8_t* src2, uint32_t src2Stride, uint8_t* dst, uint32_t dstStride);

/** dst = the smaller of src1 and src2, two s16 images. */
VSR_API vsrStatus vsrMins16(const int16_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                            const int16_t* src2, uint32_t src2Stride, int16_t* dst, uint32_t dstStride);

/** dst = the larger of src1 and src2, two s16 images. */
VSR_API vsrStatus vsrMaxs16(const int16_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                            const int16_t* src2, uint32_t src2Stride, int16_t* dst, uint32_t dstStride);

/** Limits every element of an s16 image to low .. high. Refused unless low <= high. */
VSR_API vsrStatus vsrClamps16(const int16_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                              int16_t low, int16_t high, int16_t* dst, uint32_t dstStride);

/**
 * Limits every element of an f32 image to low .. high: r = x > low ? x : low, dst = r < high ? r : high. So a NaN
 * becomes low, and an element equal to a bound takes the bound's bits. Refused unless low <= high.
 */
VSR_API vsrStatus vsrClampf32(const float* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, float low,
                              float high, float* dst, uint32_t dstStride);

/**
 * Stretches the range of a u8 image. lo is the pixel number (n - 1) * lowPermille / 1000 of the n pixels in
 * ascending order, hi the one numbered (n - 1) * highPermille / 1000. dst = low where x <= lo, else high where x >=
 * hi, else low + (2 * (x - lo) * (high - low) + (hi - lo)) / (2 * (hi - lo)); an image of one value becomes low.
 * Refused unless lowPermille <= highPermille <= 1000 and low <= high.
 */
VSR_API vsrStatus vsrNormalizeRangeu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                      uint32_t lowPermille, uint32_t highPermille, uint8_t low, uint8_t high,
                                      uint8_t* dst, uint32_t dstStride);

/* ---- Bits ---- */

/** Bitwise complement of every pixel of a u8 image. */
VSR_API vsrStatus vsrBitwiseNotu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                  uint8_t* dst, uint32_t dstStride);

/** dst = src1 & src2 of two u8 images, with an optional mask. */
VSR_API vsrStatus vsrBitwiseAndu8(const uint8_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                                  const uint8_t* src2, uint32_t src2Stride, const uint8_t* mask, uint32_t maskStride,
                                  uint8_t* dst, uint32_t dstStride);

/** dst = src1 | src2 of two u8 images, with an optional mask. */
VSR_API vsrStatus vsrBitwiseOru8(const uint8_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                                 const uint8_t* src2, uint32_t src2Stride, const uint8_t* mask, uint32_t maskStride,
                                 uint8_t* dst, uint32_t dstStride);

/** dst = src1 ^ src2 of two u8 images, with an optional mask. */
VSR_API vsrStatus vsrBitwiseXoru8(const uint8_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                                  const uint8_t* src2, uint32_t src2Stride, const uint8_t* mask, uint32_t maskStride,
                                  uint8_t* dst, uint32_t dstStride);

/**
 * dst = (src1 & mask) | (src2 & ~mask), bit by bit. Here the mask is a third source: it may not be null, and dst may
 * be it.
 */
VSR_API vsrStatus vsrBitwiseSelectu8(const uint8_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                                     const uint8_t* src2, uint32_t src2Stride, const uint8_t* mask, uint32_t maskStride,
                                     uint8_t* dst, uint32_t dstStride);

/**
 * Multiplies every element of an s16 image by 2^shift, shift from -15 to 15: saturated to the left, rounded half up
 * to the right.
 */
VSR_API vsrStatus vsrBitShifts16(const int16_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                 int32_t shift, int16_t* dst, uint32_t dstStride);

/**
 * Packs a byte mask into bits. A row of dst has ceil(srcWidth / 8) bytes; pixel x is bit 7 - x mod 8 of byte x / 8,
 * 1 where src is not 0. Bits behind the last pixel are 0. Never in place.
 */
VSR_API vsrStatus vsrBitMaskPacku8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                   uint8_t* dst, uint32_t dstStride);

/**
 * Unpacks a bit mask of the layout that vsrBitMaskPacku8 writes into bytes: 255 where the bit is 1, else 0. srcWidth
 * is in pixels. Never in place.
 */
VSR_API vsrStatus vsrBitMaskUnpacku8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                     uint8_t* dst, uint32_t dstStride);

/* ---- Conversions, tables, polar coordinates ---- */

/** dst = (scale * src) + offset, from u8 to f32. */
VSR_API vsrStatus vsrConvertu8f32(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                  float scale, float offset, float* dst, uint32_t dstStride);

/**
 * dst = (scale * src) + offset, from f32 to u8: limited to 0 .. 255 and rounded to nearest, ties to even; a NaN
 * gives 0.
 */
VSR_API vsrStatus vsrConvertf32u8(const float* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                  float scale, float offset, uint8_t* dst, uint32_t dstStride);

/** dst = rshift(src, shift), from s16 to u8, saturated or modulo 256 as the policy says. shift is from 0 to 15. */
VSR_API vsrStatus vsrConverts16u8(const int16_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                  uint32_t shift, vsrOverflowPolicy policy, uint8_t* dst, uint32_t dstStride);

/**
 * Replaces every pixel of a u8 image by its entry of a table of 256 bytes. The table is apart from the destination.
 */
VSR_API vsrStatus vsrTableLookupu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                   const uint8_t* table, uint8_t* dst, uint32_t dstStride);

/**
 * Magnitude sqrt((x * x) + (y * y)) and angle of the vectors (src1, src2) = (x, y) of two f32 images. The angle
 * turns from +x towards +y, 0 <= angle < 2 pi, within 9e-7 of the true one around the circle: an odd polynomial of
 * degree 15 in the smaller over the larger coordinate. (0, 0) has angle 0; a NaN makes both results NaN. Each
 * destination may be either source.
 */
VSR_API vsrStatus vsrCartToPolarf32(const float* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                                    const float* src2, uint32_t src2Stride, float* magnitude, uint32_t magnitudeStride,
                                    float* angle, uint32_t angleStride);

/**
 * Magnitude and angle of the vectors (src1, src2) = (x, y) of two s16 images: the integer nearest to sqrt(x^2 +
 * y^2), at most 46341, and the angle as for f32, in 256 steps per turn, rounded to the nearest step. The magnitude
 * may be in place.
 */
VSR_API vsrStatus vsrCartToPolars16(const int16_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                                    const int16_t* src2, uint32_t src2Stride, uint16_t* magnitude,
                                    uint32_t magnitudeStride, uint8_t* angle, uint32_t angleStride);

/* ---- Copies and fills ---- */

/**
 * Copies the pixels of an interleaved u8 image of 1 to 4 channels where the mask, which is not optional, is not 0.
 * Packed.
 */
VSR_API vsrStatus vsrCopyMaskedu8(const uint8_t* src, uint32_t width, uint32_t height, uint32_t channels,
                                  const uint8_t* mask, uint8_t* dst);

/** vsrCopyMaskedu8 with strides. */
VSR_API vsrStatus vsrCopyMaskedu8_v2(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                     uint32_t channels, const uint8_t* mask, uint32_t maskStride, uint8_t* dst,
                                     uint32_t dstStride);

/** Sets every pixel of a u8 image that takes part to value. The mask is optional. */
VSR_API vsrStatus vsrSetElementsu8(uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride,
                                   uint8_t value, const uint8_t* mask, uint32_t maskStride);

/** Sets every pixel of a u16 image that takes part to value. The mask is optional. */
VSR_API vsrStatus vsrSetElementsu16(uint16_t* dst, uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride,
                                    uint16_t value, const uint8_t* mask, uint32_t maskStride);

/** Sets every pixel of a s16 image that takes part to value. The mask is optional. */
VSR_API vsrStatus vsrSetElementss16(int16_t* dst, uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride,
                                    int16_t value, const uint8_t* mask, uint32_t maskStride);

/** Sets every pixel of a s32 image that takes part to value. The mask is optional. */
VSR_API vsrStatus vsrSetElementss32(int32_t* dst, uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride,
                                    int32_t value, const uint8_t* mask, uint32_t maskStride);

/** Sets every pixel of a f32 image that takes part to value, bit for bit. The mask is optional. */
VSR_API vsrStatus vsrSetElementsf32(float* dst, uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride, float value,
                                    const uint8_t* mask, uint32_t maskStride);

/** Sets every pixel of an interleaved u8 image of 2 channels that takes part to the 2 values. The mask is optional. */
VSR_API vsrStatus vsrSetElementsc2u8(uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride,
                                     const uint8_t* values, const uint8_t* mask, uint32_t maskStride);

/** Sets every pixel of an interleaved u8 image of 3 channels that takes part to the 3 values. The mask is optional. */
VSR_API vsrStatus vsrSetElementsc3u8(uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride,
                                     const uint8_t* values, const uint8_t* mask, uint32_t maskStride);

/** Sets every pixel of an interleaved u8 image of 4 channels that takes part to the 4 values. The mask is optional. */
VSR_API vsrStatus vsrSetElementsc4u8(uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride,
                                     const uint8_t* values, const uint8_t* mask, uint32_t maskStride);

/**
 * Fills the frame of a u8 image: all pixels less than `border` pixels from an edge. What lies inside is the picture
 * and is only read. Constant: borderValue; replicate or undefined: the nearest pixel of the picture; mirror: the
 * picture mirrored about its edge pixels, as often as it takes. A border of 0 writes nothing. Refused: a picture
 * without pixels (2 * border >= dstWidth or dstHeight), another border type.
 */
VSR_API vsrStatus vsrSetBorderu8(uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride,
                                 uint32_t border, vsrBorderType borderType, uint8_t borderValue);

/**
 * Copies `length` bytes, 0 allowed, between blocks that are apart: the type of vsrCopy, which has no entry point. Its
 * variants check nothing and return 0; its DSP routines return the status of one remote call.
 */
typedef vsrStatus vsrByteCopy(const uint8_t* src, uint32_t length, uint8_t* dst);

/**
 * Sorts eight scores in place into falling order, each of eight values moving with its score. Equal scores keep their
 * order, +0 and -0 being equal; NaNs come last. Bits are moved, not changed.
 * @return 0, or VISORA_EBADPARAM, with nothing written, for null or equal pointers
 */
VSR_API vsrStatus vsrSort8Scoresf32(float* scores, float* values);

VSR_END_DECLARATIONS

#endif
