/**
 * @file
 * Moments of images, up to the third order.
 *
 * Common to all of them:
 * - `src` points at the top-left pixel; sizes are in pixels, strides in bytes, 0 means packed rows. No pointer or
 * stride has to be aligned; a stride that is no multiple of the element size is cut to whole elements.
 * - With `binary` not 0 a pixel counts 1 when it is not equal to 0, else 0.
 * - Results are f64; a NaN is 0x7FF8000000000000.
 * - They return 0, or VISORA_EBADPARAM, with nothing written, for a null pointer, a zero size, a stride below a row, a
 *   row of 2^32 bytes or more, or a result that begins where the image does.
 */
#ifndef VISORA_MOMENTS_H
#define VISORA_MOMENTS_H

#include "visora/types.h"

VSR_BEGIN_DECLARATIONS

typedef struct vsrMoments
{
    double m00, m10, m01, m20, m11, m02, m30, m21, m12, m03; /**< raw: sum of x^i * y^j * value in m<i><j> */
    double mu20, mu11, mu02, mu30, mu21, mu12, mu03;         /**< central */
    double nu20, nu11, nu02, nu30, nu21, nu12, nu03;         /**< normalised central */
} vsrMoments;

/** Moments of a packed u8 image. */
VSR_API vsrStatus vsrImageMomentsu8(const uint8_t* src, uint32_t width, uint32_t height, uint32_t binary,
                                    vsrMoments* moments);

/** As vsrImageMomentsu8 with the stride. */
VSR_API vsrStatus vsrImageMomentsu8_v2(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                       uint32_t binary, vsrMoments* moments);

/** Moments of a packed s32 image. */
VSR_API vsrStatus vsrImageMomentss32(const int32_t* src, uint32_t width, uint32_t height, uint32_t binary,
                                     vsrMoments* moments);

/** As vsrImageMomentss32 with the stride. */
VSR_API vsrStatus vsrImageMomentss32_v2(const int32_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                        uint32_t binary, vsrMoments* moments);

/** Moments of a packed f32 image. */
VSR_API vsrStatus vsrImageMomentsf32(const float* src, uint32_t width, uint32_t height, uint32_t binary,
                                     vsrMoments* moments);

/** As vsrImageMomentsf32 with the stride. */
VSR_API vsrStatus vsrImageMomentsf32_v2(const float* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                        uint32_t binary, vsrMoments* moments);

/**
 * The ten raw moments of a tile of 1 to 32 columns and rows, about its top-left pixel, in the order of vsrMoments. The
 * sums of integers are exact; those of floats go down the columns, then in sixteen partial sums along them. The stride
 * is in bytes. Nothing is checked.
 */
VSR_API void vsrMomentsInTileu8C(const uint8_t* tile, uint32_t width, uint32_t height, uint32_t stride, uint32_t binary,
                                 double moments[10]);
VSR_API void vsrMomentsInTiles32C(const int32_t* tile, uint32_t width, uint32_t height, uint32_t stride,
                                  uint32_t binary, double moments[10]);
VSR_API void vsrMomentsInTilef32C(const float* tile, uint32_t width, uint32_t height, uint32_t stride, uint32_t binary,
                                  double moments[10]);

/** The same bits by the vector unit. */
VSR_API void vsrMomentsInTileu8V(const uint8_t* tile, uint32_t width, uint32_t height, uint32_t stride, uint32_t binary,
                                 double moments[10]);
VSR_API void vsrMomentsInTiles32V(const int32_t* tile, uint32_t width, uint32_t height, uint32_t stride,
                                  uint32_t binary, double moments[10]);
VSR_API void vsrMomentsInTilef32V(const float* tile, uint32_t width, uint32_t height, uint32_t stride, uint32_t binary,
                                  double moments[10]);

/** The implementations that the reference variants of the moments use: the reference until a mode is set. */
extern VSR_VAR void (*vsrMomentsInTileu8_)(const uint8_t* tile, uint32_t width, uint32_t height, uint32_t stride,
                                           uint32_t binary, double moments[10]);
extern VSR_VAR void (*vsrMomentsInTiles32_)(const int32_t* tile, uint32_t width, uint32_t height, uint32_t stride,
                                            uint32_t binary, double moments[10]);
extern VSR_VAR void (*vsrMomentsInTilef32_)(const float* tile, uint32_t width, uint32_t height, uint32_t stride,
                                            uint32_t binary, double moments[10]);

VSR_END_DECLARATIONS

#endif
