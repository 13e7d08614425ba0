/**
 * @file
 * Colour: conversions from luma and chroma to packed RGB.
 *
 * Common to all of them:
 * - Samples are u8. Pointers point at the top-left sample, sizes are in pixels, strides in bytes. The destination is
 *   another buffer than the source.
 * - Chroma is replicated, not interpolated: with horizontally halved chroma (4:2:2, 4:2:0) pixel x takes chroma sample
 *   x / 2, with vertically halved chroma (4:2:0) row y takes chroma row y / 2, both rounded down. A pair of chroma
 *   samples is read whole: with halved chroma a row of an odd width needs width + 1 bytes of interleaved chroma.
 * - Pixels in memory: RGB888 is R, G, B; RGBA8888 is R, G, B, 255; RGB565 is a little-endian u16 with red LOWEST,
 *   unlike in most other programs: R >> 3 in bits 0-4, G >> 2 in bits 5-10 and B >> 3 in bits 11-15.
 * - In the formulas Cb' = Cb - 128 and Cr' = Cr - 128, shifts of negative numbers round down, and R, G and B are
 *   clamped to 0 .. 255 before they are packed.
 * - No pointer or stride has to be aligned.
 * - A bad argument is logged as "Assertion failed @<function>: <condition>"; nothing is written then and the result is
 *   what the log call returned (1 with the library's own log).
 */
#ifndef VISORA_COLOR_H
#define VISORA_COLOR_H

#include "visora/types.h"

VSR_BEGIN_DECLARATIONS

/** Which channel of a pixel: by position, or by what it holds. */
typedef uint32_t vsrChannelType;

enum
{
    VISORA_CHANNEL_0 = 0,
    VISORA_CHANNEL_1 = 1,
    VISORA_CHANNEL_2 = 2,
    VISORA_CHANNEL_3 = 3,
    VISORA_CHANNEL_R = 4,
    VISORA_CHANNEL_G = 5,
    VISORA_CHANNEL_B = 6,
    VISORA_CHANNEL_A = 7,
    VISORA_CHANNEL_Y = 8,
    VISORA_CHANNEL_U = 9,
    VISORA_CHANNEL_V = 10
};

/* ---- Full-range YCbCr (ITU-R BT.601 weights, as in JFIF) ---- */

/**
 * Three planes to RGB:
 * R = (256 Y + 359 Cr' + 128) >> 8, G = (256 Y - 88 Cb' - 183 Cr' + 128) >> 8, B = (256 Y + 454 Cb' + 128) >> 8.
 *
 * A stride of 0 means packed: srcWidth for luma and for 4:4:4 chroma, (srcWidth + 1) / 2 for halved chroma, 2, 3 or 4
 * times srcWidth for the destination. A null pointer, a zero size and a stride below its row are refused.
 *
 * With halved chroma the width must be at least 2: a width of 1 ends the process with exit status 1. The 4:2:0 members
 * convert rows in pairs: an odd height reads one luma row more and writes one destination row more than srcHeight, so
 * both buffers must have srcHeight + 1 rows then.
 * @return 0
 */
VSR_API vsrStatus vsrColorYCbCr444PlanarToRGB565u8(const uint8_t* srcY, const uint8_t* srcCb, const uint8_t* srcCr,
                                                   uint32_t srcWidth, uint32_t srcHeight, uint32_t srcYStride,
                                                   uint32_t srcCbStride, uint32_t srcCrStride, uint8_t* dst,
                                                   uint32_t dstStride);
VSR_API vsrStatus vsrColorYCbCr444PlanarToRGB888u8(const uint8_t* srcY, const uint8_t* srcCb, const uint8_t* srcCr,
                                                   uint32_t srcWidth, uint32_t srcHeight, uint32_t srcYStride,
                                                   uint32_t srcCbStride, uint32_t srcCrStride, uint8_t* dst,
                                                   uint32_t dstStride);
VSR_API vsrStatus vsrColorYCbCr444PlanarToRGBA8888u8(const uint8_t* srcY, const uint8_t* srcCb, const uint8_t* srcCr,
                                                     uint32_t srcWidth, uint32_t srcHeight, uint32_t srcYStride,
                                                     uint32_t srcCbStride, uint32_t srcCrStride, uint8_t* dst,
                                                     uint32_t dstStride);
VSR_API vsrStatus vsrColorYCbCr422PlanarToRGB565u8(const uint8_t* srcY, const uint8_t* srcCb, const uint8_t* srcCr,
                                                   uint32_t srcWidth, uint32_t srcHeight, uint32_t srcYStride,
                                                   uint32_t srcCbStride, uint32_t srcCrStride, uint8_t* dst,
                                                   uint32_t dstStride);
VSR_API vsrStatus vsrColorYCbCr422PlanarToRGB888u8(const uint8_t* srcY, const uint8_t* srcCb, const uint8_t* srcCr,
                                                   uint32_t srcWidth, uint32_t srcHeight, uint32_t srcYStride,
                                                   uint32_t srcCbStride, uint32_t srcCrStride, uint8_t* dst,
                                                   uint32_t dstStride);
VSR_API vsrStatus vsrColorYCbCr422PlanarToRGBA8888u8(const uint8_t* srcY, const uint8_t* srcCb, const uint8_t* srcCr,
                                                     uint32_t srcWidth, uint32_t srcHeight, uint32_t srcYStride,
                                                     uint32_t srcCbStride, uint32_t srcCrStride, uint8_t* dst,
                                                     uint32_t dstStride);
VSR_API vsrStatus vsrColorYCbCr420PlanarToRGB565u8(const uint8_t* srcY, const uint8_t* srcCb, const uint8_t* srcCr,
                                                   uint32_t srcWidth, uint32_t srcHeight, uint32_t srcYStride,
                                                   uint32_t srcCbStride, uint32_t srcCrStride, uint8_t* dst,
                                                   uint32_t dstStride);
VSR_API vsrStatus vsrColorYCbCr420PlanarToRGB888u8(const uint8_t* srcY, const uint8_t* srcCb, const uint8_t* srcCr,
                                                   uint32_t srcWidth, uint32_t srcHeight, uint32_t srcYStride,
                                                   uint32_t srcCbStride, uint32_t srcCrStride, uint8_t* dst,
                                                   uint32_t dstStride);
VSR_API vsrStatus vsrColorYCbCr420PlanarToRGBA8888u8(const uint8_t* srcY, const uint8_t* srcCb, const uint8_t* srcCr,
                                                     uint32_t srcWidth, uint32_t srcHeight, uint32_t srcYStride,
                                                     uint32_t srcCbStride, uint32_t srcCrStride, uint8_t* dst,
                                                     uint32_t dstStride);

/**
 * A luma plane and a plane of chroma pairs, Cb first, to RGB, otherwise as the planar members. A chroma stride of 0
 * means 2 * srcWidth for 4:4:4 and srcWidth for halved chroma. vsrColorYCbCr422PseudoPlanarToRGB888u8 refuses a width
 * of 1 instead of ending the process.
 * @return 0
 */
VSR_API vsrStatus vsrColorYCbCr444PseudoPlanarToRGB565u8(const uint8_t* srcY, const uint8_t* srcC, uint32_t srcWidth,
                                                         uint32_t srcHeight, uint32_t srcYStride, uint32_t srcCStride,
                                                         uint8_t* dst, uint32_t dstStride);
VSR_API vsrStatus vsrColorYCbCr444PseudoPlanarToRGB888u8(const uint8_t* srcY, const uint8_t* srcC, uint32_t srcWidth,
                                                         uint32_t srcHeight, uint32_t srcYStride, uint32_t srcCStride,
                                                         uint8_t* dst, uint32_t dstStride);
VSR_API vsrStatus vsrColorYCbCr444PseudoPlanarToRGBA8888u8(const uint8_t* srcY, const uint8_t* srcC, uint32_t srcWidth,
                                                           uint32_t srcHeight, uint32_t srcYStride, uint32_t srcCStride,
                                                           uint8_t* dst, uint32_t dstStride);
VSR_API vsrStatus vsrColorYCbCr422PseudoPlanarToRGB565u8(const uint8_t* srcY, const uint8_t* srcC, uint32_t srcWidth,
                                                         uint32_t srcHeight, uint32_t srcYStride, uint32_t srcCStride,
                                                         uint8_t* dst, uint32_t dstStride);
VSR_API vsrStatus vsrColorYCbCr422PseudoPlanarToRGB888u8(const uint8_t* srcY, const uint8_t* srcC, uint32_t srcWidth,
                                                         uint32_t srcHeight, uint32_t srcYStride, uint32_t srcCStride,
                                                         uint8_t* dst, uint32_t dstStride);
VSR_API vsrStatus vsrColorYCbCr422PseudoPlanarToRGBA8888u8(const uint8_t* srcY, const uint8_t* srcC, uint32_t srcWidth,
                                                           uint32_t srcHeight, uint32_t srcYStride, uint32_t srcCStride,
                                                           uint8_t* dst, uint32_t dstStride);
VSR_API vsrStatus vsrColorYCbCr420PseudoPlanarToRGB565u8(const uint8_t* srcY, const uint8_t* srcC, uint32_t srcWidth,
                                                         uint32_t srcHeight, uint32_t srcYStride, uint32_t srcCStride,
                                                         uint8_t* dst, uint32_t dstStride);
VSR_API vsrStatus vsrColorYCbCr420PseudoPlanarToRGB888u8(const uint8_t* srcY, const uint8_t* srcC, uint32_t srcWidth,
                                                         uint32_t srcHeight, uint32_t srcYStride, uint32_t srcCStride,
                                                         uint8_t* dst, uint32_t dstStride);
VSR_API vsrStatus vsrColorYCbCr420PseudoPlanarToRGBA8888u8(const uint8_t* srcY, const uint8_t* srcC, uint32_t srcWidth,
                                                           uint32_t srcHeight, uint32_t srcYStride, uint32_t srcCStride,
                                                           uint8_t* dst, uint32_t dstStride);

/* ---- Video-range 4:2:0 buffers ---- */

/**
 * One packed buffer of 4:2:0 video to RGB565, truncating: with y = 298 (Y - 16),
 * R = (y + 409 Cr') >> 8, G = (y - 100 Cb' - 208 Cr') >> 8, B = (y + 517 Cb') >> 8.
 * @param src  width * height bytes of luma, directly behind them the chroma pairs (Cb first) in rows of `width` bytes,
 *             one for two luma rows
 * @param dst  packed pixels, 2 * width bytes per row
 * Any width and height; null pointers and zero sizes are refused.
 * @return 0
 */
VSR_API vsrStatus vsrColorYUV420toRGB565u8(const uint8_t* src, uint32_t width, uint32_t height, uint32_t* dst);

/** As vsrColorYUV420toRGB565u8 with the picture turned by 180 degrees. */
VSR_API vsrStatus vsrColorYUV420toRGB565u8Rotate180(const uint8_t* src, uint32_t width, uint32_t height, uint32_t* dst);

/**
 * 4:2:0 video to RGBA8888, truncating: with y = 1192 (max(Y, 16) - 16),
 * R = (y + 1634 Cr') >> 10, G = (y - 400 Cb' - 833 Cr') >> 10, B = (y + 2066 Cb') >> 10.
 * @param src         luma rows at src + y * srcYStride; at src + srcHeight * srcYStride begin the chroma pairs, Cr
 *                    first, in rows srcCStride apart
 * @param dst         one u32 per pixel: R in bits 0-7, G in 8-15, B in 16-23, 255 in 24-31
 * @param dstStride   in bytes, cut to whole words
 * Any width and height; null pointers, zero sizes and zero strides are refused.
 * @return 0
 */
VSR_API vsrStatus vsrColorYCrCb420PseudoPlanarToRGB8888u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                                          uint32_t srcYStride, uint32_t srcCStride, uint32_t* dst,
                                                          uint32_t dstStride);

/** As vsrColorYCrCb420PseudoPlanarToRGB8888u8 with packed rows: strides of `width`, `width` and 4 * width. */
VSR_API vsrStatus vsrColorYUV420toRGB8888u8(const uint8_t* src, uint32_t width, uint32_t height, uint32_t* dst);

/* ---- Coding-unit tiles ---- */

/**
 * Coding units, as a block codec decodes them, to packed RGB888. A unit covers 8 h x 8 v pixels: h * v luma blocks of
 * 8x8 bytes in raster order, then one 8x8 Cb and one 8x8 Cr block for the whole unit; h and v are the digits behind H
 * and V in the name. Units follow each other in raster order. With C2 = 2 C - 255:
 * R = Y + ((22970 Cr2 + 16384) >> 15), G = Y + ((-5638 Cb2 - 11700 Cr2 + 16384) >> 15),
 * B = Y + ((29032 Cb2 + 16384) >> 15).
 *
 * Width and height should be whole units. Otherwise partial units at the right and at the bottom give only the pixels
 * inside the image, while one row of units is taken to be (width / unit width, rounded down) units behind the row
 * above. Null pointers and zero sizes are refused.
 * @return 0
 */
VSR_API vsrStatus vsrColorYCrCbH1V1toRGB888u8(const uint8_t* src, uint32_t width, uint32_t height, uint8_t* dst);
VSR_API vsrStatus vsrColorYCrCbH2V2toRGB888u8(const uint8_t* y_src, uint32_t width, uint32_t height, uint8_t* dst);
VSR_API vsrStatus vsrColorYCrCbH2V1toRGB888u8(const uint8_t* ysrc, uint32_t width, uint32_t height, uint8_t* dst);
VSR_API vsrStatus vsrColorYCrCbH1V2toRGB888u8(const uint8_t* ysrc, uint32_t width, uint32_t height, uint8_t* dst);

/* ---- Pixel and plane formats of the conversions below ----
 *
 * Pixels in memory, besides those named above: BGR888 is B, G, R; RGBA8888 and BGRA8888 have alpha last; RGB565 and
 * BGR565 are little-endian u16 with red, or blue, in bits 0-4, green in bits 5-10 and the other one in bits 11-15, and
 * are handed over as bytes, two to a pixel. A field of 5 or 6 bits becomes 8 bits by repeating its top bits (0 gives 0,
 * a full field 255); 8 bits are cut to a field.
 *
 * Planar is three planes, Y, Cb and Cr; PseudoPlanar is a plane Y and one of pairs, Cb at the even byte. Chroma has
 * (width + 1) / 2 columns in 4:2:2 and 4:2:0, and (height + 1) / 2 rows in 4:2:0, rounded down: with an odd side the
 * last chroma column or row stands for one image column or row only.
 *
 * A mean of 2 x 1, 1 x 2 or 2 x 2 samples is rounded, halves up; a block that the image cuts off is the mean of what is
 * inside.
 *
 * The functions from here to the end of the file have this in common:
 * - Strides are in bytes, 0 means packed: the bytes of a row, which are 2 for each pair in a plane of pairs.
 * - A destination is another buffer than all others of the call unless "in place" says otherwise; what is in place
 *   needs equal strides (after 0 was replaced).
 * - Refused with VISORA_EBADPARAM, nothing written and nothing logged: a null pointer, a zero size, a stride below a
 *   row, a row of 2^32 bytes or more, a destination that begins where another buffer does.
 * - They return 0 when they are done.
 */

/**
 * One RGB format to another: an alpha that is missing is 255, one without a place is dropped. In place is allowed where
 * source and destination differ in the order of red and blue only.
 */
VSR_API vsrStatus vsrColorRGB565ToBGR565u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                           uint32_t srcStride, uint8_t* dst, uint32_t dstStride);
VSR_API vsrStatus vsrColorRGB565ToBGR888u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                           uint32_t srcStride, uint8_t* dst, uint32_t dstStride);
VSR_API vsrStatus vsrColorRGB565ToBGRA8888u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                             uint32_t srcStride, uint8_t* dst, uint32_t dstStride);
VSR_API vsrStatus vsrColorRGB565ToRGB888u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                           uint32_t srcStride, uint8_t* dst, uint32_t dstStride);
VSR_API vsrStatus vsrColorRGB565ToRGBA8888u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                             uint32_t srcStride, uint8_t* dst, uint32_t dstStride);
VSR_API vsrStatus vsrColorRGB888ToBGR565u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                           uint32_t srcStride, uint8_t* dst, uint32_t dstStride);
VSR_API vsrStatus vsrColorRGB888ToBGR888u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                           uint32_t srcStride, uint8_t* dst, uint32_t dstStride);
VSR_API vsrStatus vsrColorRGB888ToBGRA8888u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                             uint32_t srcStride, uint8_t* dst, uint32_t dstStride);
VSR_API vsrStatus vsrColorRGB888ToRGB565u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                           uint32_t srcStride, uint8_t* dst, uint32_t dstStride);
VSR_API vsrStatus vsrColorRGB888ToRGBA8888u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                             uint32_t srcStride, uint8_t* dst, uint32_t dstStride);
VSR_API vsrStatus vsrColorRGBA8888ToBGR565u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                             uint32_t srcStride, uint8_t* dst, uint32_t dstStride);
VSR_API vsrStatus vsrColorRGBA8888ToBGR888u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                             uint32_t srcStride, uint8_t* dst, uint32_t dstStride);
VSR_API vsrStatus vsrColorRGBA8888ToBGRA8888u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                               uint32_t srcStride, uint8_t* dst, uint32_t dstStride);
VSR_API vsrStatus vsrColorRGBA8888ToRGB565u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                             uint32_t srcStride, uint8_t* dst, uint32_t dstStride);
VSR_API vsrStatus vsrColorRGBA8888ToRGB888u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                             uint32_t srcStride, uint8_t* dst, uint32_t dstStride);

/** Grey: Y = (77 R + 150 G + 29 B + 128) >> 8; alpha does not count. */
VSR_API vsrStatus vsrColorRGB565ToGrayu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                         uint8_t* dst, uint32_t dstStride);
VSR_API vsrStatus vsrColorRGB888ToGrayu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                         uint8_t* dst, uint32_t dstStride);
VSR_API vsrStatus vsrColorRGBA8888ToGrayu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                           uint32_t srcStride, uint8_t* dst, uint32_t dstStride);

/**
 * RGB to full-range YCbCr (BT.601 weights, as in JFIF). Y of each pixel as in the grey conversions; of the mean R, G
 * and B, rounded to 8 bits, of the pixels that share a chroma sample
 * Cb = min(255, 128 + ((128 B - 43 R - 85 G + 128) >> 8)), Cr = min(255, 128 + ((128 R - 107 G - 21 B + 128) >> 8)).
 * Shifts round down. Grey gives exactly 128.
 */
VSR_API vsrStatus vsrColorRGB565ToYCbCr420Planaru8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                                   uint32_t srcStride, uint8_t* dstY, uint8_t* dstCb, uint8_t* dstCr,
                                                   uint32_t dstYStride, uint32_t dstCbStride, uint32_t dstCrStride);
VSR_API vsrStatus vsrColorRGB565ToYCbCr420PseudoPlanaru8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                                         uint32_t srcStride, uint8_t* dstY, uint8_t* dstC,
                                                         uint32_t dstYStride, uint32_t dstCStride);
VSR_API vsrStatus vsrColorRGB565ToYCbCr422Planaru8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                                   uint32_t srcStride, uint8_t* dstY, uint8_t* dstCb, uint8_t* dstCr,
                                                   uint32_t dstYStride, uint32_t dstCbStride, uint32_t dstCrStride);
VSR_API vsrStatus vsrColorRGB565ToYCbCr422PseudoPlanaru8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                                         uint32_t srcStride, uint8_t* dstY, uint8_t* dstC,
                                                         uint32_t dstYStride, uint32_t dstCStride);
VSR_API vsrStatus vsrColorRGB565ToYCbCr444Planaru8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                                   uint32_t srcStride, uint8_t* dstY, uint8_t* dstCb, uint8_t* dstCr,
                                                   uint32_t dstYStride, uint32_t dstCbStride, uint32_t dstCrStride);
VSR_API vsrStatus vsrColorRGB565ToYCbCr444PseudoPlanaru8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                                         uint32_t srcStride, uint8_t* dstY, uint8_t* dstC,
                                                         uint32_t dstYStride, uint32_t dstCStride);
VSR_API vsrStatus vsrColorRGB888ToYCbCr420Planaru8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                                   uint32_t srcStride, uint8_t* dstY, uint8_t* dstCb, uint8_t* dstCr,
                                                   uint32_t dstYStride, uint32_t dstCbStride, uint32_t dstCrStride);
VSR_API vsrStatus vsrColorRGB888ToYCbCr420PseudoPlanaru8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                                         uint32_t srcStride, uint8_t* dstY, uint8_t* dstC,
                                                         uint32_t dstYStride, uint32_t dstCStride);
VSR_API vsrStatus vsrColorRGB888ToYCbCr422Planaru8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                                   uint32_t srcStride, uint8_t* dstY, uint8_t* dstCb, uint8_t* dstCr,
                                                   uint32_t dstYStride, uint32_t dstCbStride, uint32_t dstCrStride);
VSR_API vsrStatus vsrColorRGB888ToYCbCr422PseudoPlanaru8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                                         uint32_t srcStride, uint8_t* dstY, uint8_t* dstC,
                                                         uint32_t dstYStride, uint32_t dstCStride);
VSR_API vsrStatus vsrColorRGB888ToYCbCr444Planaru8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                                   uint32_t srcStride, uint8_t* dstY, uint8_t* dstCb, uint8_t* dstCr,
                                                   uint32_t dstYStride, uint32_t dstCbStride, uint32_t dstCrStride);
VSR_API vsrStatus vsrColorRGB888ToYCbCr444PseudoPlanaru8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                                         uint32_t srcStride, uint8_t* dstY, uint8_t* dstC,
                                                         uint32_t dstYStride, uint32_t dstCStride);
VSR_API vsrStatus vsrColorRGBA8888ToYCbCr420Planaru8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                                     uint32_t srcStride, uint8_t* dstY, uint8_t* dstCb, uint8_t* dstCr,
                                                     uint32_t dstYStride, uint32_t dstCbStride, uint32_t dstCrStride);
VSR_API vsrStatus vsrColorRGBA8888ToYCbCr420PseudoPlanaru8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                                           uint32_t srcStride, uint8_t* dstY, uint8_t* dstC,
                                                           uint32_t dstYStride, uint32_t dstCStride);
VSR_API vsrStatus vsrColorRGBA8888ToYCbCr422Planaru8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                                     uint32_t srcStride, uint8_t* dstY, uint8_t* dstCb, uint8_t* dstCr,
                                                     uint32_t dstYStride, uint32_t dstCbStride, uint32_t dstCrStride);
VSR_API vsrStatus vsrColorRGBA8888ToYCbCr422PseudoPlanaru8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                                           uint32_t srcStride, uint8_t* dstY, uint8_t* dstC,
                                                           uint32_t dstYStride, uint32_t dstCStride);
VSR_API vsrStatus vsrColorRGBA8888ToYCbCr444Planaru8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                                     uint32_t srcStride, uint8_t* dstY, uint8_t* dstCb, uint8_t* dstCr,
                                                     uint32_t dstYStride, uint32_t dstCbStride, uint32_t dstCrStride);
VSR_API vsrStatus vsrColorRGBA8888ToYCbCr444PseudoPlanaru8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                                           uint32_t srcStride, uint8_t* dstY, uint8_t* dstC,
                                                           uint32_t dstYStride, uint32_t dstCStride);

/**
 * One YCbCr layout to another. Luma is copied; with dstY equal to srcY it stays as it is (in place for luma, chroma is
 * never in place). A chroma sample is the mean of the source samples that lie on it where the destination is coarser
 * (1 x 2, 2 x 1, or 2 x 2 rounded once), the one that covers it where it is finer; repeating and averaging again gives
 * the samples back.
 */
VSR_API vsrStatus vsrColorYCbCr420PlanarToYCbCr420PseudoPlanaru8(const uint8_t* srcY, const uint8_t* srcCb,
                                                                 const uint8_t* srcCr, uint32_t srcWidth,
                                                                 uint32_t srcHeight, uint32_t srcYStride,
                                                                 uint32_t srcCbStride, uint32_t srcCrStride,
                                                                 uint8_t* dstY, uint8_t* dstC, uint32_t dstYStride,
                                                                 uint32_t dstCStride);
VSR_API vsrStatus vsrColorYCbCr420PlanarToYCbCr422Planaru8(const uint8_t* srcY, const uint8_t* srcCb,
                                                           const uint8_t* srcCr, uint32_t srcWidth, uint32_t srcHeight,
                                                           uint32_t srcYStride, uint32_t srcCbStride,
                                                           uint32_t srcCrStride, uint8_t* dstY, uint8_t* dstCb,
                                                           uint8_t* dstCr, uint32_t dstYStride, uint32_t dstCbStride,
                                                           uint32_t dstCrStride);
VSR_API vsrStatus vsrColorYCbCr420PlanarToYCbCr422PseudoPlanaru8(const uint8_t* srcY, const uint8_t* srcCb,
                                                                 const uint8_t* srcCr, uint32_t srcWidth,
                                                                 uint32_t srcHeight, uint32_t srcYStride,
                                                                 uint32_t srcCbStride, uint32_t srcCrStride,
                                                                 uint8_t* dstY, uint8_t* dstC, uint32_t dstYStride,
                                                                 uint32_t dstCStride);
VSR_API vsrStatus vsrColorYCbCr420PlanarToYCbCr444Planaru8(const uint8_t* srcY, const uint8_t* srcCb,
                                                           const uint8_t* srcCr, uint32_t srcWidth, uint32_t srcHeight,
                                                           uint32_t srcYStride, uint32_t srcCbStride,
                                                           uint32_t srcCrStride, uint8_t* dstY, uint8_t* dstCb,
                                                           uint8_t* dstCr, uint32_t dstYStride, uint32_t dstCbStride,
                                                           uint32_t dstCrStride);
VSR_API vsrStatus vsrColorYCbCr420PlanarToYCbCr444PseudoPlanaru8(const uint8_t* srcY, const uint8_t* srcCb,
                                                                 const uint8_t* srcCr, uint32_t srcWidth,
                                                                 uint32_t srcHeight, uint32_t srcYStride,
                                                                 uint32_t srcCbStride, uint32_t srcCrStride,
                                                                 uint8_t* dstY, uint8_t* dstC, uint32_t dstYStride,
                                                                 uint32_t dstCStride);
VSR_API vsrStatus vsrColorYCbCr420PseudoPlanarToYCbCr420Planaru8(const uint8_t* srcY, const uint8_t* srcC,
                                                                 uint32_t srcWidth, uint32_t srcHeight,
                                                                 uint32_t srcYStride, uint32_t srcCStride,
                                                                 uint8_t* dstY, uint8_t* dstCb, uint8_t* dstCr,
                                                                 uint32_t dstYStride, uint32_t dstCbStride,
                                                                 uint32_t dstCrStride);
VSR_API vsrStatus vsrColorYCbCr420PseudoPlanarToYCbCr422Planaru8(const uint8_t* srcY, const uint8_t* srcC,
                                                                 uint32_t srcWidth, uint32_t srcHeight,
                                                                 uint32_t srcYStride, uint32_t srcCStride,
                                                                 uint8_t* dstY, uint8_t* dstCb, uint8_t* dstCr,
                                                                 uint32_t dstYStride, uint32_t dstCbStride,
                                                                 uint32_t dstCrStride);
VSR_API vsrStatus vsrColorYCbCr420PseudoPlanarToYCbCr422PseudoPlanaru8(const uint8_t* srcY, const uint8_t* srcC,
                                                                       uint32_t srcWidth, uint32_t srcHeight,
                                                                       uint32_t srcYStride, uint32_t srcCStride,
                                                                       uint8_t* dstY, uint8_t* dstC,
                                                                       uint32_t dstYStride, uint32_t dstCStride);
VSR_API vsrStatus vsrColorYCbCr420PseudoPlanarToYCbCr444Planaru8(const uint8_t* srcY, const uint8_t* srcC,
                                                                 uint32_t srcWidth, uint32_t srcHeight,
                                                                 uint32_t srcYStride, uint32_t srcCStride,
                                                                 uint8_t* dstY, uint8_t* dstCb, uint8_t* dstCr,
                                                                 uint32_t dstYStride, uint32_t dstCbStride,
                                                                 uint32_t dstCrStride);
VSR_API vsrStatus vsrColorYCbCr420PseudoPlanarToYCbCr444PseudoPlanaru8(const uint8_t* srcY, const uint8_t* srcC,
                                                                       uint32_t srcWidth, uint32_t srcHeight,
                                                                       uint32_t srcYStride, uint32_t srcCStride,
                                                                       uint8_t* dstY, uint8_t* dstC,
                                                                       uint32_t dstYStride, uint32_t dstCStride);
VSR_API vsrStatus vsrColorYCbCr422PlanarToYCbCr420Planaru8(const uint8_t* srcY, const uint8_t* srcCb,
                                                           const uint8_t* srcCr, uint32_t srcWidth, uint32_t srcHeight,
                                                           uint32_t srcYStride, uint32_t srcCbStride,
                                                           uint32_t srcCrStride, uint8_t* dstY, uint8_t* dstCb,
                                                           uint8_t* dstCr, uint32_t dstYStride, uint32_t dstCbStride,
                                                           uint32_t dstCrStride);
VSR_API vsrStatus vsrColorYCbCr422PlanarToYCbCr420PseudoPlanaru8(const uint8_t* srcY, const uint8_t* srcCb,
                                                                 const uint8_t* srcCr, uint32_t srcWidth,
                                                                 uint32_t srcHeight, uint32_t srcYStride,
                                                                 uint32_t srcCbStride, uint32_t srcCrStride,
                                                                 uint8_t* dstY, uint8_t* dstC, uint32_t dstYStride,
                                                                 uint32_t dstCStride);
VSR_API vsrStatus vsrColorYCbCr422PlanarToYCbCr422PseudoPlanaru8(const uint8_t* srcY, const uint8_t* srcCb,
                                                                 const uint8_t* srcCr, uint32_t srcWidth,
                                                                 uint32_t srcHeight, uint32_t srcYStride,
                                                                 uint32_t srcCbStride, uint32_t srcCrStride,
                                                                 uint8_t* dstY, uint8_t* dstC, uint32_t dstYStride,
                                                                 uint32_t dstCStride);
VSR_API vsrStatus vsrColorYCbCr422PlanarToYCbCr444Planaru8(const uint8_t* srcY, const uint8_t* srcCb,
                                                           const uint8_t* srcCr, uint32_t srcWidth, uint32_t srcHeight,
                                                           uint32_t srcYStride, uint32_t srcCbStride,
                                                           uint32_t srcCrStride, uint8_t* dstY, uint8_t* dstCb,
                                                           uint8_t* dstCr, uint32_t dstYStride, uint32_t dstCbStride,
                                                           uint32_t dstCrStride);
VSR_API vsrStatus vsrColorYCbCr422PlanarToYCbCr444PseudoPlanaru8(const uint8_t* srcY, const uint8_t* srcCb,
                                                                 const uint8_t* srcCr, uint32_t srcWidth,
                                                                 uint32_t srcHeight, uint32_t srcYStride,
                                                                 uint32_t srcCbStride, uint32_t srcCrStride,
                                                                 uint8_t* dstY, uint8_t* dstC, uint32_t dstYStride,
                                                                 uint32_t dstCStride);
VSR_API vsrStatus vsrColorYCbCr422PseudoPlanarToYCbCr420Planaru8(const uint8_t* srcY, const uint8_t* srcC,
                                                                 uint32_t srcWidth, uint32_t srcHeight,
                                                                 uint32_t srcYStride, uint32_t srcCStride,
                                                                 uint8_t* dstY, uint8_t* dstCb, uint8_t* dstCr,
                                                                 uint32_t dstYStride, uint32_t dstCbStride,
                                                                 uint32_t dstCrStride);
VSR_API vsrStatus vsrColorYCbCr422PseudoPlanarToYCbCr420PseudoPlanaru8(const uint8_t* srcY, const uint8_t* srcC,
                                                                       uint32_t srcWidth, uint32_t srcHeight,
                                                                       uint32_t srcYStride, uint32_t srcCStride,
                                                                       uint8_t* dstY, uint8_t* dstC,
                                                                       uint32_t dstYStride, uint32_t dstCStride);
VSR_API vsrStatus vsrColorYCbCr422PseudoPlanarToYCbCr422Planaru8(const uint8_t* srcY, const uint8_t* srcC,
                                                                 uint32_t srcWidth, uint32_t srcHeight,
                                                                 uint32_t srcYStride, uint32_t srcCStride,
                                                                 uint8_t* dstY, uint8_t* dstCb, uint8_t* dstCr,
                                                                 uint32_t dstYStride, uint32_t dstCbStride,
                                                                 uint32_t dstCrStride);
VSR_API vsrStatus vsrColorYCbCr422PseudoPlanarToYCbCr444Planaru8(const uint8_t* srcY, const uint8_t* srcC,
                                                                 uint32_t srcWidth, uint32_t srcHeight,
                                                                 uint32_t srcYStride, uint32_t srcCStride,
                                                                 uint8_t* dstY, uint8_t* dstCb, uint8_t* dstCr,
                                                                 uint32_t dstYStride, uint32_t dstCbStride,
                                                                 uint32_t dstCrStride);
VSR_API vsrStatus vsrColorYCbCr422PseudoPlanarToYCbCr444PseudoPlanaru8(const uint8_t* srcY, const uint8_t* srcC,
                                                                       uint32_t srcWidth, uint32_t srcHeight,
                                                                       uint32_t srcYStride, uint32_t srcCStride,
                                                                       uint8_t* dstY, uint8_t* dstC,
                                                                       uint32_t dstYStride, uint32_t dstCStride);
VSR_API vsrStatus vsrColorYCbCr444PlanarToYCbCr420Planaru8(const uint8_t* srcY, const uint8_t* srcCb,
                                                           const uint8_t* srcCr, uint32_t srcWidth, uint32_t srcHeight,
                                                           uint32_t srcYStride, uint32_t srcCbStride,
                                                           uint32_t srcCrStride, uint8_t* dstY, uint8_t* dstCb,
                                                           uint8_t* dstCr, uint32_t dstYStride, uint32_t dstCbStride,
                                                           uint32_t dstCrStride);
VSR_API vsrStatus vsrColorYCbCr444PlanarToYCbCr420PseudoPlanaru8(const uint8_t* srcY, const uint8_t* srcCb,
                                                                 const uint8_t* srcCr, uint32_t srcWidth,
                                                                 uint32_t srcHeight, uint32_t srcYStride,
                                                                 uint32_t srcCbStride, uint32_t srcCrStride,
                                                                 uint8_t* dstY, uint8_t* dstC, uint32_t dstYStride,
                                                                 uint32_t dstCStride);
VSR_API vsrStatus vsrColorYCbCr444PlanarToYCbCr422Planaru8(const uint8_t* srcY, const uint8_t* srcCb,
                                                           const uint8_t* srcCr, uint32_t srcWidth, uint32_t srcHeight,
                                                           uint32_t srcYStride, uint32_t srcCbStride,
                                                           uint32_t srcCrStride, uint8_t* dstY, uint8_t* dstCb,
                                                           uint8_t* dstCr, uint32_t dstYStride, uint32_t dstCbStride,
                                                           uint32_t dstCrStride);
VSR_API vsrStatus vsrColorYCbCr444PlanarToYCbCr422PseudoPlanaru8(const uint8_t* srcY, const uint8_t* srcCb,
                                                                 const uint8_t* srcCr, uint32_t srcWidth,
                                                                 uint32_t srcHeight, uint32_t srcYStride,
                                                                 uint32_t srcCbStride, uint32_t srcCrStride,
                                                                 uint8_t* dstY, uint8_t* dstC, uint32_t dstYStride,
                                                                 uint32_t dstCStride);
VSR_API vsrStatus vsrColorYCbCr444PlanarToYCbCr444PseudoPlanaru8(const uint8_t* srcY, const uint8_t* srcCb,
                                                                 const uint8_t* srcCr, uint32_t srcWidth,
                                                                 uint32_t srcHeight, uint32_t srcYStride,
                                                                 uint32_t srcCbStride, uint32_t srcCrStride,
                                                                 uint8_t* dstY, uint8_t* dstC, uint32_t dstYStride,
                                                                 uint32_t dstCStride);
VSR_API vsrStatus vsrColorYCbCr444PseudoPlanarToYCbCr420Planaru8(const uint8_t* srcY, const uint8_t* srcC,
                                                                 uint32_t srcWidth, uint32_t srcHeight,
                                                                 uint32_t srcYStride, uint32_t srcCStride,
                                                                 uint8_t* dstY, uint8_t* dstCb, uint8_t* dstCr,
                                                                 uint32_t dstYStride, uint32_t dstCbStride,
                                                                 uint32_t dstCrStride);
VSR_API vsrStatus vsrColorYCbCr444PseudoPlanarToYCbCr420PseudoPlanaru8(const uint8_t* srcY, const uint8_t* srcC,
                                                                       uint32_t srcWidth, uint32_t srcHeight,
                                                                       uint32_t srcYStride, uint32_t srcCStride,
                                                                       uint8_t* dstY, uint8_t* dstC,
                                                                       uint32_t dstYStride, uint32_t dstCStride);
VSR_API vsrStatus vsrColorYCbCr444PseudoPlanarToYCbCr422Planaru8(const uint8_t* srcY, const uint8_t* srcC,
                                                                 uint32_t srcWidth, uint32_t srcHeight,
                                                                 uint32_t srcYStride, uint32_t srcCStride,
                                                                 uint8_t* dstY, uint8_t* dstCb, uint8_t* dstCr,
                                                                 uint32_t dstYStride, uint32_t dstCbStride,
                                                                 uint32_t dstCrStride);
VSR_API vsrStatus vsrColorYCbCr444PseudoPlanarToYCbCr422PseudoPlanaru8(const uint8_t* srcY, const uint8_t* srcC,
                                                                       uint32_t srcWidth, uint32_t srcHeight,
                                                                       uint32_t srcYStride, uint32_t srcCStride,
                                                                       uint8_t* dstY, uint8_t* dstC,
                                                                       uint32_t dstYStride, uint32_t dstCStride);
VSR_API vsrStatus vsrColorYCbCr444PseudoPlanarToYCbCr444Planaru8(const uint8_t* srcY, const uint8_t* srcC,
                                                                 uint32_t srcWidth, uint32_t srcHeight,
                                                                 uint32_t srcYStride, uint32_t srcCStride,
                                                                 uint8_t* dstY, uint8_t* dstCb, uint8_t* dstCr,
                                                                 uint32_t dstYStride, uint32_t dstCbStride,
                                                                 uint32_t dstCrStride);

/* ---- HSV and L*a*b* ---- */

/**
 * RGB888 to H, S, V: hue in 1/256 turns (0 red, 85 or so green, 171 or so blue), saturation and value 0 .. 255. With
 * V = max(R, G, B) and d = V - min(R, G, B): S = 255 d / V; H = (G - B) / 6 d if V = R, else 1/3 + (B - R) / 6 d if
 * V = G, else 2/3 + (R - G) / 6 d, in turns from 0 to 1. Both are products with rounded reciprocals of 12 more fraction
 * bits, rounded, halves up: S = (d (1044480 / V) + 2048) >> 12, H likewise with 2^20 / 6 d. Grey has H = S = 0. In
 * place is allowed.
 */
VSR_API vsrStatus vsrColorRGB888ToHSV888u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                           uint32_t srcStride, uint8_t* dst, uint32_t dstStride);

/**
 * The reverse. With the sector i = 6 H >> 8, f = 6 H & 255 and c(m) = V (1 - S m / 65280), rounded: p = c(256),
 * q = c(f), t = c(256 - f), and (R, G, B) = (V, t, p), (q, V, p), (p, V, t), (p, q, V), (t, p, V), (V, p, q) for
 * i = 0 .. 5. In place is allowed.
 */
VSR_API vsrStatus vsrColorHSV888ToRGB888u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                           uint32_t srcStride, uint8_t* dst, uint32_t dstStride);

/**
 * sRGB to CIE L*a*b* with the D65 white (0.950456, 1, 1.088754), as the bytes 255 L* / 100, a* + 128, b* + 128. Grey
 * gives a = b = 128. In place is allowed.
 */
VSR_API vsrStatus vsrColorRGB888ToLab888u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                           uint32_t srcStride, uint8_t* dst, uint32_t dstStride);

/** The reverse; colours outside sRGB end on its surface. In place is allowed. */
VSR_API vsrStatus vsrColorLab888ToRGB888u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                           uint32_t srcStride, uint8_t* dst, uint32_t dstStride);

/* ---- Channels ---- */

/** Two, three and four planes to one image of interleaved channels. A plane may be given more than once. */
VSR_API vsrStatus vsrChannelCombine2u8(const uint8_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                                       const uint8_t* src2, uint32_t src2Stride, uint8_t* dst, uint32_t dstStride);
VSR_API vsrStatus vsrChannelCombine3u8(const uint8_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                                       const uint8_t* src2, uint32_t src2Stride, const uint8_t* src3,
                                       uint32_t src3Stride, uint8_t* dst, uint32_t dstStride);
VSR_API vsrStatus vsrChannelCombine4u8(const uint8_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                                       const uint8_t* src2, uint32_t src2Stride, const uint8_t* src3,
                                       uint32_t src3Stride, const uint8_t* src4, uint32_t src4Stride, uint8_t* dst,
                                       uint32_t dstStride);

/**
 * One channel of an image as a plane of its own, srcWidth x srcHeight or, for subsampled chroma, as large as that.
 * Selectors by position are the bytes of a pixel, the fields of RGB565 and BGR565 from the lowest bits up, and Y, then
 * the chroma channels in the order of their planes or bytes; selectors by meaning are R, G, B, A of RGB formats, and Y,
 * U (Cb), V (Cr) of YCbCr formats. Fields of 565 pixels come out widened to 8 bits.
 *
 * Only the plane that holds the channel is looked at: src1 for interleaved formats and for Y, src2 for pairs and for
 * Cb, src3 for Cr. The other pointers and strides are ignored. A selector that the format does not have is refused.
 */
VSR_API vsrStatus vsrChannelExtractu8(const uint8_t* src1, const uint8_t* src2, const uint8_t* src3, uint32_t srcWidth,
                                      uint32_t srcHeight, uint32_t src1Stride, uint32_t src2Stride, uint32_t src3Stride,
                                      vsrPixelFormat format, vsrChannelType channel, uint8_t* dst, uint32_t dstStride);

/* ---- Chroma planes ---- */

/** Exchanges the bytes of every pair; srcWidth counts pairs. In place is allowed. */
VSR_API vsrStatus vsrChromaSwapu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                  uint8_t* dst, uint32_t dstStride);

/**
 * Mask of a key colour in a plane of srcWidth pairs a row; `dst` has srcWidth bytes a row. Where the distance e of a
 * pair from (keyCb, keyCr) is at most innerDistance the mask is 255, from outerDistance on 0, between them the rounded
 * ramp 255 (outerDistance - e) / (outerDistance - innerDistance), in single precision. For pairs with Cr first hand the
 * key over in that order. Refused unless innerDistance <= outerDistance <= 65535; equal distances make a hard mask.
 */
VSR_API vsrStatus vsrChromaKeyu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                 uint8_t keyCb, uint8_t keyCr, uint32_t innerDistance, uint32_t outerDistance,
                                 uint8_t* dst, uint32_t dstStride);

/* ---- Bayer mosaics ---- */

/** The colours of the top-left 2x2 pixels of a mosaic, in reading order. */
typedef uint32_t vsrBayerPattern;

enum
{
    VISORA_BAYER_RGGB = 0,
    VISORA_BAYER_GRBG = 1,
    VISORA_BAYER_GBRG = 2,
    VISORA_BAYER_BGGR = 3
};

/**
 * Bilinear demosaicing: a colour that a pixel does not have is the rounded mean of those of its neighbours that have
 * it, two or four. Pixels of the image's frame repeat the nearest pixel that has all its neighbours; on a side of only
 * 2 pixels the missing neighbour is the one on the other side. A side below 2 and another pattern are refused.
 */
VSR_API vsrStatus vsrBayerToRGB888u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                     vsrBayerPattern pattern, uint8_t* dst, uint32_t dstStride);

/** The same, then grey as vsrColorRGB888ToGrayu8 makes it. */
VSR_API vsrStatus vsrBayerToGrayu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                   vsrBayerPattern pattern, uint8_t* dst, uint32_t dstStride);

/* ---- Tone curve ---- */

/** 255 (src / 255)^gamma, rounded. A gamma that is not finite or not above 0 is refused. In place is allowed. */
VSR_API vsrStatus vsrGammau8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, float gamma,
                             uint8_t* dst, uint32_t dstStride);

/* ---- Rows ---- */

/**
 * Rows of `length` pixels for other kernels: to Y, Cb and Cr as the 4:4:4 planar conversions, to Y, and RGB565 to
 * RGB888. A length of 0 is allowed, nothing is checked, destinations are apart from the source and from each other. The
 * pointers hold the C variants until a mode sets the V variants.
 */
VSR_API void rgb5652yuvpC(const uint8_t* src, uint32_t length, uint8_t* y, uint8_t* cb, uint8_t* cr);
VSR_API void rgb5652yuvpV(const uint8_t* src, uint32_t length, uint8_t* y, uint8_t* cb, uint8_t* cr);
extern VSR_VAR void (*rgb5652yuvp_)(const uint8_t* src, uint32_t length, uint8_t* y, uint8_t* cb, uint8_t* cr);
VSR_API void rgb8882yuvpC(const uint8_t* src, uint32_t length, uint8_t* y, uint8_t* cb, uint8_t* cr);
VSR_API void rgb8882yuvpV(const uint8_t* src, uint32_t length, uint8_t* y, uint8_t* cb, uint8_t* cr);
extern VSR_VAR void (*rgb8882yuvp_)(const uint8_t* src, uint32_t length, uint8_t* y, uint8_t* cb, uint8_t* cr);
VSR_API void rgba88882yuvpC(const uint8_t* src, uint32_t length, uint8_t* y, uint8_t* cb, uint8_t* cr);
VSR_API void rgba88882yuvpV(const uint8_t* src, uint32_t length, uint8_t* y, uint8_t* cb, uint8_t* cr);
extern VSR_VAR void (*rgba88882yuvp_)(const uint8_t* src, uint32_t length, uint8_t* y, uint8_t* cb, uint8_t* cr);
VSR_API void rgb5652yC(const uint8_t* src, uint32_t length, uint8_t* y);
VSR_API void rgb5652yV(const uint8_t* src, uint32_t length, uint8_t* y);
extern VSR_VAR void (*rgb5652y_)(const uint8_t* src, uint32_t length, uint8_t* y);
VSR_API void rgb8882yC(const uint8_t* src, uint32_t length, uint8_t* y);
VSR_API void rgb8882yV(const uint8_t* src, uint32_t length, uint8_t* y);
extern VSR_VAR void (*rgb8882y_)(const uint8_t* src, uint32_t length, uint8_t* y);
VSR_API void rgba88882yC(const uint8_t* src, uint32_t length, uint8_t* y);
VSR_API void rgba88882yV(const uint8_t* src, uint32_t length, uint8_t* y);
extern VSR_VAR void (*rgba88882y_)(const uint8_t* src, uint32_t length, uint8_t* y);
VSR_API void rgb565_to_rgb888C(const uint8_t* src, uint32_t length, uint8_t* dst);
VSR_API void rgb565_to_rgb888V(const uint8_t* src, uint32_t length, uint8_t* dst);
extern VSR_VAR void (*rgb565_to_rgb888_)(const uint8_t* src, uint32_t length, uint8_t* dst);

VSR_END_DECLARATIONS

#endif
