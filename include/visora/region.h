/**
 * @file
 * Regions of images: lists of pixels, connected components, contours, distances, filling and growing.
 *
 * Common to all of them:
 * - Images have sides of 1 to 65535 pixels, strides in bytes, 0 means packed rows; no pointer or stride has to be
 *   aligned. A mask pixel is set when it is not 0. The centre of pixel (x, y) has the coordinates x and y, y points
 *   down. "First" is the first in row-major order.
 * - Directions 0 to 7 are east (1, 0), south-east (1, 1), south, south-west, west, north-west, north, north-east. A
 *   `connectivity` is 4 (directions 0, 2, 4, 6) or 8.
 * - A list of results is cut where its capacity ends; its count tells how many are stored, and nothing behind them is
 *   written. A capacity may be 0, its list's pointer must not be null unless it says so.
 * - They return 0, or VISORA_EBADPARAM, with nothing written, for a null pointer, a zero size, a side above 65535, a
 *   stride below a row, an argument outside its range, a written buffer that begins where another one does, or what a
 *   function names; VISORA_ENOMEM, with nothing written, where scratch memory could not be had.
 */
#ifndef VISORA_REGION_H
#define VISORA_REGION_H

#include "visora/types.h"

VSR_BEGIN_DECLARATIONS

/* ---- Regions and contours ---- */

/** Coordinates of the pixels that are not 0, in row-major order. `xy` holds 2 * capacity numbers. */
VSR_API vsrStatus vsrFindNonZerou8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                   uint32_t* xy, uint32_t capacity, uint32_t* count);

/** A connected region. */
typedef struct vsrComponent
{
    uint32_t area; /**< pixels */
    uint32_t x;    /**< its upright box */
    uint32_t y;
    uint32_t width;
    uint32_t height;
    float cx; /**< centroid: the exact sums by the area, rounded once */
    float cy;
} vsrComponent;

/**
 * Connected components: labels 1, 2, ... in the order of the regions' first pixels, 0 where the image is 0. The first
 * min(numRegions, capacity) regions are described. In linear time but for the union of runs (near linear); up to 4
 * bytes of scratch memory a pixel, 16 more for each region described.
 * @param connectivity  4 or 8
 * @param regions       `capacity` records; may be null when capacity is 0
 * @param numRegions    regions of the image, described or not
 */
VSR_API vsrStatus vsrFindConnectedComponentsu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                               uint32_t srcStride, uint32_t connectivity, uint32_t* labels,
                                               uint32_t labelStride, vsrComponent* regions, uint32_t capacity,
                                               uint32_t* numRegions);

/** Which points of a contour are listed. */
typedef uint32_t vsrChainType;

enum
{
    VISORA_CHAIN_FULL = 0,   /**< all */
    VISORA_CHAIN_CORNERS = 1 /**< those at which the direction changes; the one point of a chain of 1 */
};

/** How contours contain each other: indices of contours, -1 for none. */
typedef struct vsrContourLinks
{
    int32_t next; /**< contours of the same parent are linked in the order of the list */
    int32_t previous;
    int32_t child; /**< the first one */
    int32_t parent;
    uint32_t isHole; /**< 1 for the border of a hole, 0 for an outer border */
} vsrContourLinks;

/**
 * All borders of the 8-connected regions of a mask, and of their holes, by border following (S. Suzuki, K. Abe,
 * "Topological structural analysis of digitized binary images by border following", 1985). Contours are listed in the
 * order in which a row-major scan meets them; contour i has lengths[i] points of `xy`, one contour after the other.
 * Outer borders run counter-clockwise on the screen, those of holes clockwise, through the pixels of the region. The
 * list ends before the first contour that does not fit whole. A pixel is passed at most four times, in long contours
 * once more, so that time is linear. Scratch memory: 1.25 bytes a pixel (1 for outer contours alone), 12 for each run
 * of pixels in a row, of which there are at most half as many as pixels, and 64 KiB.
 * @param chain      VISORA_CHAIN_FULL or VISORA_CHAIN_CORNERS
 * @param lengths    maxContours numbers
 * @param links      maxContours records
 * @param xy         2 * maxPoints coordinates
 * @param numPoints  points of all contours that are stored
 */
VSR_API vsrStatus vsrFindContoursu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                    vsrChainType chain, uint32_t* lengths, vsrContourLinks* links, uint32_t maxContours,
                                    uint32_t* numContours, int32_t* xy, uint32_t maxPoints, uint32_t* numPoints);

/** As vsrFindContoursu8, but lists the contours without a parent only: the outermost borders. */
VSR_API vsrStatus vsrFindOuterContoursu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                         vsrChainType chain, uint32_t* lengths, uint32_t maxContours,
                                         uint32_t* numContours, int32_t* xy, uint32_t maxPoints, uint32_t* numPoints);

/** Measures of a closed contour. */
typedef struct vsrContourMeasure
{
    double length;
    double area; /**< positive for clockwise on the screen */
    float cx;    /**< centroid of the area, of the points when the area is 0 */
    float cy;
    int32_t x; /**< box of the points; its width is greatest - least + 1, modulo 2^32 */
    int32_t y;
    uint32_t width;
    uint32_t height;
} vsrContourMeasure;

/** Length, signed area, centroid and box of a closed contour of numPoints (1 or more) points, in double precision. */
VSR_API vsrStatus vsrContourMeasures32(const int32_t* xy, uint32_t numPoints, vsrContourMeasure* measure);

/**
 * Links the pixels of an edge mask to chains. Each set pixel that no chain has taken starts one, in row-major order; it
 * goes on to the set and free neighbour that turns least, clockwise before counter-clockwise, first forward, then
 * backward from its start. Chains of at least minLength points are listed as contours are; pixels of shorter ones stay
 * taken. The list ends before the first chain that does not fit whole. Linear time; a byte of scratch memory a pixel
 * and 4 for each set one.
 */
VSR_API vsrStatus vsrEdgeLinku8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                uint32_t minLength, uint32_t* lengths, uint32_t maxChains, uint32_t* numChains,
                                int32_t* xy, uint32_t maxPoints, uint32_t* numPoints);

/* ---- Distances ---- */

/**
 * City-block distance of every pixel from the nearest zero pixel, at most 65535, which is also what there is without a
 * zero pixel. Outside the image there is none. Two passes, no scratch memory.
 */
VSR_API vsrStatus vsrDistanceTransformL1u8u16(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                              uint32_t srcStride, uint16_t* dst, uint32_t dstStride);

/**
 * Euclidean distance of every pixel from the nearest zero pixel: the square root of the exact squared distance, as f32;
 * +infinity without a zero pixel. Outside the image there is none. Linear time; 2 bytes of scratch memory a pixel.
 */
VSR_API vsrStatus vsrDistanceTransformL2u8f32(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                              uint32_t srcStride, float* dst, uint32_t dstStride);

/**
 * Chamfer matching: the mean of `src`, a picture of distances, at a set of points moved by each of the offsets; outside
 * the image a pixel counts as 255.
 * @param points     numPoints pairs (x, y), 1 to 2^24 of them
 * @param offsets    numOffsets pairs, 1 or more; runs of offsets whose x rises by 1 share their work
 * @param scores     numOffsets means
 * @param best       the first offset with the least sum
 */
VSR_API vsrStatus vsrChamferMatchu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                    const int32_t* points, uint32_t numPoints, const int32_t* offsets,
                                    uint32_t numOffsets, float* scores, uint32_t* best);

/* ---- Filling and growing ---- */

/**
 * Fills what can be reached from the seed by steps to neighbours q with base - lower <= I(q) <= base + upper: I the
 * pixels before the fill, base that of the seed or, with `floating`, that of the pixel stepped from. Linear time; up to
 * 5 bytes of scratch memory a pixel.
 * @param connectivity  4 or 8
 * @param floating      0, or anything else for the second rule
 * @param area          pixels filled
 * @param box           x, y, width and height of the region
 * @return as above; VISORA_EBADPARAM for a seed outside the image too
 */
VSR_API vsrStatus vsrFloodFillu8(uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride,
                                 uint32_t seedX, uint32_t seedY, uint8_t value, uint32_t lower, uint32_t upper,
                                 uint32_t connectivity, uint32_t floating, uint32_t* area, uint32_t* box);

/**
 * Grows a region from seeds: breadth first, a neighbour joins when its grey level is within `tolerance` of the mean of
 * the region as it is at that moment. Linear time; 4 bytes of scratch memory a pixel.
 * @param seeds         numSeeds pairs (x, y), 1 or more, inside the image
 * @param tolerance     grey levels, 0 to 255
 * @param connectivity  4 or 8
 * @param label         what the region's pixels get in the mask, not 0
 * @param mask          read and written: pixels that are not 0 are out of bounds
 * @param count         pixels of the region
 */
VSR_API vsrStatus vsrRegionGrowu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                  const uint32_t* seeds, uint32_t numSeeds, uint32_t tolerance, uint32_t connectivity,
                                  uint8_t label, uint8_t* mask, uint32_t maskStride, uint32_t* count);

/**
 * Watershed by flooding from markers (F. Meyer, 1991), 4-connected: pixels are taken in the order of their grey level,
 * or of the level of the flood when that is higher, and then of their coming. Linear time; 4 bytes of scratch memory a
 * pixel.
 * @param labels  read and written: values above 0 are markers, all others unknown; those become the label of their
 *                basin, or -1 where basins meet and where nothing comes
 */
VSR_API vsrStatus vsrWatershedu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                 int32_t* labels, uint32_t labelStride);

/**
 * Fills the masked pixels of an image from around (after A. Telea, "An image inpainting technique based on the fast
 * marching method", 2004, without the gradient term and with exact distances for the front). A wholly masked image is
 * copied. `dst` may be `src` with equal strides. Time grows with the masked pixels times the window; up to 24 bytes of
 * scratch memory a pixel.
 * @param channels  1 or 3, interleaved
 * @param radius    of the neighbourhood that a pixel is made of, 1 to 16
 */
VSR_API vsrStatus vsrInpaintu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                               uint32_t channels, const uint8_t* mask, uint32_t maskStride, uint32_t radius,
                               uint8_t* dst, uint32_t dstStride);

/**
 * Foreground by a running mean and deviation of every pixel: 255, with nothing learned, where the pixel is further than
 * factor / 16 deviations from the mean; else 0, and mean and deviation move by 1 / 2^rateShift of the difference.
 * Start with mean = 256 times a frame and a deviation of some levels.
 * @param factor        1 to 65535, in sixteenths
 * @param rateShift     1 to 15
 * @param minDeviation  the least deviation that counts, up to 65535; grey levels times 256, as in mean and deviation
 * @param mean,deviation  read and written
 */
VSR_API vsrStatus vsrFindForegroundu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                      uint32_t factor, uint32_t rateShift, uint32_t minDeviation, uint16_t* mean,
                                      uint32_t meanStride, uint16_t* deviation, uint32_t deviationStride, uint8_t* dst,
                                      uint32_t dstStride);

VSR_END_DECLARATIONS

#endif
