// DSP routines of the scalers.
#include "kdsp_rpc/multi_domains/visoraMarshalling.h"

namespace visora
{
namespace
{

/** Each whole block of `from` by `from` pixels makes one of `to` by `to`. */
template <uint32_t from, uint32_t to>
constexpr auto reduced =
    [](const auto* src, uint32_t width, uint32_t height, uint32_t srcStride, auto* dst, uint32_t dstStride)
{ return anySize(src, width, height, srcStride, dst, width / from * to, height / from * to, dstStride); };

constexpr auto packedHalf = [](const auto* src, uint32_t width, uint32_t height, auto* dst)
{ return reduced<2, 1>(src, width, height, 0, dst, 0); };

/** Pixels of two bytes. */
constexpr auto pairsToAnySize = [](const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                   uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride)
{ return anySize(src, 2 * srcWidth, srcHeight, srcStride, dst, 2 * dstWidth, dstHeight, dstStride); };

constexpr auto channelsToAnySize = [](const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                      uint32_t channels, uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight,
                                      uint32_t dstStride)
{ return anySize(src, channels * srcWidth, srcHeight, srcStride, dst, channels * dstWidth, dstHeight, dstStride); };

/** Each pixel of `channels` bytes makes `columns` by `rows` of them. */
template <uint32_t channels, uint32_t columns, uint32_t rows>
constexpr auto multiplied =
    [](const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, uint8_t* dst, uint32_t dstStride)
{
    return anySize(src, channels * width, height, srcStride, dst, channels * columns * width, rows * height, dstStride);
};

/** Two columns, and as many rows as that, make one, rounded up. */
template <uint32_t channels, uint32_t rows>
constexpr auto halved =
    [](const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, uint8_t* dst, uint32_t dstStride)
{
    return anySize(src, channels * width, height, srcStride, dst, channels * ((width + 1) / 2),
                   (height + rows - 1) / rows, dstStride);
};

}  // namespace
}  // namespace visora

#include "kdsp_rpc/multi_domains/operations/scale.def"
