// One description for all warps of u8 images: where the pixels of the destination lie in the source, and what is taken
// there. Both variants work on it.
#ifndef VISORA_CPU_WARP_CALL_H
#define VISORA_CPU_WARP_CALL_H

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>

#include "visora/warp.h"

namespace visora
{

// ---- Positions ----

/** Positions are held in 1/256 of a pixel. */
constexpr int kPlaceBits = 8;
constexpr int32_t kPlaceOne = 1 << kPlaceBits;

struct Position
{
    float u, v;
};

/** Where destination pixels lie in the source, by a matrix or by maps. */
struct Positions
{
    const float* matrix;  // nine elements, six when affine; null for maps
    bool isAffine;
    const float* mapX;
    const float* mapY;
    size_t mapStride;  // in floats
    uint32_t dstX;     // of the buffer's first pixel, for matrices
    uint32_t dstY;

    /** What divides the position, 1 for an affine map. */
    float divisor(float x, float y) const { return isAffine ? 1 : matrix[6] * x + (matrix[7] * y + matrix[8]); }

    Position byMatrix(float x, float y) const
    {
        // A call has a matrix or a map. NOLINTNEXTLINE(clang-analyzer-core.NullDereference)
        const float u = matrix[0] * x + (matrix[1] * y + matrix[2]);
        const float v = matrix[3] * x + (matrix[4] * y + matrix[5]);
        if (isAffine)
        {
            return {u, v};
        }
        const float w = divisor(x, y);
        return {u / w, v / w};
    }

    Position at(uint32_t x, uint32_t y) const
    {
        if (matrix)
        {
            return byMatrix(static_cast<float>(dstX + x), static_cast<float>(dstY + y));
        }
        // NOLINTNEXTLINE(clang-analyzer-core.NullDereference)
        return {mapX[y * mapStride + x], mapY[y * mapStride + x]};
    }
};

/** Kept between one pixel before the image and one behind it; a NaN lies before it. */
inline float limited(float position, uint32_t size)
{
    const auto end = static_cast<float>(size);
    return !(position > -1) ? -1 : !(position < end) ? end : position;
}

/** In 1/256 pixels, ties to even. */
inline int32_t fixedPlace(float position, uint32_t size)
{
    return static_cast<int32_t>(std::nearbyint(static_cast<float>(kPlaceOne) * limited(position, size)));
}

struct Place
{
    int32_t u, v;
};

// ---- Samples ----

/** A plane that is sampled, of one or several interleaved channels. */
struct WarpPlane
{
    const uint8_t* pixels;
    uint32_t width;
    uint32_t height;
    size_t stride;
    uint32_t channels;
    bool replicate;         // the edge continues outwards; else `border` stands there
    const uint8_t* border;  // a byte for each channel

    /** The channels of a pixel, of the image or of the border. */
    const uint8_t* pixel(int32_t i, int32_t j) const
    {
        const int32_t column = std::clamp(i, 0, static_cast<int32_t>(width) - 1);
        const int32_t row = std::clamp(j, 0, static_cast<int32_t>(height) - 1);
        return replicate || (i == column && j == row)
                   ? pixels + static_cast<size_t>(row) * stride + static_cast<size_t>(column) * channels
                   : border;
    }

    uint8_t at(int32_t i, int32_t j, uint32_t channel) const { return pixel(i, j)[channel]; }
};

/** Samples that only clipped warps take, beside vsrInterpolation's. */
constexpr vsrInterpolation kCubic = 0x100;

/** The area of a pixel is covered with up to so many samples each way. */
constexpr int32_t kMaxAreaSamples = 8;

/** How far apart in the source the neighbours of a destination pixel lie at the most, times the divisor. */
inline float reach(const float* m, const Position& position)
{
    const float parts[] = {m[0] - position.u * m[6], m[3] - position.v * m[6], m[1] - position.u * m[7],
                           m[4] - position.v * m[7]};
    float largest = 0;
    for (const float part : parts)
    {
        largest = std::fabs(part) > largest ? std::fabs(part) : largest;
    }
    return largest;
}

/** Where sample `index` of n lies on an axis, from the pixel's centre. */
inline float areaOffset(int32_t index, int32_t n)
{
    return static_cast<float>(2 * index + 1 - n) / static_cast<float>(2 * n);
}

// ---- Bicubic weights ----

constexpr size_t kCubicTaps = 4;
using CubicWeights = std::array<int16_t, kCubicTaps>;

/**
 * Catmull-Rom weights in 1/2048 at fraction / 256. All but the second are rounded half up, the second has the rest;
 * fractions above a half have those below it in reverse.
 */
constexpr CubicWeights cubicWeights(int fraction)
{
    if (fraction > kPlaceOne / 2)
    {
        const CubicWeights w = cubicWeights(kPlaceOne - fraction);
        return {w[3], w[2], w[1], w[0]};
    }
    const int f = fraction;
    const auto rounded = [](int n) { return static_cast<int16_t>((n + 8192) >> 14); };
    const int16_t w0 = rounded(-65536 * f + 512 * f * f - f * f * f);
    const int16_t w2 = rounded(65536 * f + 1024 * f * f - 3 * f * f * f);
    const int16_t w3 = rounded(f * f * f - 256 * f * f);
    return {w0, static_cast<int16_t>(2048 - w0 - w2 - w3), w2, w3};
}

constexpr std::array<CubicWeights, kPlaceOne> kCubicWeights = []
{
    std::array<CubicWeights, kPlaceOne> table{};
    for (int fraction = 0; fraction < kPlaceOne; ++fraction)
    {
        table[static_cast<size_t>(fraction)] = cubicWeights(fraction);
    }
    return table;
}();

// ---- Calls ----

/** A warp of up to three planes that share everything but their pixels. */
struct WarpCall
{
    std::array<const uint8_t*, 3> src;
    uint32_t srcWidth;
    uint32_t srcHeight;
    uint32_t srcStride;
    Positions positions;
    std::array<uint8_t*, 3> dst;
    uint32_t dstWidth;
    uint32_t dstHeight;
    uint32_t dstStride;
    vsrInterpolation interpolation = VISORA_INTERPOLATION_BILINEAR;
    size_t planes = 1;
    uint32_t channels = 1;
    bool replicate = false;
    std::array<uint8_t, 4> border = {};  // for each plane or channel
    uint32_t* insideRanges = nullptr;    // of clipped warps: first column of each row whose position is inside, and the
                                         // next one that is not; null where all pixels are made

    WarpPlane plane(size_t index) const
    {
        return {src[index], srcWidth, srcHeight, srcStride, channels, replicate, &border[index]};
    }

    Place place(const Position& position) const
    {
        return {fixedPlace(position.u, srcWidth), fixedPlace(position.v, srcHeight)};
    }
};

namespace warps
{

constexpr std::array<uint8_t, 4> kBlack{};

inline Positions byMatrix(const float* matrix, uint32_t dstX = 0, uint32_t dstY = 0)
{
    return {matrix, false, nullptr, nullptr, 0, dstX, dstY};
}

inline Positions byAffine(const float* affine)
{
    return {affine, true, nullptr, nullptr, 0, 0, 0};
}

inline Positions byMaps(const float* mapX, const float* mapY, uint32_t mapStride)
{
    return {nullptr, false, mapX, mapY, mapStride / sizeof(float), 0, 0};
}

inline WarpCall warp(const std::array<const uint8_t*, 3>& src, uint32_t srcWidth, uint32_t srcHeight,
                     uint32_t srcStride, const Positions& positions, const std::array<uint8_t*, 3>& dst,
                     uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride)
{
    return {src, srcWidth, srcHeight, srcStride, positions, dst, dstWidth, dstHeight, dstStride};
}

// What each operation asks for; `run` does it.

constexpr auto affine = [](auto run, const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                           const float* matrix, uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride)
{ return run(warp({src}, srcWidth, srcHeight, srcStride, byAffine(matrix), {dst}, dstWidth, dstHeight, dstStride)); };

constexpr auto affineRgba = [](auto run, const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                               const float* matrix, uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight,
                               uint32_t dstStride, const uint8_t* borderColor)
{
    WarpCall call =
        warp({src}, srcWidth, srcHeight, srcStride, byAffine(matrix), {dst}, dstWidth, dstHeight, dstStride);
    call.channels = 4;
    call.border = {borderColor[0], borderColor[1], borderColor[2], borderColor[3]};
    return run(call);
};

constexpr auto affineClipped = [](auto run, const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                  uint32_t srcStride, const float* matrix, uint8_t* dst, uint32_t dstWidth,
                                  uint32_t dstHeight, uint32_t dstStride, uint32_t* insideRanges)
{
    WarpCall call =
        warp({src}, srcWidth, srcHeight, srcStride, byAffine(matrix), {dst}, dstWidth, dstHeight, dstStride);
    call.insideRanges = insideRanges;
    return run(call);
};

constexpr auto affineClippedCubic = [](auto run, const uint8_t* src0, const uint8_t* src1, const uint8_t* src2,
                                       uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, const float* matrix,
                                       uint8_t* dst0, uint8_t* dst1, uint8_t* dst2, uint32_t dstWidth,
                                       uint32_t dstHeight, uint32_t dstStride, uint32_t* insideRanges)
{
    WarpCall call = warp({src0, src1, src2}, srcWidth, srcHeight, srcStride, byAffine(matrix), {dst0, dst1, dst2},
                         dstWidth, dstHeight, dstStride);
    call.interpolation = kCubic;
    call.planes = 3;
    call.replicate = true;
    call.insideRanges = insideRanges;
    return run(call);
};

constexpr auto tile = [](auto run, const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                         const float* matrix, vsrInterpolation interpolation, uint8_t* dst, uint32_t dstX,
                         uint32_t dstY, uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride,
                         vsrBorderType borderType, uint8_t borderValue)
{
    const uint8_t value = borderType == VISORA_BORDER_CONSTANT ? borderValue : uint8_t{0};
    WarpCall call = warp({src}, srcWidth, srcHeight, srcStride, byMatrix(matrix, dstX, dstY), {dst}, dstWidth,
                         dstHeight, dstStride);
    call.interpolation = interpolation;
    call.replicate = borderType == VISORA_BORDER_REPLICATE;
    call.border = {value};
    return run(call);
};

constexpr auto perspective = [](auto run, const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                const float* matrix, vsrInterpolation interpolation, uint8_t* dst, uint32_t dstWidth,
                                uint32_t dstHeight, uint32_t dstStride, vsrBorderType borderType, uint8_t borderValue)
{
    return tile(run, src, srcWidth, srcHeight, srcStride, matrix, interpolation, dst, 0, 0, dstWidth, dstHeight,
                dstStride, borderType, borderValue);
};

constexpr auto perspectiveOnBlack = [](auto run, const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                       uint32_t srcStride, const float* matrix, uint8_t* dst, uint32_t dstWidth,
                                       uint32_t dstHeight, uint32_t dstStride)
{
    return perspective(run, src, srcWidth, srcHeight, srcStride, matrix, VISORA_INTERPOLATION_BILINEAR, dst, dstWidth,
                       dstHeight, dstStride, VISORA_BORDER_CONSTANT, 0);
};

constexpr auto threePlanes = [](auto run, const uint8_t* src0, const uint8_t* src1, const uint8_t* src2,
                                uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, const float* matrix,
                                vsrInterpolation interpolation, uint8_t* dst0, uint8_t* dst1, uint8_t* dst2,
                                uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride, vsrBorderType borderType,
                                const uint8_t* borderColor)
{
    const bool isGiven = borderType == VISORA_BORDER_CONSTANT;
    WarpCall call = warp({src0, src1, src2}, srcWidth, srcHeight, srcStride, byMatrix(matrix), {dst0, dst1, dst2},
                         dstWidth, dstHeight, dstStride);
    call.interpolation = interpolation;
    call.planes = 3;
    call.replicate = borderType == VISORA_BORDER_REPLICATE;
    call.border = isGiven ? std::array<uint8_t, 4>{borderColor[0], borderColor[1], borderColor[2]} : kBlack;
    return run(call);
};

constexpr auto threePlanesOnBlack = [](auto run, const uint8_t* src0, const uint8_t* src1, const uint8_t* src2,
                                       uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, const float* matrix,
                                       uint8_t* dst0, uint8_t* dst1, uint8_t* dst2, uint32_t dstWidth,
                                       uint32_t dstHeight, uint32_t dstStride)
{
    return threePlanes(run, src0, src1, src2, srcWidth, srcHeight, srcStride, matrix, VISORA_INTERPOLATION_BILINEAR,
                       dst0, dst1, dst2, dstWidth, dstHeight, dstStride, VISORA_BORDER_CONSTANT, kBlack.data());
};

constexpr auto remap = [](auto run, const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                          const float* mapX, const float* mapY, uint32_t mapStride, vsrInterpolation interpolation,
                          uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride,
                          vsrBorderType borderType, uint8_t borderValue)
{
    const uint8_t value = borderType == VISORA_BORDER_CONSTANT ? borderValue : uint8_t{0};
    WarpCall call = warp({src}, srcWidth, srcHeight, srcStride, byMaps(mapX, mapY, mapStride), {dst}, dstWidth,
                         dstHeight, dstStride);
    call.interpolation = interpolation;
    call.replicate = borderType == VISORA_BORDER_REPLICATE;
    call.border = {value};
    return run(call);
};

constexpr auto remapRgba = [](auto run, const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                              const float* mapX, const float* mapY, uint32_t mapStride, vsrInterpolation interpolation,
                              uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride,
                              const uint8_t* borderColor)
{
    WarpCall call = warp({src}, srcWidth, srcHeight, srcStride, byMaps(mapX, mapY, mapStride), {dst}, dstWidth,
                         dstHeight, dstStride);
    call.interpolation = interpolation;
    call.channels = 4;
    call.border = {borderColor[0], borderColor[1], borderColor[2], borderColor[3]};
    return run(call);
};

}  // namespace warps

/** Makes the call pixel by pixel: the definition. */
vsrStatus warpReference(const WarpCall& call);

}  // namespace visora

#endif
