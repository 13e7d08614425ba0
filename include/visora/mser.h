/**
 * @file
 * Maximally stable extremal regions (J. Matas, O. Chum, M. Urban, T. Pajdla, "Robust wide baseline stereo from
 * maximally stable extremal regions", 2002): connected regions darker, or brighter, than all around them whose size
 * hardly changes over a range of grey levels.
 *
 * Dark regions are the 4-connected components of the pixels <= g, g = 0 .. 255; bright ones those of the negative. In
 * colour, all pixels are there from g = 0 on, and neighbours are joined at the largest difference of a channel. For a
 * region R that stands from one level on until it becomes part of a larger one, v(R, g) is by how much of its size the
 * component about it is larger `delta` levels higher up. R is stable when v at its first level is less than at the last
 * level of each region in it, and less than at its own last level or not above that of the region around it at its
 * first one. Stable regions of minArea to maxArea pixels with v <= maxVariation at their first level are candidates; of
 * a candidate and the next one around it, if they differ by less than the share minDiversity of the larger one's size,
 * the less stable falls.
 *
 * Common to all of them:
 * - Images have sides of 1 to 65535 pixels, strides in bytes, 0 means packed rows. Lists are in ascending order of the
 *   level at which a region begins to be, then of its first pixel. A list ends before the first region that does not
 *   fit whole; nothing behind what is stored is written. Capacities may be 0, pointers must not be null.
 * - They return 0, or VISORA_EBADPARAM, with nothing written, for a null pointer, a zero size, a stride below a row, an
 *   image wider or higher than those the handle is for, an argument outside its range, a written buffer that begins
 *   where another one does, or what a function names.
 */
#ifndef VISORA_MSER_H
#define VISORA_MSER_H

#include "visora/types.h"

VSR_BEGIN_DECLARATIONS

/**
 * A handle: its parameters in the order of vsrMserCreate, floats by their bits, and a 0. Work memory lies behind it, so
 * it cannot be copied. One call at a time uses a handle.
 */
typedef struct vsrMser
{
    uint32_t parameters[8];
} vsrMser;

/** A stable region. */
typedef struct vsrMserRegion
{
    uint32_t firstPixel; /**< of its pixels in the list, which are in row-major order */
    uint32_t numPixels;
    uint32_t x; /**< upright box */
    uint32_t y;
    uint32_t width;
    uint32_t height;
} vsrMserRegion;

/** More about a stable region. */
typedef struct vsrMserTrait
{
    float variation; /**< v at its first level */
    uint32_t area;   /**< pixels */
    uint32_t level;  /**< at which it begins to be, of the image itself for bright ones too */
    int32_t parent;  /**< index of the smallest listed region around it; -1 if there is none or it is not stored */
} vsrMserTrait;

/**
 * Makes a handle, to be freed by vsrMserRelease. Its work memory takes 90 bytes a pixel of the largest image and a
 * frame of one pixel around it, over a third of which grey images do not touch. Detection takes nearly linear time in
 * pixels, at most 256 steps for each distinct region, and sorts the pixels of the regions that it lists.
 * @param maxWidth,maxHeight  of the images, 1 to 65535 with a product of at most 2^28
 * @param delta               1 to 255 levels, 5 is usual
 * @param minArea,maxArea     pixels, 1 <= minArea <= maxArea
 * @param maxVariation        0 or more, 0.25 is usual
 * @param minDiversity        0 to 1, 0.2 is usual
 * @return as above; VISORA_ENOMEM, with a null handle, without memory
 */
VSR_API vsrStatus vsrMserCreate(uint32_t maxWidth, uint32_t maxHeight, uint32_t delta, uint32_t minArea,
                                uint32_t maxArea, float maxVariation, float minDiversity, vsrMser** mser);

/** Frees a handle. */
VSR_API vsrStatus vsrMserRelease(vsrMser* mser);

/**
 * Dark regions of a u8 image.
 * @param pixels     2 * maxPixels coordinates, (x, y) pairs
 * @param numPixels  pairs stored
 */
VSR_API vsrStatus vsrMserDetectDarku8(vsrMser* mser, const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                      uint32_t srcStride, vsrMserRegion* regions, uint32_t maxRegions,
                                      uint32_t* numRegions, uint32_t* pixels, uint32_t maxPixels, uint32_t* numPixels);

/** Regions of a colour image, 3 bytes a pixel: joined in the order of the differences of neighbours. */
VSR_API vsrStatus vsrMserDetectRGB888u8(vsrMser* mser, const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                        uint32_t srcStride, vsrMserRegion* regions, uint32_t maxRegions,
                                        uint32_t* numRegions, uint32_t* pixels, uint32_t maxPixels,
                                        uint32_t* numPixels);

/** Dark and behind them bright regions, as one list. `bright` gets 0 or 1 for each region. */
VSR_API vsrStatus vsrMserDetectu8(vsrMser* mser, const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                  uint32_t srcStride, vsrMserRegion* regions, uint8_t* bright, uint32_t maxRegions,
                                  uint32_t* numRegions, uint32_t* pixels, uint32_t maxPixels, uint32_t* numPixels);

/** Dark and bright regions in lists of their own. */
VSR_API vsrStatus vsrMserSplitu8(vsrMser* mser, const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                 uint32_t srcStride, vsrMserRegion* darkRegions, uint32_t maxDarkRegions,
                                 uint32_t* numDarkRegions, uint32_t* darkPixels, uint32_t maxDarkPixels,
                                 uint32_t* numDarkPixels, vsrMserRegion* brightRegions, uint32_t maxBrightRegions,
                                 uint32_t* numBrightRegions, uint32_t* brightPixels, uint32_t maxBrightPixels,
                                 uint32_t* numBrightPixels);

/** As vsrMserSplitu8, with a trait for each region. */
VSR_API vsrStatus vsrMserSplitExtu8(vsrMser* mser, const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                    uint32_t srcStride, vsrMserRegion* darkRegions, vsrMserTrait* darkTraits,
                                    uint32_t maxDarkRegions, uint32_t* numDarkRegions, uint32_t* darkPixels,
                                    uint32_t maxDarkPixels, uint32_t* numDarkPixels, vsrMserRegion* brightRegions,
                                    vsrMserTrait* brightTraits, uint32_t maxBrightRegions, uint32_t* numBrightRegions,
                                    uint32_t* brightPixels, uint32_t maxBrightPixels, uint32_t* numBrightPixels);

/**
 * Ellipses with the same first and second moments as listed regions, worked out in double precision from exact sums. A
 * region without pixels gives zeros.
 * @param numRegions  may be 0
 * @param numPixels   pairs of `pixels`
 * @return as above; VISORA_EBADPARAM for a region that reaches beyond the pixels
 */
VSR_API vsrStatus vsrMserEllipsesf32(const vsrMserRegion* regions, uint32_t numRegions, const uint32_t* pixels,
                                     uint32_t numPixels, vsrEllipse* ellipses);

/**
 * Paints listed regions into an image that is 0 elsewhere, those of more pixels first: region i with 1 + i mod 255.
 * Pixels outside the image are skipped.
 * @return as above; VISORA_EBADPARAM for a region that reaches beyond the pixels
 */
VSR_API vsrStatus vsrMserMasku8(const vsrMserRegion* regions, uint32_t numRegions, const uint32_t* pixels,
                                uint32_t numPixels, uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight,
                                uint32_t dstStride);

VSR_END_DECLARATIONS

#endif
