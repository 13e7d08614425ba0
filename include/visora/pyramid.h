/**
 * @file
 * Image pyramids: arrays of level records, level 0 the base image and each further level a smaller, smoothed copy of
 * the one before.
 *
 * Common to all functions:
 * - The caller owns the array of records and its base image; a pyramid owns the level buffers that an allocate function
 *   gave it. These come from vsrMemAlloc, 16-byte aligned, and go back with vsrPyramidDelete or vsrPyramidDelete_v2.
 * - Sizes are in pixels, strides in bytes; a base stride of 0 means packed rows.
 * - Unless a function says otherwise it returns 0 or, on failure, VSR_PYRAMID_FAILED.
 *
 * A pyramid over the caller's own base image:
 *
 *     vsrPyramidLevel pyramid[4];
 *     vsrPyramidAllocate(pyramid, 640, 480, 1, 4, 0);
 *     vsrPyramidCreateu8(base, 640, 480, 4, pyramid);
 *     ...
 *     vsrPyramidDelete(pyramid, 4, 1);
 */
#ifndef VISORA_PYRAMID_H
#define VISORA_PYRAMID_H

#include "visora/types.h"

VSR_BEGIN_DECLARATIONS

/** One level with packed rows. */
typedef struct vsrPyramidLevel
{
    void* ptr;       /**< pixels */
    uint32_t width;  /**< in pixels */
    uint32_t height; /**< in rows */
} vsrPyramidLevel;

/** One level with a stride. */
typedef struct vsrPyramidLevel_v2
{
    void* ptr;       /**< pixels */
    uint32_t width;  /**< in pixels */
    uint32_t height; /**< in rows */
    uint32_t stride; /**< bytes from row to row */
} vsrPyramidLevel_v2;

/** What the plain and _v2 functions return on failure. */
#define VSR_PYRAMID_FAILED 0xffffffffu

/* ---- Allocation ---- */

/**
 * Gives levels their sizes and buffers: each level is half as wide and high as the one before, rounded down. Level 0
 * gets the base size and, with `allocateBase`, a buffer; without, its pointer stays as it is. Levels that already have
 * a buffer keep it when a later one cannot be had; the pointers of the others are null then.
 * Fails for a null pyramid, no levels, or without memory.
 */
VSR_API vsrStatus vsrPyramidAllocate(vsrPyramidLevel* pyr, uint32_t baseWidth, uint32_t baseHeight,
                                     uint32_t bytesPerPixel, uint32_t numLevels, uint32_t allocateBase);

/**
 * As vsrPyramidAllocate for records with strides: baseStride for level 0, packed for the others. Without
 * `allocateBase` the pointer of level 0 becomes null. Without memory everything allocated is freed again and all
 * pointers are null.
 */
VSR_API vsrStatus vsrPyramidAllocate_v2(vsrPyramidLevel_v2* pyr, uint32_t baseWidth, uint32_t baseHeight,
                                        uint32_t baseStride, uint32_t bytesPerPixel, uint32_t numLevels,
                                        uint32_t allocateBase);

/**
 * As vsrPyramidAllocate_v2 with other sizes: rounded up when halved or, when `scaleBy2` is not 0, in quarter octaves.
 * There levels 1, 2, 3 have 2^-1/4, 2^-1/2, 2^-3/4 of the base size, rounded up, level 4 half of it, and level 4 is
 * the base of the next four. A stride is the width rounded up to a multiple of `alignment`, times `bytesPerPixel`; an
 * alignment of 0 makes strides of 0 and empty buffers.
 * @return 0; VISORA_EBADPARAM for a null pyramid, a zero size, pixel size or number of levels, or a base stride below
 *         a row; VISORA_ENOMEM without memory
 */
VSR_API vsrStatus vsrPyramidAllocate_v3(vsrPyramidLevel_v2* pyr, uint32_t baseWidth, uint32_t baseHeight,
                                        uint32_t baseStride, uint32_t bytesPerPixel, uint32_t alignment,
                                        uint32_t numLevels, uint32_t scaleBy2, uint32_t allocateBase);

/**
 * Frees the buffers of levels startLevel .. numLevels - 1 and makes their pointers null. Start with level 1 when
 * level 0 is the caller's. Logs and refuses a null pyramid and a start level behind the last one.
 * @return 0
 */
VSR_API vsrStatus vsrPyramidDelete(vsrPyramidLevel* pyr, uint32_t numLevels, uint32_t startLevel);

/** As vsrPyramidDelete for records with strides. */
VSR_API vsrStatus vsrPyramidDelete_v2(vsrPyramidLevel_v2* pyr, uint32_t numLevels, uint32_t startLevel);

/* ---- Creation ---- */

/**
 * Builds a u8 pyramid: level 0 becomes the base image itself, no copy; each further level is filled from the one before
 * with vsrScaleDownBy2Gaussian5x5u8. The sizes are recorded. Null pointers, no levels, and base sides that are not
 * multiples of 2^(numLevels - 1) stop the process, logging the condition.
 * Fails when a level has no buffer; the levels before it are filled by then.
 */
VSR_API vsrStatus vsrPyramidCreateu8(const uint8_t* base, uint32_t baseWidth, uint32_t baseHeight, uint32_t numLevels,
                                     vsrPyramidLevel* pyr);

/** As vsrPyramidCreateu8 for f32. */
VSR_API vsrStatus vsrPyramidCreatef32(const float* base, uint32_t baseWidth, uint32_t baseHeight, uint32_t numLevels,
                                      vsrPyramidLevel* pyr);

/**
 * As vsrPyramidCreateu8 with strides: the base's is `baseStride`, the other levels are packed and recorded so. Fails
 * for a base stride below a row too.
 */
VSR_API vsrStatus vsrPyramidCreateu8_v2(const uint8_t* base, uint32_t baseWidth, uint32_t baseHeight,
                                        uint32_t baseStride, uint32_t numLevels, vsrPyramidLevel_v2* pyr);

/** As vsrPyramidCreateu8_v2 for f32; the base stride is cut to whole pixels. */
VSR_API vsrStatus vsrPyramidCreatef32_v2(const float* base, uint32_t baseWidth, uint32_t baseHeight,
                                         uint32_t baseStride, uint32_t numLevels, vsrPyramidLevel_v2* pyr);

/**
 * Builds a u8 pyramid of any size in levels that vsrPyramidAllocate_v3 allocated. Where level 0 has a buffer it has to
 * have the source's size and stride, and `srcStride * srcHeight` bytes are copied into it; else it becomes the source
 * itself. Then, with the sizes of vsrPyramidAllocate_v3 and the recorded strides (0 = packed):
 * - `scaleBy2` 0: each level is the 5x5 Gaussian half of the one before, as vsrScaleDownBy2Gaussian5x5u8_v2 makes it;
 *   an odd side gives a last column or row about the source's last one, by the same rule;
 * - else, quarter octaves: the level before is smoothed with vsrFilterGaussian5x5u8_v2, borders included, and resized
 *   with vsrScaleu8, nearest neighbour.
 * @return 0; VISORA_EBADPARAM for a null pointer, a zero size or number of levels, or a source stride below a row;
 *         VISORA_EFAIL for a level 0 of another size or stride; for a level without a buffer VISORA_ENOMEM, in quarter
 *         octaves VISORA_EBADPARAM; VISORA_EBADPARAM for a recorded stride below a row; VISORA_ENOMEM without scratch
 *         memory
 */
VSR_API vsrStatus vsrPyramidCreateu8_v3(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                        uint32_t numLevels, uint32_t scaleBy2, vsrPyramidLevel_v2* pyr);

/**
 * Fills two pyramids with the horizontal and vertical 3x3 Sobel gradients of each level of a u8 pyramid, as
 * vsrImageGradientSobelPlanars16 makes them, all packed. Level i has the width and height of the image's level 0
 * shifted right by i, whatever its own record says; these sizes are recorded in both gradient pyramids.
 * Fails for a null pyramid, no levels, and at a level without a buffer; the levels before it are filled by then.
 */
VSR_API vsrStatus vsrPyramidSobelGradientCreatei16(const vsrPyramidLevel* imgPyr, vsrPyramidLevel* dxPyr,
                                                   vsrPyramidLevel* dyPyr, uint32_t numLevels);

/** As vsrPyramidSobelGradientCreatei16 with the s8 gradients of vsrImageGradientSobelPlanars8. */
VSR_API vsrStatus vsrPyramidSobelGradientCreatei8(const vsrPyramidLevel* imgPyr, vsrPyramidLevel* dxPyr,
                                                  vsrPyramidLevel* dyPyr, uint32_t numLevels);

/** As vsrPyramidSobelGradientCreatei16 with the f32 gradients of vsrImageGradientSobelPlanarf32. */
VSR_API vsrStatus vsrPyramidSobelGradientCreatef32(const vsrPyramidLevel* imgPyr, vsrPyramidLevel* dxPyr,
                                                   vsrPyramidLevel* dyPyr, uint32_t numLevels);

/* ---- Variants ---- */

VSR_END_DECLARATIONS

#endif
