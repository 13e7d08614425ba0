// Entry points that resize to any size, that double, and that resample chroma planes.
#include "common/visoraEntry.h"
#include "visora/variants/scale.h"

using visora::In;
using visora::InPlace;
using visora::Out;

namespace
{

template <class... Sides>
bool areBelow(uint64_t limit, Sides... sides)
{
    return (... && (sides < limit));
}

constexpr uint64_t kMaxSides = uint64_t{1} << 31;
constexpr uint64_t kMaxPolyphaseSides = 65536;

// To any size; pixels of `channels` elements, what else there is goes behind the images.
template <uint32_t channels, uint64_t sidesBelow>
constexpr auto resized = [](auto open, const auto* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                            auto* dst, uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride)
{
    const In in(src, srcWidth, srcHeight, srcStride, channels);
    const Out out(dst, dstWidth, dstHeight, dstStride, InPlace::No, channels);
    return open(in, out)
        .require(areBelow(sidesBelow, srcWidth, srcHeight, dstWidth, dstHeight))
        .run(src, srcWidth, srcHeight, in.stride(), dst, dstWidth, dstHeight, out.stride());
};

// To `columns` and `rows` times the size.
template <uint32_t channels, uint64_t columns, uint64_t rows>
constexpr auto multiplied = [](auto open, const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                               uint8_t* dst, uint32_t dstStride)
{
    const In in(src, srcWidth, srcHeight, srcStride, channels);
    const Out out(dst, static_cast<uint32_t>(srcWidth * columns), static_cast<uint32_t>(srcHeight * rows), dstStride,
                  InPlace::No, channels);
    return open(in, out)
        .require(srcWidth * columns <= UINT32_MAX && srcHeight * rows <= UINT32_MAX)
        .run(src, srcWidth, srcHeight, in.stride(), dst, out.stride());
};

constexpr auto multipliedPacked = [](auto open, const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint8_t* dst)
{ return multiplied<1, 2, 2>(open, src, srcWidth, srcHeight, 0, dst, 0); };

constexpr uint32_t halfOf(uint32_t size)
{
    return size / 2 + size % 2;
}

// To half the width, and with two rows to one half the height, rounded up.
template <uint32_t channels, uint32_t rows>
constexpr auto halved = [](auto open, const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                           uint8_t* dst, uint32_t dstStride)
{
    const In in(src, srcWidth, srcHeight, srcStride, channels);
    const Out out(dst, halfOf(srcWidth), rows == 2 ? halfOf(srcHeight) : srcHeight, dstStride, InPlace::No, channels);
    return open(in, out).run(src, srcWidth, srcHeight, in.stride(), dst, out.stride());
};

}  // namespace

// ---- Any size ----

vsrStatus vsrScaleu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                     uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride, vsrInterpolation interpolation)
{
    const In in(src, srcWidth, srcHeight, srcStride);
    const Out out(dst, dstWidth, dstHeight, dstStride);
    return VSR_CALL(vsrScaleu8, in, out)
        .require(interpolation <= VISORA_INTERPOLATION_AREA)
        .run(src, srcWidth, srcHeight, in.stride(), dst, dstWidth, dstHeight, out.stride(), interpolation);
}

vsrStatus vsrScaleu8_v2(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                        uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride, vsrInterpolation interpolation,
                        vsrBorderType borderType, uint8_t borderValue)
{
    const In in(src, srcWidth, srcHeight, srcStride);
    const Out out(dst, dstWidth, dstHeight, dstStride);
    return VSR_CALL(vsrScaleu8_v2, in, out)
        .require(areBelow(kMaxSides, srcWidth, srcHeight, dstWidth, dstHeight))
        .require(interpolation <= VISORA_INTERPOLATION_AREA && borderType <= VISORA_BORDER_REPLICATE)
        .run(src, srcWidth, srcHeight, in.stride(), dst, dstWidth, dstHeight, out.stride(), interpolation, borderType,
             borderValue);
}

vsrStatus vsrScaleBilinearu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                             uint32_t channels, uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride)
{
    const In in(src, srcWidth, srcHeight, srcStride, channels);
    const Out out(dst, dstWidth, dstHeight, dstStride, InPlace::No, channels);
    return VSR_CALL(vsrScaleBilinearu8, in, out)
        .require(channels >= 1 && channels <= 4)
        .require(areBelow(kMaxSides, srcWidth, srcHeight, dstWidth, dstHeight))
        .run(src, srcWidth, srcHeight, in.stride(), channels, dst, dstWidth, dstHeight, out.stride());
}

VSR_ENTRY(vsrScaleBilinearf32, vsrScaleBilinearf32, (resized<1, kMaxSides>));
VSR_ENTRY(vsrScalePolyphaseu8, vsrScalePolyphaseu8, (resized<1, kMaxPolyphaseSides>));
VSR_ENTRY(vsrScalePolyphaseInterleaved2u8, vsrScalePolyphaseInterleaved2u8, (resized<2, kMaxPolyphaseSides>));

// ---- Twice the size ----

VSR_ENTRY(vsrScaleUpBy2u8, vsrScaleUpBy2u8, (multiplied<1, 2, 2>));
VSR_ENTRY(vsrScaleUpBy2Gaussian5x5u8, vsrScaleUpBy2Gaussian5x5u8, multipliedPacked);
VSR_ENTRY(vsrScaleUpBy2Gaussian5x5u8_v2, vsrScaleUpBy2Gaussian5x5u8, (multiplied<1, 2, 2>));

// ---- Chroma planes ----

VSR_ENTRY(vsrDownsampleBy2Interleaved2u8, vsrDownsampleBy2Interleaved2u8, (halved<2, 2>));
VSR_ENTRY(vsrDownsampleXBy2u8, vsrDownsampleXBy2u8, (halved<1, 1>));
VSR_ENTRY(vsrUpsampleBy2u8, vsrUpsampleBy2u8, (multiplied<1, 2, 2>));
VSR_ENTRY(vsrUpsampleBy2Interleaved2u8, vsrUpsampleBy2Interleaved2u8, (multiplied<2, 2, 2>));
VSR_ENTRY(vsrUpsampleXBy2u8, vsrUpsampleXBy2u8, (multiplied<1, 2, 1>));
VSR_ENTRY(vsrUpsampleXBy2Interleaved2u8, vsrUpsampleXBy2Interleaved2u8, (multiplied<2, 2, 1>));
VSR_ENTRY(vsrUpsampleYBy2u8, vsrUpsampleYBy2u8, (multiplied<1, 1, 2>));
VSR_ENTRY(vsrUpsampleYBy2Interleaved2u8, vsrUpsampleYBy2Interleaved2u8, (multiplied<2, 1, 2>));
