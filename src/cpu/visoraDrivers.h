// Reference kernels that are a function of single elements: one loop, many formulas. A driver gets the formula, then
// the operation's arguments; parameters that stand before the destination go to the formula, behind the elements.
#ifndef VISORA_CPU_DRIVERS_H
#define VISORA_CPU_DRIVERS_H

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>

#include "common/visoraArguments.h"
#include "common/visoraDefine.h"
#include "cpu/visoraInterpolation.h"

/**
 * Defines the reference of an operation by a driver of this header (or of the family) and its formula: the driver gets
 * the formula, then the operation's arguments.
 */
#define VSR_REFERENCE(operation, driver, ...)        \
    VSR_DEFINE(operation##C, decltype(operation##C), \
               { return static_cast<Result>(visora::driver(__VA_ARGS__ __VA_OPT__(, ) arguments...)); })

namespace visora
{

// ---- Numbers ----

/** The nearest value of T's range. */
template <class T, class V>
constexpr T saturate(V value)
{
    constexpr V low = std::numeric_limits<T>::min();
    constexpr V high = std::numeric_limits<T>::max();
    return static_cast<T>(value < low ? low : value > high ? high : value);
}

/** value / 2^bits, rounded half up. */
template <class V>
constexpr V roundingShift(V value, uint32_t bits)
{
    return static_cast<V>((value + (V{1} << bits >> 1)) >> bits);
}

/** The NaN that oneNan() makes of all. */
constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

/** A float limited to 0 .. 255 and rounded to nearest, ties to even; 0 for a NaN. */
inline uint8_t byteOf(float value)
{
    return static_cast<uint8_t>(value > 0 ? std::nearbyint(value < 255 ? value : 255) : 0);
}

// ---- Images ----

/** Row y of an image. The stride is in bytes and cut to whole elements. */
template <class T>
T* imageRow(T* image, uint32_t stride, uint32_t y)
{
    return image + size_t{stride} / sizeof(T) * y;
}

// ---- Shapes ----

/** dst = formula(src, parameters ...). */
template <class Formula, class S, class... Rest>
vsrStatus unary(Formula formula, const S* src, uint32_t width, uint32_t height, uint32_t srcStride, Rest... rest)
{
    return destinationFirst(
        [&](auto* dst, uint32_t dstStride, auto... parameters) -> vsrStatus
        {
            for (uint32_t y = 0; y < height; ++y)
            {
                const S* from = imageRow(src, srcStride, y);
                auto* to = imageRow(dst, dstStride, y);
                for (uint32_t x = 0; x < width; ++x)
                {
                    to[x] = formula(from[x], parameters...);
                }
            }
            return VISORA_SUCCESS;
        },
        rest...);
}

/** dst = formula(src, values[channel]) on interleaved channels. */
template <class Formula, class T>
vsrStatus perChannel(Formula formula, const T* src, uint32_t width, uint32_t height, uint32_t srcStride,
                     uint32_t channels, const T* values, T* dst, uint32_t dstStride)
{
    for (uint32_t y = 0; y < height; ++y)
    {
        const T* from = imageRow(src, srcStride, y);
        T* to = imageRow(dst, dstStride, y);
        for (size_t x = 0; x < size_t{width} * channels; ++x)
        {
            to[x] = formula(from[x], values[x % channels]);
        }
    }
    return VISORA_SUCCESS;
}

/** dst = formula(src1, src2, parameters ...). */
template <class Formula, class A, class B, class... Rest>
vsrStatus binary(Formula formula, const A* src1, uint32_t width, uint32_t height, uint32_t src1Stride, const B* src2,
                 uint32_t src2Stride, Rest... rest)
{
    return destinationFirst(
        [&](auto* dst, uint32_t dstStride, auto... parameters) -> vsrStatus
        {
            for (uint32_t y = 0; y < height; ++y)
            {
                const A* a = imageRow(src1, src1Stride, y);
                const B* b = imageRow(src2, src2Stride, y);
                auto* to = imageRow(dst, dstStride, y);
                for (uint32_t x = 0; x < width; ++x)
                {
                    to[x] = formula(a[x], b[x], parameters...);
                }
            }
            return VISORA_SUCCESS;
        },
        rest...);
}

/** dst = formula(src1, src2) where the mask is null or not 0. */
template <class Formula, class T>
vsrStatus binaryMasked(Formula formula, const T* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                       const T* src2, uint32_t src2Stride, const uint8_t* mask, uint32_t maskStride, T* dst,
                       uint32_t dstStride)
{
    for (uint32_t y = 0; y < height; ++y)
    {
        const T* a = imageRow(src1, src1Stride, y);
        const T* b = imageRow(src2, src2Stride, y);
        T* to = imageRow(dst, dstStride, y);
        for (uint32_t x = 0; x < width; ++x)
        {
            if (!mask || imageRow(mask, maskStride, y)[x] != 0)
            {
                to[x] = formula(a[x], b[x]);
            }
        }
    }
    return VISORA_SUCCESS;
}

/** Calls body(element, x, y) for every element of the pixels where the mask is null or not 0, in row-major order. */
template <class T, class Body>
void forEach(const T* src, uint32_t width, uint32_t height, uint32_t stride, const uint8_t* mask, uint32_t maskStride,
             Body body)
{
    for (uint32_t y = 0; y < height; ++y)
    {
        for (uint32_t x = 0; x < width; ++x)
        {
            if (!mask || imageRow(mask, maskStride, y)[x] != 0)
            {
                body(imageRow(src, stride, y)[x], x, y);
            }
        }
    }
}

}  // namespace visora

#endif
