// DSP routines of the operations that move pixels.
#include <type_traits>

#include "kdsp_rpc/multi_domains/visoraMarshalling.h"

namespace visora
{
namespace
{

template <uint32_t channels>
constexpr auto turned = [](const auto* src, uint32_t width, uint32_t height, uint32_t srcStride, auto* dst,
                           uint32_t dstStride, uint32_t rotation)
{
    const uint32_t dstWidth = rotation == 2 ? width : height;
    const uint32_t dstHeight = rotation == 2 ? height : width;
    return std::array{imageLength(src, srcStride, channels * width, height),
                      imageLength(dst, dstStride, channels * dstWidth, dstHeight)};
};

constexpr auto transposed =
    [](const auto* src, uint32_t width, uint32_t height, uint32_t srcStride, auto* dst, uint32_t dstStride)
{ return turned<1>(src, width, height, srcStride, dst, dstStride, 1); };

constexpr auto flipped = [](const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, uint32_t channels,
                            vsrFlipDirection, uint8_t* dst, uint32_t dstStride)
{ return sameSize(src, width * channels, height, srcStride, dst, dstStride); };

constexpr auto flippedWords = [](const uint16_t* src, uint32_t width, uint32_t height, uint32_t srcStride,
                                 vsrFlipDirection, uint16_t* dst, uint32_t dstStride)
{ return sameSize(src, width, height, srcStride, dst, dstStride); };

/** An image and `elements` floats to an image; a last list is the colour of RGBA's border, or the rows' ranges. */
template <uint32_t channels, uint32_t elements>
constexpr auto warped = [](const auto* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                           const float* /*matrix*/, auto* dst, uint32_t dstWidth, uint32_t dstHeight,
                           uint32_t dstStride, auto... rest)
{
    const uint32_t from = imageLength(src, srcStride, channels * srcWidth, srcHeight);
    const uint32_t to = imageLength(dst, dstStride, channels * dstWidth, dstHeight);
    if constexpr (!(... || std::is_pointer_v<decltype(rest)>))
    {
        return std::array{from, elements, to};
    }
    else
    {
        return std::array{from, elements, to, channels == 4 ? 4 : 2 * dstHeight};
    }
};

constexpr auto warpedWithBorder = [](const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                     const float* matrix, vsrInterpolation, uint8_t* dst, uint32_t dstWidth,
                                     uint32_t dstHeight, uint32_t dstStride, vsrBorderType, uint8_t)
{ return warped<1, 9>(src, srcWidth, srcHeight, srcStride, matrix, dst, dstWidth, dstHeight, dstStride); };

constexpr auto warpedTile = [](const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                               const float* matrix, vsrInterpolation, uint8_t* dst, uint32_t, uint32_t,
                               uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride, vsrBorderType, uint8_t)
{ return warped<1, 9>(src, srcWidth, srcHeight, srcStride, matrix, dst, dstWidth, dstHeight, dstStride); };

/** Three planes to three, with a list before and perhaps one behind. */
template <uint32_t elements>
constexpr auto threePlanes = [](const uint8_t* src0, const uint8_t*, const uint8_t*, uint32_t srcWidth,
                                uint32_t srcHeight, uint32_t srcStride, uint8_t* dst0, uint32_t dstWidth,
                                uint32_t dstHeight, uint32_t dstStride, auto... last)
{
    const uint32_t from = imageLength(src0, srcStride, srcWidth, srcHeight);
    const uint32_t to = imageLength(dst0, dstStride, dstWidth, dstHeight);
    return std::array{from, from, from, elements, to, to, to, last...};
};

constexpr auto threeClipped = [](const uint8_t* src0, const uint8_t* src1, const uint8_t* src2, uint32_t srcWidth,
                                 uint32_t srcHeight, uint32_t srcStride, const float*, uint8_t* dst0, uint8_t*,
                                 uint8_t*, uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride, uint32_t*)
{
    return threePlanes<6>(src0, src1, src2, srcWidth, srcHeight, srcStride, dst0, dstWidth, dstHeight, dstStride,
                          2 * dstHeight);
};

constexpr auto threeWarped = [](const uint8_t* src0, const uint8_t* src1, const uint8_t* src2, uint32_t srcWidth,
                                uint32_t srcHeight, uint32_t srcStride, const float*, uint8_t* dst0, uint8_t*, uint8_t*,
                                uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride)
{ return threePlanes<9>(src0, src1, src2, srcWidth, srcHeight, srcStride, dst0, dstWidth, dstHeight, dstStride); };

constexpr auto threeWarpedWithBorder = [](const uint8_t* src0, const uint8_t* src1, const uint8_t* src2,
                                          uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, const float*,
                                          vsrInterpolation, uint8_t* dst0, uint8_t*, uint8_t*, uint32_t dstWidth,
                                          uint32_t dstHeight, uint32_t dstStride, vsrBorderType, const uint8_t*)
{
    return threePlanes<9>(src0, src1, src2, srcWidth, srcHeight, srcStride, dst0, dstWidth, dstHeight, dstStride,
                          uint32_t{3});
};

template <uint32_t channels>
constexpr auto remapped = [](const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                             const float* mapX, const float*, uint32_t mapStride, vsrInterpolation, uint8_t* dst,
                             uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride, auto... border)
{
    const uint32_t from = imageLength(src, srcStride, channels * srcWidth, srcHeight);
    const uint32_t map = imageLength(mapX, mapStride, dstWidth, dstHeight);
    const uint32_t to = imageLength(dst, dstStride, channels * dstWidth, dstHeight);
    if constexpr (sizeof...(border) == 1)
    {
        return std::array{from, map, map, to, channels};
    }
    else
    {
        return std::array{from, map, map, to};
    }
};

constexpr auto planePoints = [](const float*, uint32_t numPoints, const float*, float*) {
    return std::array{2 * numPoints, uint32_t{9}, 2 * numPoints};
};

}  // namespace
}  // namespace visora

#include "kdsp_rpc/multi_domains/operations/warp.def"
