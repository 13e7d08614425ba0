// Reference kernels that are a function of single elements: one loop, many formulas.
#ifndef VISORA_CPU_DRIVERS_H
#define VISORA_CPU_DRIVERS_H

#include <cstddef>
#include <cstdint>

#include "common/visoraDefine.h"

/**
 * Defines the reference of an operation by a driver of this header (or of the family) and its formula: the driver gets
 * the formula, then the operation's arguments.
 */
#define VSR_REFERENCE(operation, driver, ...)        \
    VSR_DEFINE(operation##C, decltype(operation##C), \
               { return static_cast<Result>(visora::driver(__VA_ARGS__, arguments...)); })

namespace visora
{

/** Row y of an image. The stride is in bytes and cut to whole elements. */
template <class T>
T* imageRow(T* image, uint32_t stride, uint32_t y)
{
    return image + size_t{stride} / sizeof(T) * y;
}

/** dst = formula(src), element by element. */
template <class Formula, class S, class D>
vsrStatus unary(Formula formula, const S* src, uint32_t width, uint32_t height, uint32_t srcStride, D* dst,
                uint32_t dstStride)
{
    for (uint32_t y = 0; y < height; ++y)
    {
        const S* in = imageRow(src, srcStride, y);
        D* out = imageRow(dst, dstStride, y);
        for (uint32_t x = 0; x < width; ++x)
        {
            out[x] = formula(in[x]);
        }
    }
    return VISORA_SUCCESS;
}

/** dst = formula(src1, src2), element by element. */
template <class Formula, class S1, class S2, class D>
vsrStatus binary(Formula formula, const S1* src1, uint32_t width, uint32_t height, uint32_t src1Stride, const S2* src2,
                 uint32_t src2Stride, D* dst, uint32_t dstStride)
{
    for (uint32_t y = 0; y < height; ++y)
    {
        const S1* in1 = imageRow(src1, src1Stride, y);
        const S2* in2 = imageRow(src2, src2Stride, y);
        D* out = imageRow(dst, dstStride, y);
        for (uint32_t x = 0; x < width; ++x)
        {
            out[x] = formula(in1[x], in2[x]);
        }
    }
    return VISORA_SUCCESS;
}

}  // namespace visora

#endif
